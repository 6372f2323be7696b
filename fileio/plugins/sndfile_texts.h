// The texts that libsndfile passes, by the keys that they have in metadata.
#pragma once

#include <sndfile.h>

namespace sound {

struct TextRow {
    int which;
    const char* key;
};
inline constexpr TextRow TEXTS[] = {
    {SF_STR_TITLE, "info.INAM"},     {SF_STR_ARTIST, "info.IART"},   {SF_STR_ALBUM, "info.IPRD"},
    {SF_STR_COMMENT, "info.ICMT"},   {SF_STR_DATE, "info.ICRD"},     {SF_STR_GENRE, "info.IGNR"},
    {SF_STR_COPYRIGHT, "info.ICOP"}, {SF_STR_SOFTWARE, "info.ISFT"}, {SF_STR_TRACKNUMBER, "info.ITRK"},
};

}  // namespace sound
