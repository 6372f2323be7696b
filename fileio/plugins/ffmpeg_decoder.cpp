#include "fileio/plugins/ffmpeg_decoder.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace film {

namespace {
constexpr int BUFFER_BYTES = 1 << 16;
}

Container::~Container() {
    if (m_format) avformat_close_input(&m_format);
    if (m_io) {
        av_freep(&m_io->buffer);
        avio_context_free(&m_io);
    }
    if (m_file >= 0) ::close(m_file);
}

int Container::ReadBytes(void* self, uint8_t* out, int count) {
    auto& own = *static_cast<Container*>(self);
    const ssize_t got = ::pread(own.m_file, out, static_cast<size_t>(count), own.m_at);
    if (got > 0) own.m_at += got;
    return got > 0 ? static_cast<int>(got) : got == 0 ? AVERROR_EOF : AVERROR(errno);
}

int64_t Container::SeekTo(void* self, int64_t offset, int whence) {
    auto& own = *static_cast<Container*>(self);
    struct stat status {};
    if (::fstat(own.m_file, &status) != 0) return -1;
    const int from = whence & ~(AVSEEK_FORCE | AVSEEK_SIZE);
    if (whence & AVSEEK_SIZE) return status.st_size;
    const int64_t base = from == SEEK_SET ? 0 : from == SEEK_CUR ? own.m_at : status.st_size;
    if (offset < -base || offset > INT64_MAX - base) return -1;
    return own.m_at = base + offset;
}

bool Container::Open(int descriptor) {
    m_file = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (m_file < 0) return false;
    auto* buffer = static_cast<uint8_t*>(av_malloc(BUFFER_BYTES));
    m_io = buffer ? avio_alloc_context(buffer, BUFFER_BYTES, 0, this, ReadBytes, nullptr, SeekTo) : nullptr;
    m_format = m_io ? avformat_alloc_context() : nullptr;
    if (!m_format) return false;
    m_format->pb = m_io;
    m_format->flags |= AVFMT_FLAG_CUSTOM_IO;
    m_format->max_streams = 256;
    AVDictionary* options = nullptr;
    // Lists that name other files lead nowhere: only what is given is read.
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    // It frees the context where it fails.
    const int opened = avformat_open_input(&m_format, nullptr, nullptr, &options);
    av_dict_free(&options);
    return opened == 0 && avformat_find_stream_info(m_format, nullptr) >= 0;
}

bool Decoder::Open(int descriptor, int stream) {
    m_container = std::make_unique<Container>();
    if (!m_container->Open(descriptor) || stream >= static_cast<int>(m_container->Format().nb_streams))
        return false;
    m_index = stream;
    const AVCodecParameters& parameters = *Stream().codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
    m_codec.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    m_packet.reset(av_packet_alloc());
    m_frame.reset(av_frame_alloc());
    if (!m_codec || !m_packet || !m_frame || avcodec_parameters_to_context(m_codec.get(), &parameters) < 0)
        return false;
    m_codec->pkt_timebase = Stream().time_base;
    for (unsigned i = 0; i < m_container->Format().nb_streams; i++)
        m_container->Format().streams[i]->discard =
            static_cast<int>(i) == stream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    return avcodec_open2(m_codec.get(), codec, nullptr) == 0;
}

const AVFrame* Decoder::Next() {
    for (;;) {
        const int received = avcodec_receive_frame(m_codec.get(), m_frame.get());
        if (received == 0) return m_frame.get();
        if (received != AVERROR(EAGAIN) || m_isDrained) return nullptr;
        const int read = av_read_frame(&m_container->Format(), m_packet.get());
        if (read < 0) {
            m_isDrained = true;
            avcodec_send_packet(m_codec.get(), nullptr);
            continue;
        }
        // A damaged packet costs what is in it, no more.
        if (m_packet->stream_index == m_index) avcodec_send_packet(m_codec.get(), m_packet.get());
        av_packet_unref(m_packet.get());
    }
}

bool Decoder::NextText(AVSubtitle* text, int64_t* start, int64_t* end) {
    constexpr AVRational MICROSECONDS{1, AV_TIME_BASE};
    while (av_read_frame(&m_container->Format(), m_packet.get()) >= 0) {
        const AVPacket& packet = *m_packet;
        int got = 0;
        if (packet.stream_index == m_index &&
            avcodec_decode_subtitle2(m_codec.get(), text, &got, m_packet.get()) < 0)
            got = 0;
        const AVRational clock = Stream().time_base;
        const int64_t shown =
            packet.pts == AV_NOPTS_VALUE ? 0 : av_rescale_q(packet.pts, clock, MICROSECONDS);
        const int64_t length = av_rescale_q(packet.duration, clock, MICROSECONDS);
        av_packet_unref(m_packet.get());
        if (!got) continue;
        constexpr int64_t MILLISECOND = 1000;
        const bool isTold = text->end_display_time > 0 && text->end_display_time != UINT32_MAX;
        *start = shown + text->start_display_time * MILLISECOND;
        *end = shown + (isTold ? text->end_display_time * MILLISECOND : length);
        return true;
    }
    return false;
}

bool Decoder::SeekBefore(int64_t time) {
    if (av_seek_frame(&m_container->Format(), m_index, time, AVSEEK_FLAG_BACKWARD) < 0) return false;
    avcodec_flush_buffers(m_codec.get());
    m_isDrained = false;
    return true;
}

}  // namespace film
