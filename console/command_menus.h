// Menus of commands: of the ground beside the strips, of tool bars, of meters. They show how things stand
// when they open, and have no entry for what the host cannot have. [page-thread]
#pragma once

#include "console/command_state.h"
#include "platform/ui/menu.h"

/// Everything that is about the console as a whole.
Menu LayoutMenu(CConsoleControlPlugin& plugin);
/// Kinds of channels, and regions of strips.
Menu ShowChannelsMenu(CConsoleControlPlugin& plugin);
Menu ShowRegionsMenu(CConsoleControlPlugin& plugin);
/// Of a peak meter, a VU meter, a phase scope.
Menu PeakMeterMenu(CConsoleControlPlugin& plugin);
Menu VuMeterMenu(CConsoleControlPlugin& plugin);
Menu ScopeMenu(CConsoleControlPlugin& plugin);

/// Adds the menu as a submenu.
void AddMenu(Menu& menu, const char16_t* text, Menu submenu);
