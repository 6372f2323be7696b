// What a fader does with mouse, wheel, keys, focus and its repeat timer.
#pragma once

#include "controls/fader.h"

/// Input messages; any other gives 0.
intptr_t FaderTrack(tQMFADER& fader, uint32_t message, uintptr_t wparam, intptr_t lparam);

/// Messages of the game controller.
intptr_t FaderControl(tQMFADER& fader, uint32_t message, uintptr_t wparam, intptr_t lparam);

/// Moves the thumbs to the values. Asks for a repaint only of thumbs whose pixel moved.
void FaderShowValues(tQMFADER& fader);
void FaderRepaint(const tQMFADER& fader);

/// The result of a scroll code on one value, within the range. A page of 0 is a tenth of
/// the range, a line of 0 one.
int32_t FaderScrolled(const tQMFADER& fader, int32_t value, uint32_t code, int32_t line, int32_t page,
                      bool control);
/// Moves the meant channels by a scroll code and shows them.
void FaderScroll(tQMFADER& fader, uint32_t code, int32_t line, int32_t page);

/// The thumb's look, by one of two, or the drawn one by none; `size` is the image's.
void FaderSetThumb(tQMFADER& fader, const ImageList* images, const QPixmap* bitmap, SIZE size);

/// Sets the meant channels to a value, as a user's change that is complete.
void FaderSetByUser(tQMFADER& fader, int32_t value);
/// Ends a drag, if there is one, as the release of the button does.
void FaderEndDrag(tQMFADER& fader);
