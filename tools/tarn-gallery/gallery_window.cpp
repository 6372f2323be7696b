#include "tools/tarn-gallery/gallery_window.h"

#include "controls/fader.h"
#include "controls/meter.h"
#include "controls/meter_scales.h"
#include "controls/pan.h"
#include "controls/pan_point.h"
#include "controls/scope.h"
#include "controls/trackbar.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/ui/skin_images.h"
#include "kernel/ui/ui_colors.h"
#include "tools/tarn-gallery/gallery_parts.h"

#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QStyleFactory>
#include <QVBoxLayout>

#include <array>
#include <cmath>

using namespace tarn;

namespace {
constexpr int kTick = 33;  // milliseconds
constexpr LONG kGain[] = {-720, 120};

QString Plain(const QMLANGSTRINGID& text) { return QString::fromUtf16(KernelText(text)).remove('&'); }

intptr_t Range(LONG min, LONG max) {
    return static_cast<intptr_t>(PackWords(static_cast<uint32_t>(min), static_cast<uint32_t>(max)));
}

// A control with its caption below.
QWidget* Captioned(QWidget* control, const QString& caption) {
    auto* box = new QWidget;
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(3);
    column->addWidget(control, 0, Qt::AlignHCenter);
    auto* label = new QLabel(caption);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    QFont font = label->font();
    font.setPixelSize(11);
    label->setFont(font);
    column->addWidget(label);
    column->addStretch();
    return box;
}

QGroupBox* Group(const QString& title, std::initializer_list<QWidget*> widgets, bool across = true) {
    auto* box = new QGroupBox(title);
    auto* row = new QBoxLayout(across ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom, box);
    row->setContentsMargins(10, 8, 10, 6);
    row->setSpacing(across ? 12 : 6);
    for (QWidget* w : widgets) row->addWidget(w);
    row->addStretch();
    return box;
}

QWidget* Stacked(std::initializer_list<QWidget*> widgets) {
    auto* box = new QWidget;
    auto* column = new QVBoxLayout(box);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    for (QWidget* w : widgets) column->addWidget(w);
    column->addStretch();
    return box;
}

void StartClasses() {
    static const bool once = (FaderInitialize(), TrackbarInitialize(), PanInitialize(), MeterInitialize(),
                              MeterExInitialize(), ScopeInitialize(), true);
    (void)once;
}
}  // namespace

QPalette ThemePalette() {
    struct Row {
        QPalette::ColorRole role;
        int32_t index;
    };
    constexpr Row kRows[] = {
        {QPalette::Window, COLOR_WINDOWFRAME},
        {QPalette::WindowText, COLOR_WINDOWTEXT},
        {QPalette::Base, COLOR_WINDOW},
        {QPalette::AlternateBase, COLOR_BTNFACE},
        {QPalette::Text, COLOR_WINDOWTEXT},
        {QPalette::Button, COLOR_BTNFACE},
        {QPalette::ButtonText, COLOR_BTNTEXT},
        {QPalette::BrightText, UICOLOR_STRONG},
        {QPalette::Highlight, COLOR_HIGHLIGHT},
        {QPalette::HighlightedText, COLOR_HIGHLIGHTTEXT},
        {QPalette::PlaceholderText, COLOR_GRAYTEXT},
    };
    QPalette palette;
    for (const Row& row : kRows) palette.setColor(row.role, ToColor(QmGetUIColor(row.index)));
    palette.setColor(QPalette::ToolTipBase, ToColor(QmGetUIColor(24)));
    palette.setColor(QPalette::ToolTipText, ToColor(QmGetUIColor(23)));
    // A disabled text has a shadow in this one.
    palette.setColor(QPalette::Disabled, QPalette::Light, ToColor(QmGetUIColor(COLOR_BTNFACE)));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, ToColor(QmGetUIColor(COLOR_GRAYTEXT)));
    return palette;
}

GalleryWindow::GalleryWindow(Recording recording, const QString& name, const GalleryChoices& choices)
    : m_recording(std::move(recording)), m_name(name), m_choices(choices), m_walk(m_recording, choices.from) {
    StartClasses();
    setWindowTitle(QStringLiteral("Tarn: gallery of controls"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 10, 12, 8);
    column->addWidget(BuildBar());
    m_status = new QLabel(QStringLiteral("Move a control: mouse, wheel, keys, Tab to the next one."));
    m_status->setAccessibleName(QStringLiteral("Last change"));
    column->addWidget(m_status);
    Rebuild();
    m_clock.start();
    startTimer(kTick, Qt::PreciseTimer);
}

GalleryWindow::~GalleryWindow() { delete m_controls; }

void GalleryWindow::Rebuild() {
    ApplyTheme(m_choices.theme);
    QApplication::setPalette(m_choices.theme == Theme::System ? QApplication::style()->standardPalette()
                                                              : ThemePalette());
    delete m_controls;
    QmSkin_RemoveImageListsItems();
    m_peakMeters.clear();
    m_scaleMeters.clear();
    m_scopes.clear();
    const auto list = [](std::string_view name, SIZE size) {
        return std::make_unique<ImageList>(std::span(&name, 1), size, ThumbTones());
    };
    m_thumbs = list("thumb_fader", {13, 19});
    m_thumbsAcross = list("thumb_fader_h", {19, 13});
    m_thumbPairs = list("thumb_fader_pair", {13, 19});
    m_controls = BuildControls();
    static_cast<QVBoxLayout*>(layout())->insertWidget(1, m_controls, 1);
    ApplyRange();
    ApplyScale();
    m_controls->show();
}

QWidget* GalleryWindow::BuildBar() {
    auto* bar = new QWidget;
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, 0, 0, 0);
    const auto choice = [&](const QString& title, const QStringList& items, int at, auto changed) {
        auto* label = new QLabel(title);
        auto* box = new QComboBox;
        box->addItems(items);
        box->setCurrentIndex(at);
        label->setBuddy(box);
        row->addWidget(label);
        row->addWidget(box);
        row->addSpacing(14);
        connect(box, &QComboBox::currentIndexChanged, this, changed);
    };
    choice(QStringLiteral("&Theme"),
           {QStringLiteral("Dark"), QStringLiteral("Light"), QStringLiteral("System")},
           static_cast<int>(m_choices.theme), [this](int i) {
               m_choices.theme = static_cast<Theme>(i);
               Rebuild();
           });
    QStringList scales;
    for (uint32_t i = 0; i < kMeterScaleCount; i++) scales << Plain(*MeterScaleOf(i).name);
    choice(QStringLiteral("&Scale"), scales, static_cast<int>(m_choices.scale), [this](int i) {
        m_choices.scale = static_cast<uint32_t>(i);
        ApplyScale();
    });
    constexpr std::array kRanges = {4, 16, 128, 1024, 8192, 0};
    const QStringList ranges{QStringLiteral("12 dB"), QStringLiteral("24 dB"), QStringLiteral("42 dB"),
                             QStringLiteral("60 dB"), QStringLiteral("78 dB"), QStringLiteral("90 dB")};
    const auto at = std::ranges::find(kRanges, m_choices.displayRange);
    choice(QStringLiteral("Peak &range"), ranges, static_cast<int>(at - kRanges.begin()),
           [this, kRanges](int i) {
               m_choices.displayRange = kRanges[static_cast<size_t>(i)];
               ApplyRange();
           });
    row->addStretch();
    row->addWidget(new QLabel(m_name));
    return bar;
}

ControlWindow* GalleryWindow::Make(const char16_t* type, uint32_t style, QSize size, const QString& name) {
    const RECT rect{0, 0, size.width(), size.height()};
    ControlWindow* control = QmCreateControl(type, style, &rect, nullptr, 1);
    control->setFixedSize(size);
    control->setAccessibleName(name);
    control->OnNotify = [this, control](uint32_t message, uintptr_t, intptr_t) -> intptr_t {
        if (message == WM_HSCROLL || message == WM_VSCROLL) Say(*control);
        return 0;
    };
    return control;
}

void GalleryWindow::Say(ControlWindow& control) {
    const ControlFace& face = control.Class().face;
    if (face.text)
        m_status->setText(control.accessibleName() + QStringLiteral(": ") +
                          QString::fromStdU16String(face.text(control.Record())));
}

QWidget* GalleryWindow::BuildControls() {
    auto* all = new QWidget;
    auto* rows = new QVBoxLayout(all);
    rows->setContentsMargins(0, 0, 0, 0);
    const auto line = [&](std::initializer_list<QWidget*> widgets) {
        auto* row = new QHBoxLayout;
        for (QWidget* w : widgets) row->addWidget(w, w == *(widgets.end() - 1));
        rows->addLayout(row);
    };
    line({BuildSliders(), BuildPans()});
    line({BuildMeters(), BuildScales()});
    line({BuildScopes(), BuildParts()});
    rows->addStretch();
    return all;
}

QWidget* GalleryWindow::BuildSliders() {
    constexpr uint32_t kGainStyle = FADERS_TAPER | FADERS_TICKS | FADERS_UI_COLORS | FADERS_SELF_KEYS;
    const auto fader = [&](uint32_t style, QSize size, const QString& name, const ImageList* images,
                           LONG left, LONG right) {
        ControlWindow* w = Make(u"GUICS_Fader_Class", style, size, name);
        if (style & FADERS_TAPER) QmSendControl(w, FADERM_SETRANGE, 0, Range(kGain[0], kGain[1]));
        QmSendControl(w, FADERM_SETFOCUSRECT, 0, 1);
        const LONG values[] = {left, right};
        QmSendControl(w, FADERM_SETVALUES, PackWords(0, 0), reinterpret_cast<intptr_t>(values));
        if (images) {
            const SIZE thumb = images->Size();
            QmSendControl(w, FADERM_SETTHUMBIMAGES, reinterpret_cast<uintptr_t>(images),
                          reinterpret_cast<intptr_t>(&thumb));
        }
        return Captioned(w, name);
    };
    constexpr uint32_t kUp = FADERS_VERTICAL | kGainStyle, kLabelled = kUp | FADERS_LABELS;
    auto* faders =
        Group(QStringLiteral("Fader"),
              {fader(kLabelled, {72, 236}, "Gain", m_thumbs.get(), -60, 0),
               fader(kUp | FADERS_STEREO | FADERS_LABELS, {80, 236}, "Stereo", m_thumbPairs.get(), 0, -120),
               fader(kLabelled | FADERS_SCALE, {66, 236}, "One side", nullptr, 30, 0),
               fader(kUp, {44, 236}, "Drawn", nullptr, -240, 0),
               fader(kUp | FADERS_STEREO, {44, 236}, "Drawn pair", nullptr, -30, -30),
               fader(FADERS_VERTICAL | FADERS_TICKS | FADERS_SELF_KEYS | FADERS_UI_COLORS, {44, 236},
                     "Linear", nullptr, 50, 0),
               fader(kLabelled | FADERS_DISABLED, {66, 236}, "Disabled", m_thumbs.get(), 0, 0)});
    const auto trackbar = [&](uint32_t style, QSize size, const QString& name, LONG value,
                              bool marked = false) {
        ControlWindow* w = Make(u"GUICS_Trackbar_Class", style | FADERS_SELF_KEYS, size, name);
        QmSendControl(w, FADERM_SETRANGE, 0, Range(-100, 100));
        QmSendControl(w, FADERM_SETFOCUSRECT, 0, 1);
        QmSendControl(w, TRACKBARM_SETPOS, 1, value);
        if (marked) QmSendControl(w, TRACKBARM_SETMARKED, 0, 1);
        return Captioned(w, name);
    };
    constexpr QSize kAcross(150, 24);
    auto* across =
        Group(QStringLiteral("Trackbar, fader across"),
              {trackbar(TRACKBARS_NO_BORDER, kAcross, "Trackbar", -30),
               trackbar(TRACKBARS_NO_BORDER | FADERS_TICKS, {150, 30}, "Ticks", 0),
               trackbar(0, kAcross, "Border", 60), trackbar(TRACKBARS_NO_BORDER, kAcross, "Marked", 20, true),
               fader(kGainStyle | FADERS_LABELS, {190, 50}, "Gain across", m_thumbsAcross.get(), 0, 0)},
              false);
    auto* both = new QWidget;
    auto* row = new QHBoxLayout(both);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(faders);
    row->addWidget(across);
    return both;
}

QWidget* GalleryWindow::BuildPans() {
    const auto pan = [&](uint32_t style, PANSTATE state, const QString& name) {
        ControlWindow* w = Make(u"GUICS_Pan_Class", style, {190, 190}, name);
        QmSendControl(w, PANM_SETSTATE, 1, reinterpret_cast<intptr_t>(&state));
        return Captioned(w, name);
    };
    constexpr uint32_t kFive = 1 | 2 | 4 | 64 | 16;
    return Group(
        QStringLiteral("Surround pan"),
        {pan(PANS_SPEAKER_KEYS, {-0.3, 0.5, 0, 0, 0, kFive, 0}, "Square, 5 speakers"),
         pan(PANS_CIRCULAR | PANS_SPEAKER_KEYS, {0.4, 0.2, 0, 0, 1 | 64, kFive | 32, 0}, "Round, two muted"),
         pan(PANS_GRID, {0.6, -0.4, 0, 0, 0, 0, 1}, "Grid, y locked")});
}

QWidget* GalleryWindow::BuildMeters() {
    constexpr uint32_t kUsual = METERS_UI_COLORS | METERS_HOLD_HIGH | METERS_OWN_MENU | METERS_CLIP_CLICK;
    constexpr uint32_t kUp = METERS_VERTICAL | METERS_CLIP_SHOWN | kUsual;
    const auto meter = [&](uint32_t style, QSize size, const QString& name, uint32_t channels) {
        ControlWindow* w = Make(u"GUICS_Meter_Class", style, size, name);
        QmSendControl(w, METERM_SETRANGE, PackWords(0, 1), 32768);
        QmSendControl(w, METERM_SETCHANNELS, 0, channels);
        m_peakMeters.push_back(w);
        return Captioned(w, name);
    };
    auto* names = meter(kUp | METERS_LABELS, {160, 200}, "Six channels", 6);
    static constexpr const char16_t* kNames[] = {u"L", u"R", u"C", u"LFE", u"Ls", u"Rs"};
    QmSendControl(m_peakMeters.back(), METERM_SETNAMES, PackWords(0, 6), reinterpret_cast<intptr_t>(kNames));
    return Group(
        QStringLiteral("Peak meter"),
        {meter(kUp | METERS_LABELS | METERS_STRIP_EACH, {84, 200}, "Stereo", 2),
         meter(kUp, {36, 200}, "Mono", 1), meter(kUp | METERS_HOLD_LOW, {36, 200}, "Valleys", 2),
         meter(kUp | METERS_LINEAR, {36, 200}, "Linear", 2), names,
         Stacked({meter(kUsual | METERS_CLIP_SHOWN | METERS_LABELS, {260, 54}, "Across", 2),
                  meter(kUsual | METERS_CLIP_SHOWN | METERS_STRIP_EACH, {260, 40}, "Two readouts", 2),
                  meter(kUsual, {260, 12}, "Slim", 1)})});
}

QWidget* GalleryWindow::BuildScales() {
    constexpr uint32_t kUp = METERS_VERTICAL | METERS_UI_COLORS | METERS_HOLD_HIGH | METERS_LABELS;
    const auto meter = [&](const QString& name, QSize size, uint32_t scale, uint32_t style) {
        ControlWindow* w = Make(u"GUICS_MeterEx_Class", style, size, name);
        QmSendControl(w, METEREXM_SETCHANNELS, 0, 2);
        w->setProperty("scale", scale);
        MeterExInst_SetScale(static_cast<tQMMETEREX*>(w->Record()), &MeterScaleOf(scale));
        m_scaleMeters.push_back(w);
        return Captioned(w, name);
    };
    auto* group = Group(QStringLiteral("VU and PPM"), {});
    auto* row = static_cast<QBoxLayout*>(group->layout());
    for (uint32_t i = 0; i < kMeterScaleCount; i++)
        row->insertWidget(static_cast<int>(i), meter(Plain(*MeterScaleOf(i).name), {58, 200}, i, kUp));
    row->insertWidget(static_cast<int>(kMeterScaleCount),
                      meter(QStringLiteral("Chosen scale"), {92, 200}, m_choices.scale,
                            kUp | METERS_CLIP_SHOWN | METERS_CLIP_CLICK | METERS_STRIP_EACH));
    m_chosenScale = m_scaleMeters.back();
    return group;
}

QWidget* GalleryWindow::BuildScopes() {
    const auto scope = [&](uint32_t style, const QMLANGSTRINGID& name) {
        ControlWindow* w = Make(u"GUICS_Scope_Class", style, {160, 160}, Plain(name));
        QmScope_SetFade(w, 0.35f);
        m_scopes.push_back(w);
        return Captioned(w, Plain(name));
    };
    return Group(QStringLiteral("Phase scope"),
                 {scope(SCOPES_XY, KS_Scope_XY), scope(SCOPES_ROTATED, KS_Scope_Rotated),
                  scope(SCOPES_POLAR_LINEAR, KS_Scope_Linear),
                  scope(SCOPES_POLAR_CIRCULAR, KS_Scope_Circular)});
}

QWidget* GalleryWindow::BuildParts() {
    return Group(QStringLiteral("Parts"), {Captioned(new PartsView, QStringLiteral("Click for a menu"))});
}

void GalleryWindow::ApplyRange() {
    // The upper end of a linear scale alone says nothing.
    for (ControlWindow* meter : m_peakMeters)
        if (!(QmSendControl(meter, METERM_GETSTYLE, 0, 0) & METERS_LINEAR))
            QmSendControl(meter, METERM_SETDISPLAYRANGE, 1, m_choices.displayRange);
}

void GalleryWindow::ApplyScale() {
    m_chosenScale->setProperty("scale", m_choices.scale);
    MeterExInst_SetScale(static_cast<tQMMETEREX*>(m_chosenScale->Record()), &MeterScaleOf(m_choices.scale));
}

void GalleryWindow::timerEvent(QTimerEvent*) {
    const float* frames = nullptr;
    size_t count = 0;
    const auto passed = static_cast<unsigned>(std::min<qint64>(m_clock.restart(), 200));
    const Levels levels = m_walk.Advance(passed, &frames, &count);
    for (ControlWindow* meter : m_peakMeters) {
        std::array<float, 6> peaks;
        for (size_t i = 0; i < peaks.size(); i++)
            peaks[i] = levels.peak[i % 2] * static_cast<float>(std::pow(0.8, i / 2));
        QmSendControl(meter, METERM_SETLEVELS, PackWords(0, 6), reinterpret_cast<intptr_t>(peaks.data()));
        meter->Refresh();
    }
    for (ControlWindow* meter : m_scaleMeters) {
        const uint32_t scale = meter->property("scale").toUInt();
        const float* amplitude = scale < 3 ? levels.average : levels.peak;
        const float shown[] = {MeterScaleLevel(MeterScaleOf(scale), amplitude[0]),
                               MeterScaleLevel(MeterScaleOf(scale), amplitude[1])};
        QmSendControl(meter, METEREXM_SETLEVELS, PackWords(0, 2), reinterpret_cast<intptr_t>(shown));
        meter->Refresh();
    }
    // The right side first, so that the left one lies at the left.
    const SCOPESAMPLES samples{frames, static_cast<int32_t>(count), 1, 0, 2};
    for (ControlWindow* scope : m_scopes) QmScope_SetPos(scope, &samples);
}
