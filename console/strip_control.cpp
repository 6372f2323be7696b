#include "console/strip_control.h"

#include "console/gain.h"
#include "console/strip.h"
#include "console/texts.h"
#include "controls/fader.h"
#include "controls/number_text.h"
#include "controls/pan_point.h"
#include "controls/trackbar.h"
#include "platform/ui/image_list.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr uint32_t FADER_STYLE =
    FADERS_VERTICAL | FADERS_NO_FOCUS | FADERS_TAPER | FADERS_UI_COLORS | FADERS_SELF_KEYS;
static_assert(FADER_STYLE == 0x2889);
constexpr uint32_t SLIDER_STYLE = TRACKBARS_USUAL | FADERS_SELF_KEYS;
constexpr uint32_t PAD_STYLE = PANS_NO_JUMP | PANS_NO_FOCUS | PANS_MARKER | 1;
static_assert(PAD_STYLE == 4109);

/// A left and a right number are as far from the middle as they say; the middle is "C".
std::u16string SideText(int32_t position, int32_t most) {
    if (position == 0) return ConsoleText(IDS_PAN_CENTRE);
    const double percent = std::abs(position) * 100.0 / most;
    return (position < 0 ? ConsoleText(IDS_PAN_LEFT) : ConsoleText(IDS_PAN_RIGHT)) +
           NumberText(percent, u"$.0f");
}

class Fader final : public StripControl {
public:
    Fader(const StripControlPlace& place, const StripParameter& parameter, bool ticks)
        : StripControl(place.strip, place.site, place.element, {&parameter, 1}) {
        const bool midi = parameter.scale == StripParameter::Scale::Midi;
        uint32_t style = FADER_STYLE | (ticks ? FADERS_TICKS : 0);
        if (midi) style &= ~(FADERS_TICKS | FADERS_TAPER);
        if (parameter.linked) style |= FADERS_STEREO | FADERS_TAPER;
        FaderInst_Init(&m_fader, style, &m_area, &place.window, place.id, OnScroll,
                       reinterpret_cast<uintptr_t>(this), 1.0f);
        FADERSETUP setup{};
        setup.min = parameter.Least();
        setup.max = parameter.Most();
        setup.def = parameter.Default();
        FaderInst_Message(&m_fader, FADERM_SETUP, 0, reinterpret_cast<intptr_t>(&setup));
    }
    ~Fader() override { FaderInst_Deinit(&m_fader); }

    intptr_t Message(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        return FaderInst_Message(&m_fader, message, wparam, lparam);
    }
    void Draw(QPainter& painter) override { FaderInst_Draw(&m_fader, &painter); }
    void Move(const RECT& rect) override {
        m_area = rect;
        FaderInst_Move(&m_fader, &rect);
    }
    bool IsHeld() const override { return m_fader.dragPart != FADER_NOWHERE; }
    RECT ThumbArea() const override { return m_area.IsEmpty() ? RECT{} : m_fader.thumbs[0].rect; }
    StripPositions Positions() const override {
        return {m_fader.pos[0], m_fader.channels == 2 ? m_fader.pos[1] : m_fader.pos[0]};
    }
    void Show(const StripPositions& positions) override {
        for (uint32_t part = 0; part < m_fader.channels; part++)
            if (m_fader.pos[part] != positions[part])
                FaderInst_Message(&m_fader, FADERM_SETVALUES, PackWords(1, part + 1), positions[part]);
    }
    void SetLabels(bool on) override {
        FaderInst_Message(&m_fader, FADERM_CHANGESTYLE, FADERS_LABELS, on && (m_fader.style & FADERS_TICKS));
    }
    void SetLinked(bool on) override { FaderInst_Message(&m_fader, FADERM_SETGANG, 0, on); }
    void SetThumbs(const ImageList& images) override {
        const SIZE size = images.Size();
        FaderInst_SetThumbImageList(&m_fader, &images, &size);
    }

private:
    static void OnScroll(tQMFADER*, uint32_t, uintptr_t userData, uint32_t code, const int32_t*, uint32_t) {
        reinterpret_cast<Fader*>(userData)->Tell(code);
    }

    tQMFADER m_fader;
};

class Slider final : public StripControl {
public:
    Slider(const StripControlPlace& place, const StripParameter& parameter)
        : StripControl(place.strip, place.site, place.element, {&parameter, 1}) {
        TrackbarInst_Init(&m_slider, SLIDER_STYLE | FADERS_UI_COLORS, &m_area, &place.window, place.id,
                          OnScroll, reinterpret_cast<uintptr_t>(this), 1.0f);
        FADERSETUP setup{};
        setup.min = parameter.Least();
        setup.max = parameter.Most();
        setup.def = parameter.Default();
        setup.line = 1;
        TrackbarInst_Message(&m_slider, FADERM_SETUP, 0, reinterpret_cast<intptr_t>(&setup));
    }
    ~Slider() override { TrackbarInst_Deinit(&m_slider); }

    intptr_t Message(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        return TrackbarInst_Message(&m_slider, message, wparam, lparam);
    }
    void Draw(QPainter& painter) override { TrackbarInst_Draw(&m_slider, &painter); }
    void Move(const RECT& rect) override {
        m_area = rect;
        TrackbarInst_Move(&m_slider, &rect);
    }
    bool IsHeld() const override { return m_slider.slider.dragPart != FADER_NOWHERE; }
    RECT ThumbArea() const override {
        RECT rect{};
        if (!m_area.IsEmpty()) TrackbarInst_GetThumbRect(&m_slider, &rect);
        return rect;
    }
    StripPositions Positions() const override { return {m_slider.slider.pos[0], m_slider.slider.pos[0]}; }
    void Show(const StripPositions& positions) override {
        if (m_slider.slider.pos[0] == positions[0]) return;
        TrackbarInst_Message(&m_slider, TRACKBARM_SETPOS, 0, positions[0]);
    }
    void SetThumbs(const ImageList& images) override {
        const SIZE size = images.Size();
        TrackbarInst_SetThumbImageList(&m_slider, &images, &size);
    }

private:
    static void OnScroll(tQMTRACKBAR*, uint32_t, uintptr_t userData, uint32_t code, int32_t) {
        reinterpret_cast<Slider*>(userData)->Tell(code);
    }

    tQMTRACKBAR m_slider;
};

class Pad final : public StripControl {
public:
    Pad(const StripControlPlace& place, std::span<const StripParameter> parameters, uint32_t speakers)
        : StripControl(place.strip, place.site, place.element, parameters) {
        PanInst_Init(&m_pan, PAD_STYLE, &m_area, &place.window, place.id, OnPan,
                     reinterpret_cast<uintptr_t>(this));
        PanInst_Message(&m_pan, PANM_SETCHANNELS, 0, static_cast<intptr_t>(speakers));
    }
    ~Pad() override { PanInst_Deinit(&m_pan); }

    intptr_t Message(uint32_t message, uintptr_t wparam, intptr_t lparam) override {
        return PanInst_Message(&m_pan, message, wparam, lparam);
    }
    void Draw(QPainter& painter) override { PanInst_Draw(&m_pan, &painter); }
    void Move(const RECT& rect) override {
        m_area = rect;
        PanInst_Move(&m_pan, &rect);
    }
    bool IsHeld() const override { return m_pan.state & PANST_DRAGGING; }
    RECT ThumbArea() const override { return m_area.IsEmpty() ? RECT{} : PanPuckRect(m_pan); }
    StripPositions Positions() const override {
        return {Parameters()[0].Position(static_cast<float>(m_pan.at.x)),
                Parameters()[1].Position(static_cast<float>(m_pan.at.y))};
    }
    void Show(const StripPositions& positions) override {
        if (Positions() == positions) return;
        PANSTATE state{};
        PanInst_Message(&m_pan, PANM_GETSTATE, 0, reinterpret_cast<intptr_t>(&state));
        state.x = static_cast<double>(Parameters()[0].Value(positions[0]));
        state.y = static_cast<double>(Parameters()[1].Value(positions[1]));
        PanInst_Message(&m_pan, PANM_SETSTATE, 1, reinterpret_cast<intptr_t>(&state));
    }

private:
    static void OnPan(tQMPAN*, uint32_t, uintptr_t userData, uint32_t code, const double*, uint32_t,
                      uintptr_t) {
        reinterpret_cast<Pad*>(userData)->Tell(code);
    }

    tQMPAN m_pan{};
};

}  // namespace

StripControl::StripControl(Strip& strip, StripControlSite& site, uint32_t element,
                           std::span<const StripParameter> parameters)
    : m_strip(strip), m_site(site), m_element(element),
      m_parameterCount(std::min(parameters.size(), std::size(m_parameters))) {
    std::copy_n(parameters.begin(), m_parameterCount, m_parameters);
}

/// The codes of all three sorts of controls agree.
void StripControl::Tell(uint32_t code) {
    static_assert(FADER_TRACK == PAN_TRACK && FADER_END == PAN_END && FADER_START == PAN_START);
    const HandCode hand = code == FADER_END     ? HandCode::End
                          : code == FADER_START ? HandCode::Begin
                          : code == FADER_TRACK ? HandCode::Drag
                                                : HandCode::Change;
    m_site.OnHand(*this, hand, Positions());
}

std::u16string StripControl::ValueText(size_t part) const {
    const int32_t position = Positions()[part];
    switch (Parameter().scale) {
    case StripParameter::Scale::Gain:
        return position <= POSITION_MIN ? ConsoleText(IDS_SILENCE) : NumberText(position / 10.0);
    case StripParameter::Scale::Pan: return SideText(position, Parameter().Most());
    case StripParameter::Scale::MidiPan:
        return SideText(position - Parameter().Default(), Parameter().Default());
    case StripParameter::Scale::Place:
        return PanText({static_cast<double>(Parameters()[0].Value(Positions()[0])),
                        static_cast<double>(Parameters()[1].Value(Positions()[1]))});
    case StripParameter::Scale::Midi: break;
    }
    return NumberText(position, u"$.0f");
}

std::unique_ptr<StripControl> MakeFader(const StripControlPlace& place, const StripParameter& parameter,
                                        bool ticks) {
    return std::make_unique<Fader>(place, parameter, ticks);
}
std::unique_ptr<StripControl> MakeSlider(const StripControlPlace& place, const StripParameter& parameter) {
    return std::make_unique<Slider>(place, parameter);
}
std::unique_ptr<StripControl> MakePad(const StripControlPlace& place,
                                      std::span<const StripParameter> parameters, uint32_t speakers) {
    return std::make_unique<Pad>(place, parameters, speakers);
}
