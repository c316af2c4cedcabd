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

TEST_F(TimelineSegmentTest, FirstSegmentMakesThePalettesAndTheLastTakesThemAway) {
  ASSERT_FALSE(Segment::palettesInitialized);
  for (int round = 0; round < 2; ++round) {
    auto a = std::make_unique<Segment>(display, 10, 1, nullptr);
    QelPalette* running = Segment::jobInProgressPalette;
    ASSERT_NE(running, nullptr);
    EXPECT_EQ(colourOf(running), "00ff00");
    EXPECT_EQ(running->getLineWidth(), 2);
    EXPECT_EQ(running->getLineStyle(), display->getLineStyle("dot"));
    EXPECT_EQ(colourOf(Segment::jobFailPalette), "ff0000");
    EXPECT_EQ(colourOf(Segment::jobSucceedPalette), "0000ff");
    EXPECT_EQ(Segment::jobSucceedPalette->getLineStyle(), display->getLineStyle("solid"));
    EXPECT_EQ(Segment::jobSelectedPalette->getLineWidth(), 6);
    auto b = std::make_unique<Segment>(display, 20, 2, nullptr);
    EXPECT_EQ(Segment::jobInProgressPalette, running);  // shared, not made again
    EXPECT_EQ(Segment::numInstances, 2);
    a.reset();
    EXPECT_TRUE(Segment::palettesInitialized);
    b->showSelected();
    b.reset();
    EXPECT_FALSE(Segment::palettesInitialized);
    EXPECT_EQ(Segment::jobInProgressPalette, nullptr);
    EXPECT_EQ(Segment::prevSelected, nullptr);
  }
}

TEST_F(TimelineSegmentTest, RunningCompletedAndSelectedLooks) {
  Segment a(display, 120, 3, &a), b(display, 130, 4, nullptr);
  EXPECT_EQ(a.getPalette(), Segment::jobInProgressPalette);
  unsigned long infos = 0;
  a.getData()->getAllPointInfo(infos);
  EXPECT_EQ(infos, 1u);  // the start only, while running
  EXPECT_NE(a.getData()->getPointInfo(0), nullptr);
  EXPECT_EQ(a.getData()->getPointInfo(0)->getOffset(), QelPoint(-4, -4));

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
  EXPECT_EQ(a.getUserData(), &a);
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

TEST(TimelineSegmentListTest, GrowsByExactlyFiveSlots) {
  Ko_timeline_segmentList list;
  EXPECT_EQ(list.getCapacity(), 0);
  const int32_t capacities[] = {5, 5, 5, 5, 5, 10, 10, 10, 10, 10, 15};
  for (int32_t expected : capacities) {
    list.appendSegment(nullptr);
    EXPECT_EQ(list.getCapacity(), expected) << list.getCount();
  }
  EXPECT_EQ(list.getCount(), 11);
  list.setScaleX(2);  // null entries are passed over
}

}  // namespace
}  // namespace kestrel::test
