// What stands on the surface's page, as widgets on the plug-in.
#pragma once

#include "surface/surface_plugin.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QPushButton;
class QTableWidget;

class SurfaceForm final : public QWidget {
public:
    SurfaceForm(tarn::ComPtr<CSurfacePlugin> plugin, QWidget* parent);
    ~SurfaceForm() override;

    /// Shows what has changed in the plug-in; by a timer, since events come on other threads.
    void Refresh();

protected:
    bool focusNextPrevChild(bool next) override;
    void keyPressEvent(QKeyEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QComboBox* MakePorts(uint32_t isOutput);
    void MakeTable();
    void RefreshPorts();
    void RefreshMaps();
    void RefreshTable();
    void RefreshLines();
    void ToggleLearning();
    void Forget();
    void Undo();
    void DeleteMap();
    LearnTarget Target(int row, int column) const;
    std::u16string FunctionText(const LearnTarget& target) const;
    std::u16string PlaceText(const LearnTarget& target) const;

    tarn::ComPtr<CSurfacePlugin> m_plugin;
    QComboBox* m_ports[2];
    QComboBox* m_maps;
    QComboBox* m_knob;
    QTableWidget* m_table;
    std::vector<CatalogCommand> m_commands;  ///< below our own functions
    QPushButton* m_learn;
    QPushButton* m_forget;
    QPushButton* m_undo;
    QPushButton* m_delete;
    QLabel* m_last;
    QLabel* m_hint;
    QLabel* m_problem;
    std::vector<uint64_t> m_shownPorts[2];
    std::vector<std::u16string> m_shownMaps;
    int32_t m_shownMap = -2;
    uint64_t m_shownEvents = UINT64_MAX;
    bool m_shownLearning = false;
};
