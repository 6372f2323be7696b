// The meters of a strip: beside its faders, and those of the peak, VU and scope regions. They ask the host
// for levels and draw what changed. All on the page's thread.
#pragma once

#include "console/channel_entry.h"
#include "console/host_look.h"
#include "console/strip_layout.h"
#include "controls/meter_ex.h"
#include "controls/scope.h"

#include <memory>
#include <vector>

class CConsoleControlPlugin;
class QPainter;
class WindowPainter;
struct ControlHost;

inline constexpr double METER_SILENCE_DB = -144.0;

class StripMeters {
public:
    StripMeters(CConsoleControlPlugin& plugin, ControlHost& window, const HostLook& look, ChannelEntry& entry)
        : m_plugin(plugin), m_window(window), m_look(look), m_entry(entry) {}
    ~StripMeters();
    StripMeters(const StripMeters&) = delete;
    StripMeters& operator=(const StripMeters&) = delete;

    /// Makes those that the strip has room for, and puts them in their places.
    void Layout(const StripRects& rects, const StripView& view);
    /// They keep their sizes and their looks.
    void Move(const StripRects& rects);
    /// Drops all; Layout makes them anew, in new colours.
    void Drop();
    void LeaveView() { m_painted = false; }

    /// Reads the levels and draws what changed, where it has been painted before.
    void Tick(WindowPainter& painter);
    void Draw(QPainter& painter, uint32_t element);
    intptr_t Message(uint32_t element, uint32_t message, uintptr_t wparam, intptr_t lparam);
    void ResetPeaks();
    /// The loudest speaker of a meter as last read, METER_SILENCE_DB at least.
    double LoudestDb(uint32_t element) const;

private:
    /// Bars that are fed alike. A level is asked for by the speaker that it stands at.
    struct Group {
        std::vector<uint32_t> speakers;
        std::vector<float> levels;
    };
    struct PeakMeter {
        tQMMETER meter{};
        size_t group = 0;
        explicit PeakMeter(size_t fed) : group(fed) {}
    };
    void MakeGroups(bool fourFaders);
    std::unique_ptr<PeakMeter> MakePeak(size_t group, const StripView& view) const;
    bool ReadGroup(Group& group, uint32_t selector);
    void TickVu(WindowPainter& painter);
    void TickScope();
    int ChannelsOf(const Group& group) const { return static_cast<int>(group.speakers.size()); }
    PeakMeter* Beside(int group) const { return m_beside[static_cast<size_t>(group)].get(); }

    CConsoleControlPlugin& m_plugin;
    ControlHost& m_window;
    const HostLook& m_look;
    ChannelEntry& m_entry;
    std::vector<Group> m_groups;  ///< those of the faders, then all speakers
    std::unique_ptr<PeakMeter> m_beside[SPEAKER_GROUPS];
    std::unique_ptr<PeakMeter> m_peak;
    std::unique_ptr<tQMMETEREX> m_vu;
    std::unique_ptr<tQMSCOPE> m_scope;
    Group m_vuGroup;
    uint32_t m_vuScale = 0;
    bool m_painted = false;
    bool m_silent = false;  ///< the host has no levels of this channel
};
