#include "fileio/identify.h"

#include "fileio/extensions.h"
#include "mediafile/media_codes.h"
#include "platform/file.h"
#include "platform/text.h"

#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarn {

namespace {

constexpr size_t HEAD_BYTES = 4096;

/// One file and the readers that were asked already.
class Candidates {
public:
    Candidates(PluginList& plugins, const PluginList::Log& log, std::u16string_view path)
        : m_plugins(plugins), m_log(log), m_path(path), m_name(PathFromWide(path).string()),
          m_readers(plugins.All()), m_tried(m_readers.size()) {
        // A pipe that nobody writes must not keep us waiting.
        m_fd = ::open(m_name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        struct stat status {};
        if (m_fd >= 0 && (::fstat(m_fd, &status) != 0 || !S_ISREG(status.st_mode))) {
            ::close(m_fd);
            m_fd = -1;
        }
        if (m_fd < 0) return;
        const ssize_t got = ::pread(m_fd, m_head, sizeof m_head, 0);
        m_headBytes = got > 0 ? static_cast<uint32_t>(got) : 0;
    }
    ~Candidates() {
        if (m_fd >= 0) ::close(m_fd);
    }
    Candidates(const Candidates&) = delete;
    Candidates& operator=(const Candidates&) = delete;

    bool IsOpen() const { return m_fd >= 0; }
    const std::string& Name() const { return m_name; }
    HRESULT Refusal() const { return m_refusal; }
    size_t Count() const { return m_readers.size(); }
    const PluginSummary& At(size_t i) const { return m_readers[i]; }

    bool Recognizes(size_t i) {
        ComPtr<IQmReadFileClass> reader;
        return IsReader(i) && Start(i, &reader) && reader->Recognize(m_head, m_headBytes) == S_OK;
    }

    bool Accepts(size_t i, FileIdentity* found) {
        ComPtr<IQmReadFileClass> reader;
        if (m_tried[i] || !IsReader(i)) return false;
        m_tried[i] = true;
        if (!Start(i, &reader) || IsBypassed(i, *reader) || ::lseek(m_fd, 0, SEEK_SET) != 0) return false;
        found->file.Reset();
        const HRESULT hr = reader->OpenFile(m_fd, m_path.c_str(), found->file.Out());
        if (Failed(hr) || !found->file) return Refuse(hr);
        found->reader = m_readers[i].info.reader;
        return true;
    }

private:
    bool IsReader(size_t i) const { return m_readers[i].Has(PluginRole::Reader); }
    bool Start(size_t i, ComPtr<IQmReadFileClass>* reader) {
        const HRESULT hr = m_plugins.GetReader(i, reader);
        return Succeeded(hr) || Refuse(hr);
    }
    bool Refuse(HRESULT hr) {
        if (hr == MEDIA_E_NOT_STARTED || hr == FIO_E_SURROGATE_GONE) m_refusal = hr;
        return false;
    }
    bool IsBypassed(size_t i, IQmReadFileClass& reader) {
        if (!(m_readers[i].info.flags & FIO_PLUGIN_COMPOUND)) return false;
        ComPtr<IQmReadFile> none;
        const HRESULT hr = reader.OpenFile(-1, FIO_COMPOUND_PROBE, none.Out());
        if (hr == S_OK) return false;
        m_log(" IdentifyFileType: mergereader is bypassed:'" + Utf8FromUtf16(m_readers[i].info.name) +
              "', '" + Utf8FromUtf16(FIO_COMPOUND_PROBE) +
              "' Plugin examined, status: " + std::to_string(hr));
        return true;
    }

    PluginList& m_plugins;
    const PluginList::Log& m_log;
    const std::u16string m_path;
    const std::string m_name;
    const std::vector<PluginSummary> m_readers;
    std::vector<bool> m_tried;
    int m_fd = -1;
    uint8_t m_head[HEAD_BYTES];
    uint32_t m_headBytes = 0;
    HRESULT m_refusal = MEDIA_E_UNSUPPORTED_FORMAT;
};

struct Line {
    const char *before = nullptr, *after = nullptr;  ///< the plug-in's name
    bool namesFile = false;
};
struct Step {
    Line line;
    std::optional<Line> slowLine;  ///< none: no step of the slow way
    bool (*isFor)(Candidates&, size_t, const std::string& extension, const GUID& lastUsed) = nullptr;
};
constexpr char FAST[] = " IdentifyFileType: '";
const Step STEPS[] = {
    {{FAST, "' Plugin found from file signature for ", true},
     {},
     [](Candidates& c, size_t i, const std::string&, const GUID&) { return c.Recognizes(i); }},
    {{FAST, "' Plugin found from file extension for ", true},
     Line{" IdentifyFileTypeSlow: '", "' Plugin found from file extension for ", true},
     [](Candidates& c, size_t i, const std::string& extension, const GUID&) {
         return HasExtension(c.At(i).readExtensions, extension);
     }},
    {{FAST, "' Plugin found from last used reader for ", true},
     Line{"IdentifyFileTypeSlow:'", "' plugin found from the last used reader", false},
     [](Candidates& c, size_t i, const std::string&, const GUID& lastUsed) {
         return c.At(i).info.reader == lastUsed;
     }},
    {{FAST, "' Plugin found from going through the list for ", true},
     Line{"IdentifyFileTypeSlow:'", "' plugin found from going through the list", false},
     [](Candidates&, size_t, const std::string&, const GUID&) { return true; }},
};

HRESULT Walk(PluginList& plugins, const PluginList::Log& log, std::u16string_view path, const GUID& lastUsed,
             bool isSlow, FileIdentity* found) {
    Candidates candidates(plugins, log, path);
    if (!candidates.IsOpen()) return MEDIA_E_OPEN;
    const std::string extension = ExtensionOf(path);
    for (const Step& step : STEPS) {
        if (isSlow && !step.slowLine) continue;
        const Line& line = isSlow ? *step.slowLine : step.line;
        for (size_t i = 0; i < candidates.Count(); i++) {
            if (!step.isFor(candidates, i, extension, lastUsed) || !candidates.Accepts(i, found)) continue;
            log(line.before + Utf8FromUtf16(candidates.At(i).info.name) + line.after +
                (line.namesFile ? candidates.Name() : ""));
            return S_OK;
        }
    }
    log(isSlow ? "No plugin(s) found though IdentifyFiletypeSlow Session"
               : "No Plugin Found through IdentifyFileType Session");
    return candidates.Refusal();
}

}  // namespace

HRESULT FileIdentifier::Identify(std::u16string_view path, const GUID& lastUsed, FileIdentity* found) const {
    return Walk(m_plugins, m_log, path, lastUsed, false, found);
}

HRESULT FileIdentifier::IdentifySlow(std::u16string_view path, const GUID& lastUsed,
                                     FileIdentity* found) const {
    return Walk(m_plugins, m_log, path, lastUsed, true, found);
}

HRESULT FileIdentifier::OpenWith(std::u16string_view path, const GUID& reader, FileIdentity* found) const {
    Candidates candidates(m_plugins, m_log, path);
    const int32_t index = m_plugins.Find(PluginRole::Reader, reader);
    if (index < 0) return MEDIA_E_UNSUPPORTED_FORMAT;
    if (!candidates.IsOpen()) return MEDIA_E_OPEN;
    return candidates.Accepts(static_cast<size_t>(index), found) ? S_OK : candidates.Refusal();
}

}  // namespace tarn
