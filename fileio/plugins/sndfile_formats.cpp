#include "fileio/plugins/sndfile_formats.h"

#include <algorithm>
#include <iterator>

#include <fcntl.h>
#include <unistd.h>

namespace sound {

namespace {

template <class Sample, sf_count_t Call(SNDFILE*, Sample*, sf_count_t)>
sf_count_t Read(SNDFILE* file, void* samples, sf_count_t frames) {
    return Call(file, static_cast<Sample*>(samples), frames);
}
template <class Sample, sf_count_t Call(SNDFILE*, const Sample*, sf_count_t)>
sf_count_t Write(SNDFILE* file, const void* samples, sf_count_t frames) {
    return Call(file, static_cast<const Sample*>(samples), frames);
}

constexpr SampleWay WAYS[] = {
    {QMSAMPLE_PCM8, 2, QMSAMPLE_PCM16, Read<short, sf_readf_short>, Write<short, sf_writef_short>},
    {QMSAMPLE_PCM16, 2, QMSAMPLE_PCM16, Read<short, sf_readf_short>, Write<short, sf_writef_short>},
    {QMSAMPLE_PCM24, 4, QMSAMPLE_PCM32, Read<int, sf_readf_int>, Write<int, sf_writef_int>},
    {QMSAMPLE_PCM32, 4, QMSAMPLE_PCM32, Read<int, sf_readf_int>, Write<int, sf_writef_int>},
    {QMSAMPLE_FLOAT32, 4, QMSAMPLE_FLOAT32, Read<float, sf_readf_float>, Write<float, sf_writef_float>},
    {QMSAMPLE_FLOAT64, 8, QMSAMPLE_FLOAT64, Read<double, sf_readf_double>, Write<double, sf_writef_double>},
};

struct Encoding {
    int subtype;
    QMSAMPLETYPE type;
};
/// All others are made of 16 bits.
constexpr Encoding ENCODINGS[] = {
    {SF_FORMAT_PCM_16, QMSAMPLE_PCM16},          {SF_FORMAT_PCM_24, QMSAMPLE_PCM24},
    {SF_FORMAT_PCM_32, QMSAMPLE_PCM32},          {SF_FORMAT_FLOAT, QMSAMPLE_FLOAT32},
    {SF_FORMAT_DOUBLE, QMSAMPLE_FLOAT64},        {SF_FORMAT_PCM_S8, QMSAMPLE_PCM8},
    {SF_FORMAT_PCM_U8, QMSAMPLE_PCM8},           {SF_FORMAT_DPCM_8, QMSAMPLE_PCM8},
    {SF_FORMAT_ALAC_20, QMSAMPLE_PCM24},         {SF_FORMAT_ALAC_24, QMSAMPLE_PCM24},
    {SF_FORMAT_ALAC_32, QMSAMPLE_PCM32},         {SF_FORMAT_VORBIS, QMSAMPLE_FLOAT32},
    {SF_FORMAT_OPUS, QMSAMPLE_FLOAT32},          {SF_FORMAT_MPEG_LAYER_I, QMSAMPLE_FLOAT32},
    {SF_FORMAT_MPEG_LAYER_II, QMSAMPLE_FLOAT32}, {SF_FORMAT_MPEG_LAYER_III, QMSAMPLE_FLOAT32},
};

bool IsWritten(int format) {
    SF_INFO info{};
    info.format = format;
    info.channels = 2;
    info.samplerate = 48000;
    return sf_format_check(&info) != 0;
}

std::string NameBy(int command, int format) {
    SF_FORMAT_INFO info{};
    info.format = format;
    if (sf_command(nullptr, command, &info, sizeof info) != 0 || !info.name) return {};
    const std::string name = info.name;
    return name.substr(0, name.find(" ("));
}

}  // namespace

OwnedSound OpenSound(int descriptor, int mode, SF_INFO* info) {
    const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (own < 0) return nullptr;
    OwnedSound sound(sf_open_fd(own, mode, info, SF_TRUE));
    // Only what was opened closes it.
    if (!sound) ::close(own);
    return sound;
}

const SampleWay* WayOf(QMSAMPLETYPE type) {
    const auto* way = std::ranges::find(WAYS, type, &SampleWay::type);
    return way == std::end(WAYS) ? nullptr : way;
}

QMSAMPLETYPE TypeOfEncoding(int format) {
    const auto* row = std::ranges::find(ENCODINGS, format & SF_FORMAT_SUBMASK, &Encoding::subtype);
    return row == std::end(ENCODINGS) ? QMSAMPLE_PCM16 : row->type;
}

int EncodingFor(int kind, QMSAMPLETYPE type) {
    // First the very type, then the finest integers, then whatever codec the kind is made for.
    for (const Encoding& row : ENCODINGS)
        if (row.type == type && IsWritten(kind | row.subtype)) return kind | row.subtype;
    for (const int subtype : {SF_FORMAT_PCM_24, SF_FORMAT_PCM_16})
        if (IsWritten(kind | subtype)) return kind | subtype;
    for (const Encoding& row : ENCODINGS)
        if (IsWritten(kind | row.subtype)) return kind | row.subtype;
    return 0;
}

std::string NameOfFormat(int format) {
    const std::string kind = NameBy(SFC_GET_FORMAT_INFO, format & SF_FORMAT_TYPEMASK),
                      encoding = NameBy(SFC_GET_FORMAT_INFO, format & SF_FORMAT_SUBMASK);
    return encoding.empty() || encoding == kind ? kind : kind + ", " + encoding;
}

}  // namespace sound
