#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "charts/chart_data.h"
#include "display/color.h"
#include "display/display.h"
#include "display/line_style.h"
#include "display/palette.h"
#include "src/ko_chart/timeline_segment.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

using Segment = Ko_timeline_segment;

std::string colourOf(const QelPalette* palette) {
  unsigned short r, g, b;
  palette->getForeground()->getRGB(r, g, b);
  char text[16];
  std::snprintf(text, sizeof text, "%02x%02x%02x", r >> 8, g >> 8, b >> 8);
  return text;
}

class TimelineSegmentTest : public DisplayTest {
 protected:
  void SetUp() override { QelChartModuleInit(); }
  QelFloatPoint point(const Segment& s, unsigned long i) {
    QelFloatPoint p;
    s.getData()->getPoint(i, p);
    return p;
  }
};

// Running jobs in dotted green, failed ones in red, succeeded ones in blue, selected ones six
// pixels wide; made with the first segment, shared, and taken away with the last.
TEST_F(TimelineSegmentTest, FirstSegmentMakesThePalettesAndTheLastTakesThemAway) {
  for (int round = 0; round < 2; ++round) {
    auto a = std::make_unique<Segment>(display, 10, 1, nullptr);
    QelPalette* running = Segment::jobInProgressPalette;
    ASSERT_NE(running, nullptr);
    EXPECT_EQ(colourOf(running) + colourOf(Segment::jobFailPalette) +
                  colourOf(Segment::jobSucceedPalette),
              "00ff00ff00000000ff");
    EXPECT_EQ(running->getLineStyle(), display->getLineStyle("dot"));
    auto b = std::make_unique<Segment>(display, 20, 2, nullptr);
    EXPECT_EQ(Segment::jobInProgressPalette, running);  // shared, not made again
    a.reset();
    b->showSelected();
    b.reset();
    EXPECT_EQ(Segment::jobInProgressPalette, nullptr);
    EXPECT_EQ(Segment::prevSelected, nullptr);
  }
}

TEST_F(TimelineSegmentTest, RunningCompletedAndSelectedLooks) {
  Segment a(display, 120, 3, &a), b(display, 130, 4, nullptr);
  EXPECT_EQ(a.getPalette(), Segment::jobInProgressPalette);
  ASSERT_NE(a.getData()->getPointInfo(0), nullptr);  // a marker at the start only, while running
  EXPECT_EQ(a.getData()->getPointInfo(0)->getOffset(), QelPoint(-4, -4));
  EXPECT_EQ(a.getData()->getPointInfo(1), nullptr);

  // Selecting A, then B: A back to its state, B six pixels wide in its own colour.
  a.showSelected();
  EXPECT_EQ(a.getPalette(), Segment::jobSelectedPalette);
  b.showSelected();
  EXPECT_EQ(a.getPalette(), Segment::jobInProgressPalette);
  EXPECT_EQ(b.getPalette(), Segment::jobSelectedPalette);
  EXPECT_EQ(colourOf(b.getPalette()), "00ff00");
  EXPECT_EQ(b.getPalette()->getLineWidth(), 6);

  // Completing the selected segment as succeeded: blue, two wide, markers on both ends.
  b.showJobComplete(0);
  EXPECT_EQ(b.getPalette(), Segment::jobSucceedPalette);
  EXPECT_EQ(b.getPalette()->getLineWidth(), 2);
  EXPECT_NE(b.getData()->getPointInfo(1), nullptr);
  a.showJobComplete(1);
  EXPECT_EQ(a.getPalette(), Segment::jobFailPalette);
  EXPECT_EQ(a.hasFailed(), 1);
}

TEST_F(TimelineSegmentTest, TimeUnitsScaleTheStoredPointsAndKeepTheSeconds) {
  Segment s(display, 120, 2, nullptr);
  s.updateEndPoint(180);
  EXPECT_EQ(point(s, 1), QelFloatPoint(180, 2));
  s.setXScaleFactor(1.0f / 60);
  EXPECT_FLOAT_EQ(point(s, 0).x, 2);
  EXPECT_FLOAT_EQ(point(s, 1).x, 3);
  EXPECT_EQ(s.getStartPoint(), QelFloatPoint(120, 2));
  EXPECT_EQ(s.getEndPoint(), QelFloatPoint(180, 2));
  s.updateEndPoint(240);  // later times are scaled as they come
  EXPECT_FLOAT_EQ(point(s, 1).x, 4);
}

}  // namespace
}  // namespace kestrel::test
