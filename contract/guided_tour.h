// What a host's guided tour asks a console's page for, to find out that the console is there.
#pragma once

#include "platform/com.h"

inline constexpr GUID IID_IMixConsoleUIForGuidedTour = tarn::Guid("{B0C2E0E0-0D32-44CC-A3E8-3D379D42D78B}");

/// The page answers its QueryInterface for it.
struct IMixConsoleUIForGuidedTour : IUnknown {
    virtual HRESULT Reserved() = 0;  ///< S_OK
};
