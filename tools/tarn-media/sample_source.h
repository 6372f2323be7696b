// The samples of a file, from the first frame to the last, whoever reads them. One thread at a time; throws
// std::bad_alloc.
#pragma once

#include "fileio/plugin.h"
#include "mediafile/sample_reader.h"

#include <string>

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
    /// Blocks of a codec that cannot be, so far.
    virtual uint64_t DamagedBlocks() const { return 0; }
};

/// Of a file that this library reads itself.
class OwnSamples final : public SampleSource {
public:
    /// Both outlive this.
    OwnSamples(const tarn::ByteSource& source, const tarn::MediaContents& contents)
        : m_reader(source, contents) {}

    QMSAMPLETYPE Type() const override { return m_reader.Type(); }
    uint32_t FrameBytes() const override { return m_reader.FrameBytes(); }
    uint64_t Read(void* samples, uint64_t frames) override { return m_reader.Read(samples, frames); }
    bool Skip(uint64_t frames) override { return m_reader.Skip(frames); }
    std::string Place() const override { return "at " + std::to_string(m_reader.Place()) + ": "; }
    uint64_t DamagedBlocks() const override { return m_reader.DamagedBlocks(); }

private:
    tarn::SampleReader m_reader;
};

/// Of a stream of a plug-in.
class PluginSamples final : public SampleSource {
public:
    PluginSamples(const tarn::ComPtr<IQmReadAudioStream>& stream, const _qmwaveformat& format,
                  uint64_t frames)
        : m_stream(stream), m_type(format.sampleType), m_frameBytes(format.blockAlign), m_frames(frames) {}

    QMSAMPLETYPE Type() const override { return m_type; }
    uint32_t FrameBytes() const override { return m_frameBytes; }
    uint64_t Read(void* samples, uint64_t frames) override;
    bool Skip(uint64_t frames) override {
        m_at += frames;
        return m_at <= m_frames;
    }
    std::string Place() const override { return "at frame " + std::to_string(m_at) + ": "; }

private:
    const tarn::ComPtr<IQmReadAudioStream> m_stream;
    const QMSAMPLETYPE m_type;
    const uint32_t m_frameBytes;
    const uint64_t m_frames;
    uint64_t m_at = 0;
};
