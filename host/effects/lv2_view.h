// An LV2 plug-in's own X11 interface. Its code runs in this process, and what crashes there can't be fenced
// off.
#pragma once

#include "host/effects/effect.h"
#include "host/effects/lv2_description.h"
#include "platform/byte_ring.h"
#include "platform/module.h"

#include <lv2/data-access/data-access.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>

#include <array>
#include <atomic>
#include <optional>

namespace host {

/// Messages between a plug-in and its interface: the port, four bytes of nothing, an atom. The audio thread
/// has one end of each ring, the windows' thread the other.
struct Lv2ViewLink {
    static constexpr size_t BYTES = size_t{1} << 16;
    static constexpr size_t HEAD = 2 * sizeof(uint32_t);

    Lv2ViewLink();

    tarn::ByteRing toEffect{BYTES}, toView{BYTES};
    std::atomic<bool> isOpen{false};
    std::vector<uint8_t> message, block;  ///< the audio thread's; never grow there
};

/// Where the code of an interface lies.
struct Lv2ViewCode {
    std::string uri, library, bundle;
};
/// Nothing when the plug-in has none for X11, or it needs what this host does not have. Under the world's
/// lock.
std::optional<Lv2ViewCode> FindX11View(Lv2World& world, const LilvPlugin* plugin);

/// What an interface gets to see of its plug-in; all of it stays longer.
struct Lv2ViewSubject {
    const Effect& effect;
    const Lv2Description& description;
    const LV2_Descriptor& descriptor;
    LV2_Handle instance;
    Lv2ViewLink& link;
    float sampleRate;
};

class Lv2View final : public EffectView {
public:
    /// Throws EffectError.
    Lv2View(const Lv2ViewCode& code, const Lv2ViewSubject& subject, uintptr_t parent, EffectEdits edits,
            std::function<void(int, int)> resize);
    ~Lv2View() override;
    bool Idle() override;
    uintptr_t Window() const override { return reinterpret_cast<uintptr_t>(m_widget); }

private:
    void Write(uint32_t port, uint32_t size, uint32_t protocol, const void* data);
    void Touch(uint32_t port, bool grabbed);
    void SendValues();
    size_t ParameterOf(uint32_t port) const;

    Lv2ViewSubject m_subject;
    EffectEdits m_edits;
    std::function<void(int, int)> m_resize;
    std::vector<float> m_sent;    ///< by port: what the interface knows; NaN before it was told
    std::vector<bool> m_grabbed;  ///< by port
    std::vector<uint8_t> m_message;
    float m_updateRate = 30;
    std::array<LV2_Options_Option, 3> m_options{};
    LV2UI_Resize m_resizeFeature{};
    LV2UI_Port_Map m_portMap{};
    LV2UI_Port_Subscribe m_subscribe{};
    LV2UI_Touch m_touch{};
    LV2_Extension_Data_Feature m_dataAccess{};
    const LV2UI_Descriptor* m_code = nullptr;
    LV2UI_Handle m_view = nullptr;
    LV2UI_Widget m_widget = nullptr;  ///< number of the X11 window
    const LV2UI_Idle_Interface* m_idle = nullptr;
};

}  // namespace host
