// The gallery: every control in every style, in one window, live.
#pragma once

#include "controls/control_window.h"
#include "kernel/ui/theme.h"
#include "platform/ui/image_list.h"
#include "tools/tarn-gallery/recording.h"

#include <QElapsedTimer>
#include <QWidget>

#include <memory>
#include <vector>

class QLabel;

struct GalleryChoices {
    Theme theme = Theme::Dark;
    uint32_t scale = 4;           ///< of the large scale meter
    int32_t displayRange = 1024;  ///< of the peak meters, 0 for all
    double from = 0;              ///< second of the recording to start at
};

class GalleryWindow final : public QWidget {
public:
    GalleryWindow(Recording recording, const QString& name, const GalleryChoices& choices);
    ~GalleryWindow() override;

protected:
    void timerEvent(QTimerEvent*) override;

private:
    QWidget* BuildBar();
    QWidget* BuildControls();
    QWidget* BuildSliders();
    QWidget* BuildPans();
    QWidget* BuildMeters();
    QWidget* BuildScales();
    QWidget* BuildScopes();
    QWidget* BuildParts();
    /// All anew, in the theme and with the choices of now.
    void Rebuild();
    void ApplyRange();
    void ApplyScale();

    ControlWindow* Make(const char16_t* type, uint32_t style, QSize size, const QString& name);
    void Say(ControlWindow& control);

    Recording m_recording;
    QString m_name;
    GalleryChoices m_choices;
    Walk m_walk;
    QElapsedTimer m_clock;
    std::vector<ControlWindow*> m_peakMeters, m_scaleMeters, m_scopes;
    ControlWindow* m_chosenScale = nullptr;
    std::unique_ptr<ImageList> m_thumbs, m_thumbPairs, m_thumbsAcross;
    QWidget* m_controls = nullptr;
    QLabel* m_status = nullptr;
};

/// The colours of now for everything that is no control.
QPalette ThemePalette();
