// One sample after the other: the routines that all others are held against.
#include "audio/copy/routines.h"

namespace {
struct OneByOne {
    static constexpr int LANES = 1;
};
}  // namespace

constexpr CopyTable COPY_PLAIN = MakeTable<OneByOne>();
