// Effects, instruments and sends of a channel, and parameters of effects, as the contract's records.
//
// A channel's parts are counted from its chain on: the effects in their order, the instrument, the sends. A
// parameter's id is its index and 1; a row of level 3 carries it in the upper half of `sub`.
#pragma once

#include "host/contract/project_core.h"

namespace host {

/// The part or parameter behind `ref`, which is moved on to it.
HRESULT NextPart(const ProjectCore& core, MPCHANNELREF& ref, uint32_t level, MPCHANNELREC* rec,
                 uint32_t& more);
HRESULT GetPart(const ProjectCore& core, const MPCHANNELID& id, uint32_t level, MPCHANNELREC& rec,
                uint32_t mask);
HRESULT SetPart(ProjectCore& core, const MPCHANNELID& id, uint32_t level, const MPCHANNELREC& rec,
                uint32_t mask);
/// An effect by its class at the record's order, or a send where the record has a target.
HRESULT InsertPart(ProjectCore& core, MPCHANNELID& id, const MPCHANNELREC& rec);

uint32_t SendSwitches(const Send& send);
void SetSendSwitches(Send& send, uint32_t word);

}  // namespace host
