#include "fileio/convert/sample_source.h"

#include "fileio/out_of_process.h"
#include "platform/text.h"

#include <algorithm>
#include <cstdio>

namespace tarn {

std::string ReasonOfStatus(HRESULT status) {
    if (status == FIO_E_SURROGATE_GONE) return "what reads or writes it ended, or took too long";
    if (const char16_t* text = QmMedia_StatusText(status)) return Utf8FromUtf16(text);
    char code[32];
    std::snprintf(code, sizeof code, "status 0x%08X", static_cast<unsigned>(status));
    return code;
}

HRESULT PluginSound::Open(IQmReadFile& file) {
    uint32_t count = 0;
    HRESULT hr = file.GetStreamCount(&count);
    for (uint32_t i = 0; Succeeded(hr) && i < std::min(count, FIO_MOST_STREAMS) && !stream; i++)
        // Of another type, or one that cannot be decoded: the next may do.
        if (const HRESULT got = file.GetStream(i, IID_IQmReadAudioStream, stream.OutVoid()); got != S_OK) {
            stream.Reset();
            if (got == FIO_E_SURROGATE_GONE) hr = got;
        }
    if (Succeeded(hr) && stream) hr = stream->GetFormat(&format, sizeof format);
    if (Succeeded(hr) && stream) hr = stream->GetFrames(&frames);
    if (Failed(hr)) return hr;
    const uint64_t frame = uint64_t{QmAudio_BytesFromSampleType(format.sampleType)} * format.channels;
    const bool makesSense = stream && frame > 0 && frame == format.blockAlign && format.sampleRate > 0;
    return makesSense ? S_OK : MEDIA_E_UNSUPPORTED_FORMAT;
}

uint64_t PluginSamples::Read(void* samples, uint64_t frames) {
    auto* out = static_cast<uint8_t*>(samples);
    uint64_t done = 0;
    while (done < frames) {
        constexpr uint64_t MOST = 1 << 16;
        const auto part = static_cast<uint32_t>(std::min(MOST, frames - done));
        uint32_t got = 0;
        const HRESULT hr = m_sound.stream->Read(m_at, part, out + done * FrameBytes(), &got);
        got = std::min(got, part);
        done += got;
        m_at += got;
        if (Failed(hr)) m_status = hr;
        if (Failed(hr) || got < part) break;
    }
    return done;
}

}  // namespace tarn
