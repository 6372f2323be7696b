// The values of a channel that have a field in the contract's records, and the settings of the document that
// they are.
#pragma once

#include "contract/host_contract.h"
#include "host/session/automation.h"
#include "host/session/session.h"

#include <vector>

namespace host {

/// One value that a record carries for a mask.
struct ChannelValue {
    AutomationKey key{};
    float MPCHANNELREC::*field;
    bool isGain;        ///< decibels in the document, a factor in the record
    double offset = 0;  ///< what the document has more than the record
};

/// What the masks ask of a channel, given the record's inputs (pair selector); `sub` is the send that
/// MASK_SEND means, or with level 2 everything. Empty where the channel lacks one of them: there is no such
/// object then.
std::optional<std::vector<ChannelValue>> ValuesOf(const Session& session, const Channel& channel, SubId send,
                                                  uint32_t level, const MPCHANNELREC& rec, uint32_t mask);

/// The record's number for the document's, and back. FromRecord gives nothing for what is no number.
float ToRecord(const ChannelValue& value, double setting);
std::optional<double> FromRecord(const ChannelValue& value, float number);

/// The masks that hold values.
inline constexpr uint32_t MASK_VALUES = MASK_VOLUME | MASK_PAN | MASK_SEND | MASK_INSERT | MASK_AUX;

}  // namespace host
