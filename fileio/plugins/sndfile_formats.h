// What libsndfile reads and writes, and as what types of samples it passes.
#pragma once

#include "fileio/plugin.h"

#include <memory>
#include <string>

#include <sndfile.h>

namespace sound {

inline constexpr GUID READER = tarn::Guid("{7D0A3C50-1B8E-4C55-9F6B-2E4471A0BC02}");
inline constexpr GUID RENDERER = tarn::Guid("{7D0A3C51-1B8E-4C55-9F6B-2E4471A0BC02}");
inline constexpr char16_t READ_EXTENSIONS[] = u"flac;ogg;oga;opus;mp3;mp2;mp1;caf;au;snd;voc;sf;ircam;paf;"
                                              u"svx;8svx;nist;sph;avr;sds;sd2;mat;pvf;xi;htk;mpc2k;"
                                              u"wav;w64;rf64;aif;aiff;aifc";
inline constexpr char16_t RENDER_EXTENSIONS[] = u"flac;ogg;oga;opus;mp3;caf;au";

struct CloseSound {
    void operator()(SNDFILE* file) const { sf_close(file); }
};
using OwnedSound = std::unique_ptr<SNDFILE, CloseSound>;

/// On a descriptor of its own; null where it cannot be opened so.
OwnedSound OpenSound(int descriptor, int mode, SF_INFO* info);

/// Whole frames of samples of the type, between libsndfile and memory. Null for a type that does not pass.
struct SampleWay {
    QMSAMPLETYPE type;
    uint32_t passBytes;  ///< of a sample as it passes; of more than the type's where it is narrowed
    QMSAMPLETYPE passType;
    sf_count_t (*read)(SNDFILE* file, void* samples, sf_count_t frames);
    sf_count_t (*write)(SNDFILE* file, const void* samples, sf_count_t frames);
};
const SampleWay* WayOf(QMSAMPLETYPE type);

/// As what the samples of an encoding are read.
QMSAMPLETYPE TypeOfEncoding(int format);
/// The encoding of the least loss for samples of a type in a kind of file; 0 where there is none.
int EncodingFor(int kind, QMSAMPLETYPE type);

/// "FLAC", "Ogg Vorbis".
std::string NameOfFormat(int format);

/// Without a reference yet.
IQmReadFileClass* MakeReader();
IQmRenderFileClass* MakeRenderer();

}  // namespace sound
