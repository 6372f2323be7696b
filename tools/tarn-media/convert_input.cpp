#include "fileio/meta_chunks.h"
#include "fileio/out_of_process.h"
#include "tools/tarn-media/convert_file.h"

using namespace tarn;

namespace {

/// Why the samples of the file cannot be converted; empty when they can.
std::string Refusal(const MediaContents& c) {
    if (!c.hasFormat || !c.hasData)
        for (const MediaProblem& p : c.problems)
            if (p.fault == MediaFault::Error) return "at " + std::to_string(p.offset) + ": " + p.text;
    const _qmwaveformat& f = c.format.format;
    const std::string at = "at " + std::to_string(c.formatOffset) + ": ";
    if (c.coding.codec == SampleCodec::None || f.channels == 0) {
        for (const MediaProblem& p : c.problems)
            if (p.offset >= c.formatOffset && p.text.find("codec") != p.text.npos) return at + p.text;
        return at + "samples of this format are not converted";
    }
    if (f.sampleRate == 0) return at + "the format has a rate of 0";
    if (!c.coding.IsAdpcm() && f.blockAlign != c.coding.blockBytes)
        return at + "frames of " + std::to_string(f.blockAlign) +
               " bytes do not fit the samples; try 'repair'";
    return {};
}

}  // namespace

Input::Input(const std::string& path)
    : m_file(OpenFile(path, FILE_ACCESS_READ, FILE_OPEN_EXISTING)), m_source(m_file.get()) {
    if (!m_file) throw Refused{path, ReasonOf(MEDIA_E_OPEN)};
    m_stamp = StampOf(m_file.get());
    m_contents = InspectMedia(m_source);
    const bool isKnown =
        m_contents.container != MediaContainer::Unknown && m_contents.hasFormat && m_contents.hasData;
    std::string reason = isKnown ? Refusal(m_contents) : std::string();
    if (!isKnown) {
        const MediaProblem& problem = m_contents.problems.front();
        reason = "at " + std::to_string(problem.offset) + ": " + problem.text;
    }
    // What this library does not read, codecs in its own containers among it, a plug-in may.
    if (!reason.empty()) {
        if (!OpenByPlugin(path)) throw Refused{path, reason};
        return;
    }
    m_format = m_contents.format.format;
    m_type = m_contents.coding.type;
    m_frames = m_contents.frames;
}

bool Input::OpenByPlugin(const std::string& path) {
    const std::u16string wide = path == STANDARD_STREAM ? PathOf(m_file.get()) : WideFromPath(path);
    HRESULT hr = FileManager().OpenReader(wide.c_str(), m_opened.Out());
    if (Succeeded(hr)) hr = m_sound.Open(*m_opened);
    if (hr == FIO_E_SURROGATE_GONE) throw Refused{path, ReasonOfStatus(hr)};
    if (Failed(hr)) return false;
    m_format = m_sound.format;
    m_frames = m_sound.frames;
    m_type = m_format.sampleType;
    m_contents = {};
    return true;
}

bool Input::HasChanged() const { return StampOf(m_file.get()) != m_stamp; }

std::unique_ptr<SampleSource> Input::Samples() const {
    if (m_sound.stream) return std::make_unique<PluginSamples>(m_sound);
    return std::make_unique<OwnSamples>(m_source, m_contents);
}

MetaDocument Input::Metadata() const {
    if (!m_opened) return ReadMetaDocument(m_source, m_contents);
    ComPtr<IQmReadMeta> meta;
    if (m_opened->GetMeta(IID_IQmReadMeta, meta.OutVoid()) == S_OK && meta) return ReadMeta(*meta);
    MetaDocument none;
    none.container = MediaContainer::Wave;
    return none;
}
