// The console's image lists and colours, made when the page is and remade when the look changes.
#pragma once

#include "console/host_look.h"
#include "platform/ui/image_list.h"

#include <cstdint>

class ConsoleImages {
public:
    /// The host is asked first.
    explicit ConsoleImages(CConsoleControlPlugin& plugin);

    /// Row of a channel kind in the kind icons, -1 for a kind without an icon.
    static int32_t KindIcon(uint32_t kind);

    ImageList kinds;
    ImageList thumbs, pairThumbs;            ///< of faders for one channel, and for two
    ImageList smallThumbs, smallPairThumbs;  ///< in narrow strips
    ImageList panThumbs, sendThumbs;
    ImageList commands;  ///< see command_images.h
    COLORREF background;
    COLORREF selection;
    HostLook look;
};
