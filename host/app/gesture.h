// Gestures on a plug-in's page, done as a person would: with mouse events on the control, found by channel
// and kind through the page's accessibility tree. The host knows nothing else of how a page looks.
#pragma once

#include "host/session/session.h"

#include <QString>

#include <map>

class QWidget;

namespace host {

struct Gesture {
    enum class Kind { Fader, Mute, Solo };

    QString channel;  ///< see ChannelNamed
    Kind kind = Kind::Fader;
    double decibels = 0;  ///< Fader
    bool on = false;      ///< Mute, Solo

    /// Reads "NAME:fader=-6.0", "NAME:mute=on", "NAME:solo=off". On failure the reason is in *error.
    static bool Parse(const QString& text, Gesture* out, QString* error);
};

/// The channel of that name. Where several have it they are NAME#1, NAME#2, in the session's order, and the
/// bare name is none of them. kNoChannel, with the reason, where it means none.
ChannelId ChannelNamed(const Session& session, const QString& name, QString* error);

/// Performs it on that channel's strip and handles the events that follow; false with a reason when the strip
/// or its control is not there, or the control did not come to the wanted value. [ui-thread]
bool Perform(QWidget& page, const Gesture& gesture, ChannelId channel, QString* error);

/// The values that the faders on the page show, in decibels. [ui-thread]
std::map<ChannelId, double> ShownFadersDb(QWidget& page);

}  // namespace host
