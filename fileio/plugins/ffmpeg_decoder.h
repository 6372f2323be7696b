// One stream of a file through FFmpeg's libraries, from one decoded frame to the next. One thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace film {

/// A file on a descriptor of its own, and the container over it.
class Container {
public:
    ~Container();
    Container() = default;
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    /// False where it is none that is known, or holds nothing that can be decoded.
    bool Open(int descriptor);
    AVFormatContext& Format() const { return *m_format; }

private:
    static int ReadBytes(void* self, uint8_t* out, int count);
    static int64_t SeekTo(void* self, int64_t offset, int whence);

    int m_file = -1;
    int64_t m_at = 0;  ///< its own, whoever else reads the file
    AVIOContext* m_io = nullptr;
    AVFormatContext* m_format = nullptr;
};

class Decoder {
public:
    /// Each decoder has the file for itself, so that streams are read side by side.
    bool Open(int descriptor, int stream);

    AVStream& Stream() const { return *m_container->Format().streams[m_index]; }
    AVCodecContext& Codec() const { return *m_codec; }
    /// The next frame, until the next call; null at the end and where the file cannot be read on.
    const AVFrame* Next();
    /// Of a stream of texts, likewise, with its time in microseconds. *text is the caller's, for
    /// avsubtitle_free.
    bool NextText(AVSubtitle* text, int64_t* start, int64_t* end);
    /// To a frame at or before that time, of the stream's own clock. False where it cannot be reached.
    bool SeekBefore(int64_t time);

private:
    struct Free {
        void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
        void operator()(AVPacket* p) const { av_packet_free(&p); }
        void operator()(AVFrame* f) const { av_frame_free(&f); }
    };

    std::unique_ptr<Container> m_container;
    std::unique_ptr<AVCodecContext, Free> m_codec;
    std::unique_ptr<AVPacket, Free> m_packet;
    std::unique_ptr<AVFrame, Free> m_frame;
    int m_index = 0;
    bool m_isDrained = false;
};

}  // namespace film
