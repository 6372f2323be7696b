// CConsoleControlMap: the console's map of strips. The console has no hardware of its own: its map knows the
// first eight channels and what functions do to them, has no function tables, and sends nothing.
#pragma once

#include "controlmap/control_map.h"

class CConsoleControlMap final : public CControlMap {
public:
    explicit CConsoleControlMap(ControlMapSite& site) : CControlMap(site, STRIPS, BANK_FILTER) {}

    static constexpr int32_t STRIPS = 8;
    static constexpr uint32_t BANK_FILTER = 63;

    void RefreshStrips(bool) override {}
};
