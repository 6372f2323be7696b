#include "audio/adpcm.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace tarn {

namespace {

constexpr int32_t IMA_STEPS[] = {
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
constexpr int32_t LAST_STEP = static_cast<int32_t>(std::size(IMA_STEPS)) - 1;
constexpr int32_t STEP_CHANGES[] = {-1, -1, -1, -1, 2, 4, 6, 8};

int32_t Clamped16(int64_t sample) {
    return static_cast<int32_t>(std::clamp<int64_t>(sample, INT16_MIN, INT16_MAX));
}

int16_t Take(ImaState& state, int32_t difference, unsigned code) {
    state.sample = Clamped16(code & 8 ? state.sample - difference : state.sample + difference);
    state.step = std::clamp(state.step + STEP_CHANGES[code & 7], 0, LAST_STEP);
    return static_cast<int16_t>(state.sample);
}
/// The difference as one product, rounded once.
int16_t NextOfBlock(ImaState& state, unsigned code) {
    return Take(state, (static_cast<int32_t>(2 * (code & 7) + 1) * IMA_STEPS[state.step]) >> 3, code);
}
/// The difference as a sum of shifted steps, each rounded: what those who write packets reckon with.
int16_t NextOfPacket(ImaState& state, unsigned code) {
    const int32_t step = IMA_STEPS[state.step];
    int32_t difference = step >> 3;
    if (code & 4) difference += step;
    if (code & 2) difference += step >> 1;
    if (code & 1) difference += step >> 2;
    return Take(state, difference, code);
}

constexpr uint32_t IMA_HEADER = 4, IMA_GROUP = 4, IMA_GROUP_FRAMES = 8;
constexpr uint32_t MICROSOFT_HEADER = 7;

constexpr AdpcmPair PAIRS[] = {{256, 0}, {512, -256}, {0, 0}, {192, 64}, {240, 0}, {460, -208}, {392, -232}};
constexpr int32_t SCALES[] = {230, 230, 230, 230, 307, 409, 512, 614, 768, 614, 512, 409, 307, 230, 230, 230};

int16_t WordAt(const uint8_t* bytes) { return static_cast<int16_t>(bytes[0] | bytes[1] << 8); }

struct MicrosoftState {
    AdpcmPair pair;
    int32_t scale, last, before;

    int16_t Next(unsigned code) {
        constexpr int32_t LEAST = 16, MOST = INT32_MAX / 768;
        const int32_t step = static_cast<int32_t>(code) - (code & 8 ? 16 : 0);
        const int64_t expected = (int64_t{last} * pair.first + int64_t{before} * pair.second) / 256;
        before = last;
        last = Clamped16(expected + int64_t{step} * scale);
        scale = std::clamp((SCALES[code] * scale) >> 8, LEAST, MOST);
        return static_cast<int16_t>(last);
    }
};

}  // namespace

uint64_t ImaBlockFrames(uint64_t bytes, uint32_t channels) {
    if (channels == 0 || bytes < uint64_t{IMA_HEADER} * channels) return 0;
    return 1 +
           (bytes - uint64_t{IMA_HEADER} * channels) / (uint64_t{IMA_GROUP} * channels) * IMA_GROUP_FRAMES;
}
uint64_t MicrosoftBlockFrames(uint64_t bytes, uint32_t channels) {
    if (channels == 0 || bytes < uint64_t{MICROSOFT_HEADER} * channels) return 0;
    return 2 + (bytes - uint64_t{MICROSOFT_HEADER} * channels) * 2 / channels;
}
std::span<const AdpcmPair> StandardAdpcmPairs() { return PAIRS; }

bool DecodeImaBlock(std::span<const uint8_t> block, uint32_t channels, int16_t* samples) {
    const uint64_t frames = ImaBlockFrames(block.size(), channels);
    if (frames == 0) return true;
    bool isWhole = true;
    const uint8_t* groups = block.data() + size_t{IMA_HEADER} * channels;
    for (uint32_t c = 0; c < channels; c++) {
        const uint8_t* head = &block[size_t{IMA_HEADER} * c];
        isWhole = isWhole && head[2] <= LAST_STEP;
        ImaState state{WordAt(head), std::min<int32_t>(head[2], LAST_STEP)};
        int16_t* out = samples + c;
        *out = static_cast<int16_t>(state.sample);
        for (uint64_t group = 0; group < (frames - 1) / IMA_GROUP_FRAMES; group++) {
            const uint8_t* bytes = groups + (group * channels + c) * IMA_GROUP;
            for (uint32_t i = 0; i < IMA_GROUP; i++)
                for (const int shift : {0, 4})
                    *(out += channels) = NextOfBlock(state, bytes[i] >> shift & 15);
        }
    }
    return isWhole;
}

bool DecodeMicrosoftBlock(std::span<const uint8_t> block, uint32_t channels, std::span<const AdpcmPair> pairs,
                          int16_t* samples) {
    const uint64_t frames = MicrosoftBlockFrames(block.size(), channels);
    if (frames == 0 || channels > 2) return frames == 0;
    bool isWhole = true;
    MicrosoftState states[2];
    const uint8_t* numbers = block.data() + channels;
    for (uint32_t c = 0; c < channels; c++) {
        isWhole = isWhole && block[c] < pairs.size();
        states[c] = {pairs[std::min<size_t>(block[c], pairs.size() - 1)], WordAt(numbers + 2 * c),
                     WordAt(numbers + 2 * (channels + c)), WordAt(numbers + 2 * (2 * channels + c))};
        samples[c] = static_cast<int16_t>(states[c].before);
        samples[channels + c] = static_cast<int16_t>(states[c].last);
    }
    const uint8_t* codes = block.data() + size_t{MICROSOFT_HEADER} * channels;
    for (uint64_t i = 0; i < (frames - 2) * channels; i++)
        samples[2 * channels + i] = states[i % channels].Next(codes[i / 2] >> (i % 2 ? 0 : 4) & 15);
    return isWhole;
}

bool ImaPackets::Decode(const uint8_t* packets, int16_t* samples) {
    bool isWhole = true;
    const auto channels = static_cast<uint32_t>(m_states.size());
    for (uint32_t c = 0; c < channels; c++, packets += IMA_PACKET_BYTES) {
        constexpr int32_t LOW = 0x7F;
        const auto head = static_cast<int16_t>(packets[0] << 8 | packets[1]);
        const int32_t step = head & LOW, sample = head & ~LOW;
        isWhole = isWhole && step <= LAST_STEP;
        ImaState& state = m_states[c];
        if (state.step != step || std::abs(state.sample - sample) > LOW)
            state = {sample, std::min(step, LAST_STEP)};
        int16_t* out = samples + c;
        for (uint32_t i = 2; i < IMA_PACKET_BYTES; i++)
            for (const int shift : {0, 4}) {
                *out = NextOfPacket(state, packets[i] >> shift & 15);
                out += channels;
            }
    }
    return isWhole;
}

}  // namespace tarn
