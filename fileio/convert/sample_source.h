// The samples of a file, from the first frame to the last, whoever reads them. One thread at a time; throws
// std::bad_alloc.
#pragma once

#include "fileio/plugin.h"
#include "mediafile/media_codes.h"
#include "mediafile/sample_reader.h"

#include <string>

namespace tarn {

/// What the status of a file or of a plug-in means, for a person.
std::string ReasonOfStatus(HRESULT status);

class SampleSource {
public:
    virtual ~SampleSource() = default;
    virtual QMSAMPLETYPE Type() const = 0;
    virtual uint32_t FrameBytes() const = 0;
    /// Fewer at the end, and where the file cannot be read.
    virtual uint64_t Read(void* samples, uint64_t frames) = 0;
    /// False where the file ends or cannot be read.
    virtual bool Skip(uint64_t frames) = 0;
    /// Where that was, as a message begins: "at 44: ".
    virtual std::string Place() const = 0;
    /// Why.
    virtual HRESULT Status() const { return MEDIA_E_READ; }
    /// Blocks of a codec that cannot be, so far.
    virtual uint64_t DamagedBlocks() const { return 0; }
};

/// Of a file that this library reads itself.
class OwnSamples final : public SampleSource {
public:
    /// Both outlive this.
    OwnSamples(const ByteSource& source, const MediaContents& contents) : m_reader(source, contents) {}

    QMSAMPLETYPE Type() const override { return m_reader.Type(); }
    uint32_t FrameBytes() const override { return m_reader.FrameBytes(); }
    uint64_t Read(void* samples, uint64_t frames) override { return m_reader.Read(samples, frames); }
    bool Skip(uint64_t frames) override { return m_reader.Skip(frames); }
    std::string Place() const override { return "at " + std::to_string(m_reader.Place()) + ": "; }
    uint64_t DamagedBlocks() const override { return m_reader.DamagedBlocks(); }

private:
    SampleReader m_reader;
};

/// The first sound among a file's streams, of which every number may be wrong that a plug-in tells.
struct PluginSound {
    ComPtr<IQmReadAudioStream> stream;
    _qmwaveformat format{};
    uint64_t frames = 0;

    /// MEDIA_E_UNSUPPORTED_FORMAT where there is none, or none that makes sense; or what the plug-in says.
    HRESULT Open(IQmReadFile& file);
};

/// Of a stream of a plug-in.
class PluginSamples final : public SampleSource {
public:
    explicit PluginSamples(PluginSound sound) : m_sound(std::move(sound)) {}

    QMSAMPLETYPE Type() const override { return m_sound.format.sampleType; }
    uint32_t FrameBytes() const override { return m_sound.format.blockAlign; }
    uint64_t Read(void* samples, uint64_t frames) override;
    bool Skip(uint64_t frames) override {
        m_at += frames;
        return m_at <= m_sound.frames;
    }
    std::string Place() const override { return "at frame " + std::to_string(m_at) + ": "; }
    HRESULT Status() const override { return m_status; }

private:
    const PluginSound m_sound;
    uint64_t m_at = 0;
    HRESULT m_status = MEDIA_E_READ;
};

}  // namespace tarn
