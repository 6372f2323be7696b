// The two ends of a conversion: what is read, by this library or a plug-in, and what is written.
#pragma once

#include "fileio/convert/sample_source.h"
#include "fileio/template.h"
#include "mediafile/meta/meta_carry.h"
#include "tools/tarn-media/file_plugins.h"
#include "tools/tarn-media/media_tool.h"

#include <memory>
#include <optional>

/// What ends a conversion before anything is written.
struct Refused {
    std::string file, reason;
    int code = EXIT_UNREADABLE;
};

/// Its samples can be read. Throws Refused.
class Input {
public:
    explicit Input(const std::string& path);

    const _qmwaveformat& Format() const { return m_format; }
    QMSAMPLETYPE Type() const { return m_type; }
    uint64_t Frames() const { return m_frames; }
    /// From the first frame.
    std::unique_ptr<tarn::SampleSource> Samples() const;
    tarn::MetaDocument Metadata() const;
    /// Someone has written it since it was opened.
    bool HasChanged() const;
    /// Of a file that is read all the same.
    const std::vector<tarn::MediaProblem>& Problems() const { return m_contents.problems; }

private:
    bool OpenByPlugin(const std::string& path);

    tarn::OwnedFile m_file;
    tarn::FileStamp m_stamp;
    tarn::FileSource m_source;
    tarn::MediaContents m_contents;
    tarn::ComPtr<IQmReadFile> m_opened;  ///< by a plug-in
    tarn::PluginSound m_sound;           ///< likewise
    _qmwaveformat m_format{};
    QMSAMPLETYPE m_type = QMSAMPLE_UNKNOWN;
    uint64_t m_frames = 0;
};

/// As what the output is written.
struct Target {
    tarn::MediaContainer container = tarn::MediaContainer::Unknown;  ///< of our own; else by the renderer
    tarn::ComPtr<IQmRenderFileClass> renderer;
    tarn::OwnedTemplate settings;

    bool IsOwn() const { return container != tarn::MediaContainer::Unknown; }
    /// "AIFF", "'flac'".
    std::string name;
};

/// By the options and, where no template is named, for samples like these. Throws Refused.
Target TargetOf(const ConvertOptions& options, const _qmwaveformat& source);

/// A file that is being written. All throw std::runtime_error.
class Output {
public:
    virtual ~Output() = default;
    virtual void Write(const std::vector<uint8_t>& samples) = 0;
    virtual void End() = 0;
    /// Metadata that had no place, when that is known; an empty list otherwise.
    virtual std::vector<tarn::MetaBlock> Lost() const { return {}; }
};

/// Begins the file in `file`. The metadata is as the container has it, or as a wave has it where a plug-in
/// writes.
std::unique_ptr<Output> BeginOutput(HQMFILE file, const std::string& path, const Target& target,
                                    const _qmwaveformat& format, const tarn::MetaDocument& metadata);
