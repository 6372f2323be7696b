// Painting of meters: what changed must look as if all had been painted.
#include "controls/meter.h"
#include "controls/meter_bitmaps.h"
#include "controls/meter_layout.h"
#include "controls/meter_scales.h"
#include "fake_window.h"
#include "kernel/ui/theme.h"
#include "platform/ui/paint.h"

#include <gtest/gtest.h>

#include <QImage>

#include <cmath>
#include <random>

namespace {
constexpr uint32_t kHolds = METERS_HOLD_HIGH | METERS_HOLD_LOW;

struct Look {
    uint32_t style, channels;
    RECT rect;
    double scale;
    int32_t displayRange;
};
const Look kLooks[] = {
    {METERS_VERTICAL | kHolds, 2, {3, 5, 17, 205}, 1.0, 0},
    {METERS_VERTICAL | METERS_HOLD_HIGH, 2, {3, 5, 17, 206}, 1.25, 0},
    {METERS_VERTICAL | METERS_HOLD_LOW, 1, {0, 0, 9, 100}, 1.5, 128},
    {METERS_VERTICAL | kHolds | METERS_CLIP_SHOWN | METERS_STRIP_EACH, 6, {3, 5, 93, 205}, 2.0, 0},
    {METERS_VERTICAL | kHolds | METERS_CLIP_SHOWN | METERS_LABELS, 2, {3, 5, 93, 205}, 1.25, 1024},
    {kHolds | METERS_CLIP_SHOWN, 2, {3, 5, 203, 45}, 1.5, 0},
    {METERS_VERTICAL | METERS_LINEAR | kHolds, 2, {3, 5, 20, 60}, 1.0, 0},
};

QImage Blank(double scale) {
    QImage image((QSizeF(210, 220) * scale).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::darkGray);
    return image;
}

void Init(tQMMETER& m, const Look& look, FakeWindow& host) {
    MeterInst_Init(&m, look.style, &look.rect, &host, 1, 0, 0);
    MeterInst_Message(&m, METERM_SETCHANNELS, 0, look.channels);
    MeterInst_Message(&m, METERM_SETDISPLAYRANGE, 0, look.displayRange);
}

void Paint(QImage& image, auto draw) {
    QPainter painter(&image);
    draw(painter);
}
QImage Whole(tQMMETER& m, QImage image) {
    Paint(image, [&](QPainter& painter) { MeterInst_Draw(&m, &painter); });
    return image;
}

QRect DifferentPixels(const QImage& a, const QImage& b) {
    QRect bounds;
    for (int y = 0; y < a.height(); y++)
        for (int x = 0; x < a.width(); x++)
            if (a.pixel(x, y) != b.pixel(x, y)) bounds |= QRect(x, y, 1, 1);
    return bounds;
}
}  // namespace

class MeterChanges : public testing::TestWithParam<Look> {
protected:
    FakeWindow host;
    std::mt19937 random{12345};

    tQMMETER a, b;  // the one paints changes, the other all

    void SetUp() override {
        ApplyTheme(Theme::Dark);
        for (tQMMETER* m : {&a, &b}) Init(*m, GetParam(), host);
    }
    void TearDown() override {
        for (tQMMETER* m : {&a, &b}) MeterInst_Deinit(m);
    }
    // Levels that wander, rest, peak over full scale and fall silent. Then some time passes.
    void Feed() {
        std::vector<int32_t> levels(a.channels);
        for (int32_t& level : levels) {
            const uint32_t what = random() % 16;
            level = what == 0   ? 0
                    : what == 1 ? 40000
                    : what == 2 ? -1
                                : static_cast<int32_t>(std::pow(2.0, random() % 1500 / 100.0));
        }
        if (random() % 3)
            for (tQMMETER* m : {&a, &b})
                MeterInst_Message(m, METERM_SETLEVELS, PackWords(0, a.channels),
                                  reinterpret_cast<intptr_t>(levels.data()));
        host.now += random() % 200;
    }
};
INSTANTIATE_TEST_SUITE_P(Looks, MeterChanges, testing::ValuesIn(kLooks));

TEST_P(MeterChanges, EqualAFullPaint) {
    const Look& look = GetParam();
    QImage changes = Whole(a, Blank(look.scale));
    int painted = 0;
    for (int step = 0; step < 400; step++) {
        Feed();
        const QImage before = changes;
        RECT area;
        bool any = false;
        Paint(changes, [&](QPainter& painter) { any = MeterInst_DrawChanges(&a, &painter, &area); });
        painted += any;
        ASSERT_EQ(changes, Whole(b, Blank(look.scale))) << "step " << step;
        const QRect touched = DifferentPixels(before, changes);
        const QRectF told(area.left * look.scale, area.top * look.scale, area.Width() * look.scale,
                          area.Height() * look.scale);
        ASSERT_TRUE(touched.isEmpty() || told.toAlignedRect().contains(touched)) << "step " << step;
        ASSERT_TRUE(any || touched.isEmpty());
    }
    EXPECT_GT(painted, 100);
}

// A strip is often painted in part only, under a clip; the rest of the bar must not be forgotten.
TEST_P(MeterChanges, SurvivePaintsUnderAClip) {
    const Look& look = GetParam();
    QImage changes = Blank(look.scale);
    for (int step = 0; step < 200; step++) {
        Feed();
        Paint(changes, [&](QPainter& painter) {
            // The first paint may be such a part already; labels only come with a whole one.
            if (step > 0 || !(look.style & METERS_LABELS))
                painter.setClipRect(0, static_cast<int>(random() % 150), 100, 40);
            painter.fillRect(0, 0, 300, 300, Qt::darkGray);
            MeterInst_Draw(&a, &painter);
            painter.setClipping(false);
            RECT area;
            MeterInst_DrawChanges(&a, &painter, &area);
        });
        ASSERT_EQ(changes, Whole(b, Blank(look.scale))) << "step " << step;
    }
}

TEST(MeterBitmaps, AreSharedByMetersThatLookAlike) {
    FakeWindow host;
    const size_t before = CountMeterBitmaps();
    std::vector<tQMMETER> meters(500);
    QImage image(2000, 220, QImage::Format_RGB32);
    QPainter painter(&image);
    for (size_t i = 0; i < meters.size(); i++) {
        const LONG x = static_cast<LONG>(i % 100) * 18;
        Init(meters[i], {METERS_VERTICAL, 2, {x, 0, x + (i < 250 ? 14 : 12), 200}, 1.0, 0}, host);
        MeterInst_Draw(&meters[i], &painter);
    }
    EXPECT_EQ(CountMeterBitmaps() - before, 2u);
    MeterInst_Message(&meters[0], METERM_SETDISPLAYRANGE, 0, 16);
    MeterInst_Draw(&meters[0], &painter);
    EXPECT_EQ(CountMeterBitmaps() - before, 3u) << "its bands lie elsewhere";
    for (tQMMETER& m : meters) MeterInst_Deinit(&m);
    EXPECT_EQ(CountMeterBitmaps(), before);
}

namespace {
// Runs of rows, or columns, in which the area has anything other than the ground.
std::vector<std::pair<int, int>> InkRuns(const QImage& image, const QRect& area, bool rows) {
    std::vector<std::pair<int, int>> runs;
    const int first = rows ? area.top() : area.left(), count = rows ? area.height() : area.width();
    bool inRun = false;
    for (int at = first; at < first + count; at++) {
        bool ink = false;
        for (int i = 0; i < (rows ? area.width() : area.height()) && !ink; i++)
            ink = image.pixelColor(rows ? area.left() + i : at, rows ? at : area.top() + i) != Qt::darkGray;
        if (ink && !inRun) runs.push_back({at, at});
        if (ink) runs.back().second = at;
        inRun = ink;
    }
    return runs;
}
}  // namespace

TEST(MeterPaint, NamesStandAtTheirBars) {
    constexpr const char16_t* kNames[] = {u"I", u"I", u"I", u"I"};
    for (const uint32_t style : {METERS_VERTICAL | METERS_LABELS, METERS_LABELS, uint32_t{METERS_VERTICAL},
                                 METERS_VERTICAL | METERS_LABELS | METERS_LABELS_OTHER_SIDE}) {
        FakeWindow host;
        tQMMETER m;
        const bool vertical = style & METERS_VERTICAL;
        Init(m, {style, 4, {0, 0, 200, 200}, 1.0, 0}, host);
        MeterInst_Message(&m, METERM_SETNAMES, PackWords(0, 4), reinterpret_cast<intptr_t>(kNames));
        const QImage image = Whole(m, Blank(1));
        RECT bar;
        MeterInst_Message(&m, METERM_GETRECT, PackWords(METER_PART_BAR, 0), reinterpret_cast<intptr_t>(&bar));
        const QRect names =
            vertical ? QRect(0, bar.bottom, 200, 200 - bar.bottom) : QRect(0, 0, bar.left, 200);
        const auto runs = InkRuns(image, names, !vertical);
        ASSERT_EQ(runs.size(), 4u) << style;
        for (uint32_t i = 0; i < 4; i++) {
            MeterInst_Message(&m, METERM_GETRECT, PackWords(METER_PART_BAR, i),
                              reinterpret_cast<intptr_t>(&bar));
            const LONG middle = vertical ? (bar.left + bar.right) / 2 : (bar.top + bar.bottom) / 2;
            EXPECT_NEAR((runs[i].first + runs[i].second) / 2, middle, 2) << style << " " << i;
        }
        MeterInst_Deinit(&m);
    }
}

TEST(MeterPaint, EveryScreenShowsTheSameLabels) {
    for (LONG height = 100; height <= 210; height += 5)
        for (uint32_t scale = 0; scale <= kMeterScaleCount; scale++) {
            std::vector<size_t> labels;
            for (const double pixels : {1.0, 1.25, 1.5, 2.0}) {
                FakeWindow host;
                tQMMETEREX m;
                const RECT rect{0, 0, 58, height};
                constexpr uint32_t kStyle = METERS_VERTICAL | METERS_LABELS;
                MeterExInst_Init(&m, kStyle, &rect, &host, 1, 0, 0);
                if (scale < kMeterScaleCount)
                    MeterExInst_SetScale(&m, &MeterScaleOf(scale));
                else
                    MeterInst_Init(&m.base, kStyle, &rect, &host, 1, 0, 0);
                const QImage image = Whole(m.base, Blank(pixels));
                const LONG column = MeterLabelSize(m.base).cx;
                labels.push_back(
                    InkRuns(image, QRectF(0, 0, column * pixels, height * pixels).toAlignedRect(), true)
                        .size());
                MeterInst_Deinit(&m.base);
            }
            EXPECT_EQ(labels, std::vector<size_t>(4, labels[0]))
                << "scale " << scale << ", height " << height;
        }
}

TEST(MeterPaint, TheBarEndsWhereTheLevelSays) {
    FakeWindow host;
    tQMMETER m;
    Init(m, {METERS_VERTICAL, 1, {0, 0, 10, 302}, 1.0, 0}, host);
    const METERBAND band{-1440, 0x00FF00, 0x0000FF};
    MeterInst_SetBands(&m, &band, 1);
    for (const int32_t level : {0, 1, 2, 100, 16384, 32767}) {
        MeterInst_Message(&m, METERM_SETLEVELS, 0, level);
        QImage black(20, 310, QImage::Format_RGB32);
        black.fill(Qt::black);
        const QImage image = Whole(m, black);
        int lit = 0, unlit = 0;
        for (int y = 0; y < 310; y++) {
            const QColor c = image.pixelColor(5, y);
            lit += c.green() > 100;
            unlit += c.red() > 100;
        }
        EXPECT_EQ(lit, m.scale.Pixel(level / 32768.0, 300)) << level;
        EXPECT_EQ(lit + unlit, 300) << "one pixel of the well at each end";
    }
    MeterInst_Deinit(&m);
}
