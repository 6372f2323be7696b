// The plain window of an effect: what its controls show and do, by mouse, keyboard and text.
#include "host/app/effect_editor.h"
#include "host/app/parameter_scale.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLocale>
#include <QSlider>
#include <QtTest/QTest>

namespace {
using namespace host;

const std::vector<EffectParameter> PARAMETERS{
    {.symbol = "freq",
     .name = "Frequency",
     .unit = "Hz",
     .minimum = 20,
     .maximum = 20000,
     .preset = 200,
     .logarithmic = true,
     .points = {{20000, "Open"}}},
    {.symbol = "on", .name = "On", .toggled = true},
    {.symbol = "shape",
     .name = "Shape",
     .maximum = 7,
     .listed = true,
     .points = {{0, "Sine"}, {2.5, "Saw"}, {7, "Noise"}}},
    {.symbol = "level", .name = "Level", .unit = "dB", .minimum = -60, .shown = true},
    {.symbol = "voices", .name = "Voices", .minimum = 1, .maximum = 8, .preset = 1, .integer = true}};

/// Keeps values, and has one preset that it takes and one that it refuses.
class PlainEffect final : public Effect {
public:
    PlainEffect() {
        for (const EffectParameter& p : PARAMETERS) values.push_back(p.preset);
    }
    const EffectInfo& Info() const override { return m_info; }
    std::span<const EffectParameter> Parameters() const override { return PARAMETERS; }
    float Value(size_t parameter) const override { return values[parameter]; }
    void SetValue(size_t parameter, float value) override { values[parameter] = value; }
    size_t Latency() const override { return 0; }
    void Process(const float* const*, float* const*, size_t, std::span<const EffectMidi>,
                 const EffectTime&) override {}
    void Reset() override {}
    std::string SaveState() const override { return std::to_string(values[4]); }
    void LoadState(std::string_view state) override { values[4] = std::stof(std::string(state)); }
    std::vector<std::string> Presets() const override { return {"Good", "Bad"}; }
    void LoadPreset(size_t index) override {
        if (index) throw EffectError("Plain refuses");
        values[4] = 5;
    }

    std::vector<float> values;

private:
    EffectInfo m_info{.name = "Plain"};
};

TEST(ParameterScale, ValuesArePlacesAndTexts) {
    struct Row {
        size_t parameter;
        float value;
        int position;
        const char *text, *typed;
    };
    for (const Row& r :
         {Row{0, 20, 0, "20", "20 Hz"}, Row{0, 200, 333, "200", " 200hz"},
          Row{0, 20000, 1000, "Open", "open"}, Row{0, 1234.567f, 597, "1234.6", "1234.567"},
          Row{4, 8, 7, "8", "8"}, Row{4, 1, 0, "1", "-3"}, Row{3, -12.5f, 779, "-12.5", "-12.5 dB"}}) {
        const ParameterScale scale(PARAMETERS[r.parameter]);
        EXPECT_EQ(scale.Position(r.value), r.position) << r.text;
        EXPECT_NEAR(scale.Value(r.position), r.value, std::abs(r.value) * 0.01 + 0.01) << r.text;
        EXPECT_EQ(scale.Text(r.value, QLocale::c()).toStdString(), r.text);
        EXPECT_EQ(scale.Parse(r.typed, QLocale::c()), r.value) << r.typed;
    }
    EXPECT_EQ(ParameterScale(PARAMETERS[0]).Parse("loud", QLocale::c()), std::nullopt);
    EXPECT_EQ(ParameterScale(PARAMETERS[0]).Parse("nan", QLocale::c()), std::nullopt);
    EXPECT_EQ(ParameterScale(PARAMETERS[0]).Parse("1234,5", QLocale(QLocale::German)), 1234.5f);
    EXPECT_EQ(ParameterScale(PARAMETERS[0]).Text(1234.5f, QLocale(QLocale::German)), "1234,5");
}

class EffectEditorTest : public testing::Test {
protected:
    EffectEditorTest() : editor(effect, Edits()) {
        editor.show();
        editor.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&editor));
        editor.Refresh();
    }
    EffectEdits Edits() {
        return {[this](size_t p) { log += "begin " + PARAMETERS[p].symbol + ' '; },
                [this](size_t p, float value) { effect.SetValue(p, value); },
                [this](size_t p) { log += "end " + PARAMETERS[p].symbol + ' '; },
                [this](size_t preset) { effect.LoadPreset(preset); }};
    }
    /// The control of that name, of that kind.
    template <class Widget>
    Widget& Find(const char* name) {
        for (Widget* widget : editor.findChildren<Widget*>())
            if (widget->accessibleName().startsWith(name)) return *widget;
        throw std::runtime_error(std::string("no control ") + name);
    }

    PlainEffect effect;
    std::string log;
    EffectEditor editor;
};

TEST_F(EffectEditorTest, EveryControlMovesItsParameterAsOneGesture) {
    auto& slider = Find<QSlider>("Frequency");
    QTest::keyClick(&slider, Qt::Key_PageUp);
    EXPECT_NEAR(effect.values[0], 400, 5);
    EXPECT_EQ(std::exchange(log, {}), "begin freq end freq ");
    auto& number = Find<QDoubleSpinBox>("Frequency");
    EXPECT_TRUE(number.text().endsWith(" Hz")) << number.text().toStdString();
    number.setFocus();
    number.selectAll();
    QTest::keyClicks(&number, "1234.567");
    effect.values[0] = 300;
    editor.Refresh();  // does not take the text away from under the user
    QTest::keyClick(&number, Qt::Key_Return);
    EXPECT_EQ(effect.values[0], 1234.567f);
    number.selectAll();
    QTest::keyClicks(&number, "loud");
    QTest::keyClick(&number, Qt::Key_Return);
    EXPECT_EQ(effect.values[0], 1234.567f);
    QTest::keyClick(&Find<QDoubleSpinBox>("Voices"), Qt::Key_Up);
    EXPECT_EQ(effect.values[4], 2);
    QTest::keyClick(&Find<QCheckBox>("On"), Qt::Key_Space);
    EXPECT_EQ(effect.values[1], 1);
    QTest::keyClick(&Find<QComboBox>("Shape"), Qt::Key_Down);
    EXPECT_EQ(effect.values[2], 2.5f);
    QTest::mouseDClick(&slider, Qt::LeftButton, {}, slider.rect().center());
    EXPECT_EQ(effect.values[0], 200);
}

TEST_F(EffectEditorTest, WhatMovesElsewhereIsFollowed) {
    effect.values = {20000, 1, 7, -3.25f, 4};
    editor.Refresh();
    EXPECT_EQ(log, "");
    EXPECT_EQ(Find<QSlider>("Frequency").value(), 1000);
    EXPECT_EQ(Find<QSlider>("Frequency").accessibleDescription(), "Open");
    EXPECT_TRUE(Find<QCheckBox>("On").isChecked());
    EXPECT_EQ(Find<QComboBox>("Shape").currentText(), "Noise");
    EXPECT_EQ(Find<QLabel>("Level -3.25 dB").text(), "-3.25 dB");
    EXPECT_EQ(Find<QDoubleSpinBox>("Voices").text(), "4");
}

TEST_F(EffectEditorTest, APresetIsTakenOrRefusedWithItsReason) {
    auto& presets = Find<QComboBox>("Preset");
    const auto choose = [&](int row) {
        presets.setCurrentIndex(row);
        presets.activated(row);
    };
    choose(1);
    EXPECT_EQ(effect.values[4], 5);
    EXPECT_EQ(Find<QDoubleSpinBox>("Voices").value(), 5);
    choose(2);
    EXPECT_EQ(effect.values[4], 5);
    const auto labels = editor.findChildren<QLabel*>();
    EXPECT_TRUE(std::ranges::any_of(
        labels, [](QLabel* l) { return l->isVisible() && l->text() == "Plain refuses"; }));
}

}  // namespace
