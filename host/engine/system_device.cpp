#include "host/engine/device.h"

#include <RtAudio.h>

#include <algorithm>
#include <atomic>
#include <vector>

namespace host {

namespace {

class SystemDevice final : public AudioDevice {
public:
    SystemDevice(std::unique_ptr<RtAudio> api, std::string name)
        : m_api(std::move(api)), m_name(std::move(name)) {}
    ~SystemDevice() override {
        SystemDevice::Stop();
        if (m_api->isStreamOpen()) m_api->closeStream();
    }

    // Throws RtAudioError, like all that is called here.
    void Open(unsigned device, const RtAudio::DeviceInfo& info, const DeviceWish& wish) {
        RtAudio::StreamParameters output, input;
        output.deviceId = device;
        output.nChannels = info.outputChannels >= wish.outputs ? static_cast<unsigned>(wish.outputs) : 2;
        input.deviceId = info.inputChannels > 0 ? device : m_api->getDefaultInputDevice();
        const unsigned inputs = wish.inputs == 0 ? 0 : m_api->getDeviceInfo(input.deviceId).inputChannels;
        input.nChannels = std::min(inputs, static_cast<unsigned>(wish.inputs));
        RtAudio::StreamOptions options;
        options.flags = RTAUDIO_NONINTERLEAVED | RTAUDIO_SCHEDULE_REALTIME;
        options.streamName = "Tarn";
        auto frames = static_cast<unsigned>(wish.blockFrames);
        m_api->openStream(&output, input.nChannels ? &input : nullptr, RTAUDIO_FLOAT32,
                          static_cast<unsigned>(wish.sampleRate), &frames, &OnBlock, this, &options);
        m_outputs.resize(output.nChannels);
        m_inputs.resize(input.nChannels);
        m_blockFrames = frames;
        m_sampleRate = static_cast<int>(m_api->getStreamSampleRate());
    }

    void Start(DeviceClient& client) override {
        Stop();
        m_client = &client;
        m_started = true;
        m_refusal.clear();
        try {
            m_api->startStream();
        } catch (const RtAudioError& e) {
            m_refusal = e.getMessage();
        }
    }

    void Stop() override {
        m_started = false;
        try {
            if (m_api->isStreamRunning()) m_api->abortStream();
        } catch (const RtAudioError&) {
            // It is gone, and with it the thread that would call the client.
        }
    }

    std::string Name() const override { return m_name; }
    int SampleRate() const override { return m_sampleRate; }
    size_t BlockFrames() const override { return m_blockFrames; }
    size_t Inputs() const override { return m_inputs.size(); }
    uint64_t LateBlocks() const override { return m_late.load(std::memory_order_relaxed); }
    std::string Fault() const override {
        if (!m_refusal.empty()) return m_refusal;
        return m_started && !m_api->isStreamRunning() ? "the device or its server has gone" : std::string();
    }

private:
    static int OnBlock(void* output, void* input, unsigned frames, double, RtAudioStreamStatus status,
                       void* self) {
        auto& device = *static_cast<SystemDevice*>(self);
        if (status & RTAUDIO_OUTPUT_UNDERFLOW) device.m_late.fetch_add(1, std::memory_order_relaxed);
        for (size_t i = 0; i < device.m_outputs.size(); i++)
            device.m_outputs[i] = static_cast<float*>(output) + i * frames;
        for (size_t i = 0; i < device.m_inputs.size(); i++)
            device.m_inputs[i] = static_cast<const float*>(input) + i * frames;
        device.m_client->Render(device.m_inputs, device.m_outputs, frames);
        return 0;
    }

    const std::unique_ptr<RtAudio> m_api;
    const std::string m_name;
    std::vector<float*> m_outputs;
    std::vector<const float*> m_inputs;
    DeviceClient* m_client = nullptr;
    bool m_started = false;
    std::string m_refusal;
    size_t m_blockFrames = 0;
    int m_sampleRate = 0;
    std::atomic<uint64_t> m_late{0};
};

bool Suits(const RtAudio::DeviceInfo& info, const std::string& wanted) {
    if (!info.probed || info.outputChannels < 2) return false;
    return wanted.empty() ? info.isDefaultOutput : info.name.find(wanted) != std::string::npos;
}

}  // namespace

std::unique_ptr<AudioDevice> OpenSystemDevice(const std::string& wanted, const DeviceWish& wish,
                                              std::string* why) {
    *why = wanted.empty() ? "no audio device" : "no audio device is called " + wanted;
    std::vector<RtAudio::Api> apis;
    RtAudio::getCompiledApi(apis);
    for (RtAudio::Api which : apis) {
        if (which == RtAudio::RTAUDIO_DUMMY) continue;
        try {
            auto api = std::make_unique<RtAudio>(which);
            api->showWarnings(false);
            for (unsigned i = 0, count = api->getDeviceCount(); i < count; i++) {
                const RtAudio::DeviceInfo info = api->getDeviceInfo(i);
                if (!Suits(info, wanted)) continue;
                auto device = std::make_unique<SystemDevice>(std::move(api), info.name);
                device->Open(i, info, wish);
                if (device->SampleRate() == wish.sampleRate) return device;
                *why = info.name + ": plays at " + std::to_string(device->SampleRate()) + " Hz alone";
                break;
            }
        } catch (const RtAudioError& e) {
            *why = e.getMessage();
        }
    }
    return nullptr;
}

}  // namespace host
