// The surface's texts by number, and what an event is called.
#pragma once

#include "controlmap/function_map.h"
#include "surface/text_ids.h"

#include <string>

/// Lives until the language changes. [page-thread]
const char16_t* SurfaceText(SurfaceTextId id);

/// An event with its value: "Controller 7, channel 1: 100". [page-thread]
std::u16string EventText(const MPEVENTREC& event);
/// The control that sends an event, short: "CC 7". [page-thread]
std::u16string ControlText(const MPEVENTREC& event);
/// A strip by its index: "Strip 1", "Master". [page-thread]
std::u16string StripText(int32_t channel);
