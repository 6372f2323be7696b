// What the commands share: exit codes, one-line complaints, files by their path, types by their name.
#pragma once

#include "audio/wave_format.h"
#include "mediafile/inspect.h"
#include "mediafile/media_codes.h"
#include "platform/file.h"
#include "platform/file_handle.h"

#include <memory>
#include <string>
#include <vector>

enum ExitCode { EXIT_FINE = 0, EXIT_FAULTY = 1, EXIT_UNREADABLE = 2, EXIT_USAGE = 3 };

/// One line on stderr; returns the code.
int Complain(const std::string& file, const std::string& reason, int code = EXIT_UNREADABLE);
/// By status, with the system's own reason where there is one.
std::string ReasonOf(HRESULT status);

/// Stands for standard input, which is read to its end into a file without a name, and standard output.
inline constexpr const char* STANDARD_STREAM = "-";

tarn::OwnedFile OpenFile(const std::string& path, QmFileAccess access, QmFileCreation creation);
/// To be changed in its place, as it was when it was read. Throws std::runtime_error with the reason, such as
/// another program that writes to it or has done so since.
tarn::OwnedFile OpenToEdit(const std::string& path, const tarn::FileStamp& whenRead);

/// "pcm16" and its like; 0 for no such name.
QMSAMPLETYPE TypeByName(const std::string& name);
/// All names, for the help.
std::string TypeNames();

/// A file that is written beside its target and takes its place when all is done, unless somebody else has
/// written there meanwhile. Without Commit nothing stays.
class NewFile {
public:
    /// Throws std::runtime_error with the reason: the target is there and may not be replaced, or cannot be
    /// made.
    NewFile(const std::string& target, bool mayReplace);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    HQMFILE File() const { return m_file.get(); }
    /// Throws std::runtime_error.
    void Commit();

private:
    const bool m_isStream;
    tarn::ReplacingFile m_new;
    tarn::OwnedFile m_file;
};

/// "1,234 of 5,678 MB" on a terminal while long work goes on; silent elsewhere.
class Progress {
public:
    Progress(const char* doing, uint64_t total);
    ~Progress();
    void Show(uint64_t done);

private:
    const char* m_doing;
    uint64_t m_total, m_shown = UINT64_MAX;
    bool m_isTerminal;
};

/// All of a file to where the other stands, which then ends there. Throws std::runtime_error.
void CopyContent(HQMFILE from, HQMFILE to);

struct FormatOptions {
    std::string type;
    uint32_t rate = 0, channels = 0;
};

/// A time from the start, or a number of frames.
struct TimePoint {
    bool isGiven = false, isFrames = false;
    double seconds = 0;
    uint64_t frames = 0;
};
/// "0:01:02.500".
std::string Duration(uint64_t frames, uint32_t rate);
/// "12.5", "1:02.5", "1:00:00" or "48000s", which are frames; false for any other text.
bool ParseTime(const std::string& text, TimePoint* time);

struct Normalize {
    enum Kind { Nothing, Peak, Loudness } kind = Nothing;
    double level = 0;  ///< in dBFS or LUFS
};

struct ConvertOptions {
    std::string input, output, type, container;
    std::string settings;  ///< a template's name
    double gain = 0;
    uint32_t channels = 0, rate = 0;          ///< 0 for none asked
    std::vector<uint32_t> map;                ///< channels that are taken, from 1; 0 is silence
    std::vector<std::vector<double>> matrix;  ///< a row of gains for each that is made
    TimePoint start, end, length;
    Normalize normalize;
    std::string dither = "auto";  ///< or "tpdf", "none"
    bool force = false, quiet = false;
    bool dropsMetadata = false;  ///< all of it
    bool dropsLost = false;      ///< what the target cannot hold; else it goes into a side file
};
struct RepairOptions {
    std::string file, output, samplesEnd;
    FormatOptions format;
    bool inPlace = false, force = false;
};
struct HeaderOptions {
    std::string input, output, container;
    FormatOptions format;
    uint64_t bytes = 0;
    bool inPlace = false, force = false;
};

int Convert(const ConvertOptions& options);
int Repair(const RepairOptions& options);
int InsertHeader(const HeaderOptions& options);
int ReserveHeader(const HeaderOptions& options);
