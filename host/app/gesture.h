// Gestures on a plug-in's page, done as a person would: with mouse events on the control, found by its name
// through the page's accessibility tree. The host knows nothing else of how a page looks.
#pragma once

#include <QString>

class QWidget;

namespace host {

struct Gesture {
    enum class Kind { Fader, Mute, Solo };

    QString channel;
    Kind kind = Kind::Fader;
    double decibels = 0;  ///< Fader
    bool on = false;      ///< Mute, Solo

    /// Reads "NAME:fader=-6.0", "NAME:mute=on", "NAME:solo=off". On failure the reason is in *error.
    static bool Parse(const QString& text, Gesture* out, QString* error);
};

/// Performs it on the page and handles the events that follow; false with a reason when the channel or its
/// control is not there, or the control did not come to the wanted value. [ui-thread]
bool Perform(QWidget& page, const Gesture& gesture, QString* error);

/// The value that a channel's fader shows, in decibels; NaN when there is none. [ui-thread]
double ShownFaderDb(QWidget& page, const QString& channel);

}  // namespace host
