// Images that the host has for parts of the console.
#pragma once

#include "platform/ui/image_list.h"

class CConsoleControlPlugin;

/// The host's images for a role (IMAGEROLE_), copied; `own` where it has none or none that can be used.
/// [page-thread]
ImageList HostImages(CConsoleControlPlugin& plugin, uint32_t role, ImageList own);
