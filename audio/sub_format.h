// The extensible record's own part. [any-thread]
#pragma once

#include "audio/wave_format.h"

/// The lowest bit of each channel.
uint32_t DefaultChannelMask(uint32_t channels);

/// The record as an extensible one; null when it says that it is none or too short.
const WAVEFORMATEXTENSIBLE* AsExtensible(const WAVEFORMATEX* wfx);

/// The tag that a sub-format stands for, 0 for none: {0000TTTT-0000-0010-8000-00AA00389B71}.
uint32_t TagOfSubFormat(const uint8_t (&subFormat)[16]);

/// Makes the record extensible and fills what that adds.
void InitExtensible(WAVEFORMATEXTENSIBLE* ext, uint32_t tag, uint32_t bits, uint32_t mask);
