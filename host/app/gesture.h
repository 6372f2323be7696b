// What a script has a person do: gestures on a plug-in's page, done with mouse events on the control, found
// by channel and kind through the page's accessibility tree, and what the page has no control for yet.
#pragma once

#include "host/session/session.h"

#include <QString>

#include <map>

class QWidget;

namespace host {

struct Gesture {
    enum class Kind {
        Fader,
        Mute,
        Solo,
        Pan,
        Width,
        SendAdd,
        SendLevel,
        SendSwitch,
        InsertAdd,
        InsertSwitch,
        Arm,
        Monitor,
        Automation,
        Command,
        Import
    };

    QString channel{};  ///< see ChannelNamed; empty for commands and imports
    Kind kind = Kind::Fader;
    uint32_t index = 0;  ///< of a send or an insert, from 0
    double number = 0;   ///< Fader, SendLevel: decibels; Pan: -1..1; Width: 0..2; Command: its number
    bool on = false;     ///< Mute, Solo, Arm, Monitor
    QString word{};      ///< what is added or imported, or what a switch is put to

    /// Reads "NAME:fader=-6.0" and its like, as FORMS has them. On failure the reason is in *error.
    static bool Parse(const QString& text, Gesture* out, QString* error);
    static const char* const FORMS;
};

/// The channel of that name. Where several have it they are NAME#1, NAME#2, in the session's order, and the
/// bare name is none of them. kNoChannel, with the reason, where it means none.
ChannelId ChannelNamed(const Session& session, const QString& name, QString* error);

/// Whether the page has a control for it.
bool IsOnPage(Gesture::Kind kind);

/// Performs it on that channel's strip and handles the events that follow; false with a reason when the strip
/// or its control is not there, or the control did not come to the wanted value. [ui-thread]
bool Perform(QWidget& page, const Gesture& gesture, ChannelId channel, QString* error);

/// The values that the faders on the page show, in decibels. [ui-thread]
std::map<ChannelId, double> ShownFadersDb(QWidget& page);

}  // namespace host
