// A frame of raw or y4m video to a picture, and a picture to a frame.
#include "image/dib_copy.h"
#include "image/video_layout.h"
#include "tools/tarn-image/image_tool.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <system_error>

using namespace tarn;

namespace {

/// How y4m names what lies as one of our types, but for the order of U and V.
struct Chroma {
    std::string_view name;
    QMPIXELTYPE type;
};
// The first of a type is what is written.
constexpr Chroma CHROMAS[] = {
    {"420mpeg2", QMPIXEL_I420}, {"420jpeg", QMPIXEL_I420}, {"420paldv", QMPIXEL_I420}, {"420", QMPIXEL_I420},
    {"420p10", QMPIXEL_PL10},   {"422", QMPIXEL_YV16},     {"444", QMPIXEL_YV24},      {"411", QMPIXEL_Y41B}};
constexpr std::string_view MAGIC = "YUV4MPEG2";

/// Read from its beginning to the frame that is asked for: a video may be larger than memory, or a pipe.
class VideoFile {
public:
    explicit VideoFile(const std::string& name) : m_file(name, std::ios::binary) {
        const bool isFolder = m_file && std::filesystem::is_directory(name);
        if (!m_file || isFolder)
            throw Complaint("", "cannot open " + name + ": " +
                                    std::generic_category().message(isFolder ? EISDIR : errno));
    }

    /// Before anything else was read.
    bool StartsWith(std::string_view magic) {
        m_pending.resize(magic.size());
        m_file.read(m_pending.data(), static_cast<std::streamsize>(magic.size()));
        m_pending.resize(static_cast<size_t>(m_file.gcount()));
        return m_pending == magic;
    }
    bool Read(char* to, size_t count) {
        const size_t pending = m_pending.copy(to, count);
        m_pending.erase(0, pending);
        m_file.read(to + pending, static_cast<std::streamsize>(count - pending));
        return pending + static_cast<size_t>(m_file.gcount()) == count;
    }
    bool IsAtEnd() { return m_pending.empty() && m_file.peek() == std::ifstream::traits_type::eof(); }
    bool Skip(uint64_t count) {
        const size_t pending = std::min<uint64_t>(m_pending.size(), count);
        m_pending.erase(0, pending);
        const auto rest = static_cast<std::streamsize>(count - pending);
        return m_file.ignore(rest).gcount() == rest;
    }
    /// Without its end; a line that is longer than those of a header, or has no end, is none.
    bool ReadLine(std::string& line) {
        line.clear();
        for (char c = 0; line.size() <= 4096 && Read(&c, 1); line += c)
            if (c == '\n') return true;
        return false;
    }

private:
    std::ifstream m_file;
    std::string m_pending;  ///< what StartsWith has read
};

/// What the frames of a file are.
struct Stream {
    QMPIXELTYPE type = QMPIXEL_UNKNOWN;
    int32_t width = 0, height = 0;
    bool isY4m = false, isFullRange = false;
};

Stream ReadY4mHeader(VideoFile& video, const std::string& file) {
    Stream stream;
    stream.isY4m = true;
    std::string line;
    if (!video.ReadLine(line)) throw Complaint(file, "at 0: the header has no end");
    std::string_view chroma = "420";
    size_t at = MAGIC.size();
    while (at < line.size()) {
        const size_t next = std::min(line.find(' ', at + 1), line.size());
        const std::string_view word = std::string_view(line).substr(at + 1, next - at - 1);
        const auto number = [&](int32_t& value) {
            const auto [stop, error] = std::from_chars(word.data() + 1, word.data() + word.size(), value);
            if (error != std::errc() || stop != word.data() + word.size())
                throw Complaint(file, "at " + std::to_string(at + 1) + ": a size that is no number");
        };
        if (word.starts_with('W')) number(stream.width);
        if (word.starts_with('H')) number(stream.height);
        if (word.starts_with('C')) chroma = word.substr(1);
        if (word == "XCOLORRANGE=FULL") stream.isFullRange = true;
        at = next;
    }
    const auto* row = std::ranges::find(CHROMAS, chroma, &Chroma::name);
    if (row == std::end(CHROMAS))
        throw Complaint(file, "frames of '" + std::string(chroma.substr(0, 32)) + "' are not supported");
    stream.type = row->type;
    return stream;
}

/// Our codes of these types have V before U, the file has U first.
void ExchangeChroma(const OwnedDib& dib) {
    const VideoLayout* layout = FindVideoLayout(QmGetPixelType(dib.get()));
    if (!layout || layout->kind != VideoKind::Planar || !layout->vFirst) return;
    auto* bits = static_cast<uint8_t*>(QmDibBits(dib.get()));
    const VideoPlanes planes = PlacePlanes(*layout, dib->biWidth, dib->biHeight);
    std::swap_ranges(bits + planes.offset[2], bits + planes.offset[1], bits + planes.offset[1]);
}

uint32_t FlagsOf(const Options& o, int32_t height, bool isFullRange) {
    constexpr int32_t FIRST_HD = 720;
    const bool is709 = o.matrix.empty() ? height >= FIRST_HD : o.matrix == "bt709";
    return (is709 ? DIB_COPY_BT709 : 0) | (isFullRange || o.isFullRange ? DIB_COPY_FULL_RANGE : 0);
}

QMPIXELTYPE VideoType(const Options& o) {
    const QMPIXELTYPE type = TypeByName(o.type);
    if (!o.type.empty() && !IsVideo(type))
        throw Complaint(o.output, "'" + o.type + "' is no video", EXIT_USAGE);
    return o.type.empty() ? QMPIXEL_I420 : type;
}

int ToVideo(const Options& o) {
    const OwnedDib picture = ReadImage(o.input);
    const QMPIXELTYPE type = VideoType(o);
    const int32_t width = picture->biWidth, height = std::abs(picture->biHeight);
    const OwnedDib frame = As(picture, type, o.output, FlagsOf(o, height, false));
    std::string bytes;
    if (ExtensionOf(o.output) == ".y4m") {
        const auto* row = std::ranges::find(CHROMAS, type, &Chroma::type);
        if (row == std::end(CHROMAS))
            throw Complaint(o.output, "y4m holds i420, pl10, yv16, yv24 and y41b only", EXIT_USAGE);
        ExchangeChroma(frame);
        bytes = std::string(MAGIC) + " W" + std::to_string(width) + " H" + std::to_string(height) +
                " F25:1 Ip A1:1 C" + std::string(row->name) + (o.isFullRange ? " XCOLORRANGE=FULL" : "") +
                "\nFRAME\n";
    }
    bytes.append(static_cast<const char*>(QmDibBits(frame.get())), frame->biSizeImage);
    WriteBytes(o.output, bytes);
    return EXIT_FINE;
}

/// Throws where the file ends before its end.
void ReadFrame(const Stream& stream, VideoFile& video, uint64_t index, uint32_t size, void* bits,
               const std::string& file) {
    for (uint64_t i = 0; i <= index; i++) {
        std::string line;
        if (video.IsAtEnd() || (stream.isY4m && (!video.ReadLine(line) || !line.starts_with("FRAME"))))
            throw Complaint(file, "there is no frame " + std::to_string(i));
        if (!(i == index ? video.Read(static_cast<char*>(bits), size) : video.Skip(size)))
            throw Complaint(file, "ends within frame " + std::to_string(i));
    }
}

int FromVideo(const Options& o) {
    Stream stream;
    VideoFile video(o.input);
    if (video.StartsWith(MAGIC)) {
        stream = ReadY4mHeader(video, o.input);
    } else {
        if (!o.hasSize) throw Complaint(o.input, "raw video needs --size", EXIT_USAGE);
        stream.type = VideoType(o);
        stream.width = static_cast<int32_t>(std::min(o.size.x, double{INT32_MAX}));
        stream.height = static_cast<int32_t>(std::min(o.size.y, double{INT32_MAX}));
    }
    uint32_t size = 0;
    if (Failed(QmDibInfo(nullptr, &size, nullptr, stream.type, stream.width, stream.height, nullptr, 0)))
        throw Complaint(o.input, "no frame has " + SizeText(stream.width, stream.height));
    const OwnedDib frame = NewImage(stream.type, stream.width, stream.height, o.input);
    ReadFrame(stream, video, o.index, size, QmDibBits(frame.get()), o.input);
    if (stream.isY4m) ExchangeChroma(frame);
    uint8_t bits[4];
    QmGetPixelBitsPerChannel(stream.type, bits);
    const QMPIXELTYPE type = bits[0] > 8 ? QMPIXEL_RGBA64 : QMPIXEL_RGB24;
    WriteImage(o.output, As(frame, type, o.output, FlagsOf(o, stream.height, stream.isFullRange)), o.quality);
    return EXIT_FINE;
}

}  // namespace

int Frame(const Options& o) {
    const std::string extension = ExtensionOf(o.output);
    const bool isVideo = extension == ".y4m" || extension == ".yuv" || extension == ".raw";
    return isVideo ? ToVideo(o) : FromVideo(o);
}
