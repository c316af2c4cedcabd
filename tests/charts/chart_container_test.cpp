#include <gtest/gtest.h>

#include "charts/chart_container.h"

#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "charts/chart_interactors.h"
#include "charts/multi_chart.h"
#include "charts/scale.h"
#include "display/object_interactors.h"
#include "tests/charts/chart_fixture.h"
#include "tests/support/motif_host.h"

#include <X11/keysym.h>

namespace kestrel::test {
namespace {

constexpr int kWidth = 400, kHeight = 300;
using Ranges = std::vector<float>;  // x min, x max, y min, y max

// Records the hooks a job chart overrides, in the order they are called.
class HookContainer : public QelChartContainer {
 public:
  using QelChartContainer::QelChartContainer;
  void validate(float& xMin, float& xMax, float& yMin, float& yMax) override {
    calls.push_back("validate");
    QelChartContainer::validate(xMin, xMax, yMin, yMax);
  }
  void updateScaleLabels(QelPosition positions) const override {
    calls.push_back("updateScaleLabels");
    QelChartContainer::updateScaleLabels(positions);
  }
  void applyResize(float sx, float sy, int redraw) override {
    resizes.push_back({sx, sy});
    QelChartContainer::applyResize(sx, sy, redraw);
  }
  mutable std::vector<std::string> calls;
  std::vector<std::pair<float, float>> resizes;
};

class ChartContainerTest : public ChartFixture {
 protected:
  void SetUp() override {
    QelChartContainerModuleInit();
    QelSetDoubleClickPeriod(0);
    host = std::make_unique<MotifHost>(xDisplay, 40, 30, kWidth, kHeight);
    container = new HookContainer(display, host->board(), QelRect(0, 0, kWidth, kHeight),
                                  QelPoint(0, 0), QelLeft, QelPosition(QelLeft | QelBottom), 1);
    ASSERT_TRUE(host->realize());
    container->setFocus();
    host->settle();
  }
  void TearDown() override {
    QelSetDoubleClickPeriod(250);
    delete container;
    host.reset();
    DisplayTest::TearDown();
  }
  QelPolylineChart* line(const std::vector<QelFloatPoint>& values, const char* colour = nullptr) {
    return new QelPolylineChart(display, points(values), colour ? palette(colour) : nullptr);
  }
  void zoomBoth(float xMin, float xMax, float yMin, float yMax) {
    container->zoomCharts(QelPosition(QelHorizontal | QelVertical), xMin, xMax, yMin, yMax, 1);
    host->settle();
  }
  Image screen() {
    XSync(xDisplay, False);
    return readWindow(xDisplay, container->getSystemView(), 0, 0, kWidth, kHeight);
  }
  Ranges ranges() {
    Ranges r(4);
    container->getVisibleRange(QelHorizontal, r[0], r[1]);
    container->getVisibleRange(QelVertical, r[2], r[3]);
    return r;
  }
  void press(unsigned long keysym) {
    host->moveTo(container->getWidget(), kWidth / 2, kHeight / 2);
    const bool shift = keysym >= XK_A && keysym <= XK_Z;
    if (shift) host->key(XK_Shift_L, true);
    host->type(keysym);
    if (shift) host->key(XK_Shift_L, false);
    host->settle();
  }
  // Presses at the first point of the path (relative to `base`), moves through the others and
  // releases at the last.
  void drag(const QelPoint& base, std::initializer_list<QelPoint> path) {
    bool down = false;
    for (const QelPoint& p : path) {
      host->moveTo(container->getWidget(), base.x + p.x, base.y + p.y);
      if (!down) host->button(1, down = true);
    }
    host->button(1, false);
    host->settle();
  }

  std::unique_ptr<MotifHost> host;
  HookContainer* container = nullptr;
};

TEST_F(ChartContainerTest, ZoomThatChangesNothingNeitherStoresNorDraws) {
  container->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, 10, 0, 5, 0);
  float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
  using Row = std::tuple<unsigned, float, float, float, float>;  // positions, ranges
  for (auto [positions, xMin, xMax, yMin, yMax] :
       {Row{QelHorizontal, 3, 3, 0, 0}, Row{QelVertical, 0, 0, 2, 2},
        Row{QelHorizontal | QelVertical, 0, 10, 0, 5}, Row{QelHorizontal, 5, 1, 0, 0},
        Row{QelHorizontal, nan, 4, 0, 0}, Row{QelVertical, 0, 0, -inf, inf},
        Row{QelLeft | QelBottom, 1, 2, 1, 2}}) {
    container->calls.clear();
    QelSetDrawTrace(1);
    testing::internal::CaptureStdout();
    container->zoomCharts(QelPosition(positions), xMin, xMax, yMin, yMax, 1);
    std::string traced = testing::internal::GetCapturedStdout();
    QelSetDrawTrace(0);
    EXPECT_EQ(traced, "") << positions << ' ' << xMin << ' ' << xMax;
    EXPECT_TRUE(container->calls.empty());
    EXPECT_EQ(ranges(), (Ranges{0, 10, 0, 5}));
  }
}

// A first chart of one x value still gives limits a unit wide; a bottom scale attached to a
// value crosses the area where the charts draw it, above the area's bottom.
TEST_F(ChartContainerTest, FlatLimitsAndAScaleAttachedToAValue) {
  container->addChart(line({{5, 2}, {5, 4}}), 0);
  float min = 0, max = 0;
  container->getLimits(QelHorizontal, min, max);
  EXPECT_EQ(std::make_pair(min, max), std::make_pair(5.0f, 6.0f));
  container->attachOrigin(QelBottom, 3);
  QelPoint origins[3];
  container->getOrigins(origins);
  EXPECT_LT(origins[0].y, 0);
}

// A resize scales the layout and then moves the objects attached to the view's edges: one on
// the right keeps its distance to it, one on the left and right stretches, one on the bottom
// follows it up.
TEST_F(ChartContainerTest, ResizeScalesTheLayoutAndMovesAttachedObjects) {
  auto* right = new QelRectangle(display, QelRect(350, 10, 40, 20));
  auto* across = new QelRectangle(display, QelRect(10, 250, 380, 20));
  auto* bottom = new QelRectangle(display, QelRect(10, 270, 30, 20));
  for (auto* r : {right, across, bottom}) container->addObject(r, 0);
  container->setAttachment(right, QelRight);
  container->setAttachment(across, QelPosition(QelLeft | QelRight));
  container->setAttachment(bottom, QelBottom);
  QelRect same(0, 0, kWidth, kHeight);
  QelRect wider(0, 0, kWidth * 2, kHeight / 2);
  container->handleResize(same);  // changes nothing
  container->handleResize(wider);
  EXPECT_EQ(container->resizes, (std::vector<std::pair<float, float>>{{2.0f, 0.5f}}));
  EXPECT_EQ(right->getRect(), QelRect(350 + kWidth, 10, 40, 20));
  EXPECT_EQ(across->getRect(), QelRect(10, 250, 380 + kWidth, 20));
  EXPECT_EQ(bottom->getRect(), QelRect(10, 270 - kHeight / 2, 30, 20));
}

TEST_F(ChartContainerTest, ChartListFollowsTheObjectListThroughEveryOperation) {
  QelAbstractChart* c[4];
  for (int i = 0; i < 4; ++i) c[i] = line({{0, float(i)}, {1, float(i)}});
  container->addChart(c[1], 0);
  container->addChart(c[2], 0);
  container->insertChart(c[0], 0);
  container->addChart(c[3], 0);
  auto order = [&] {
    uint32_t count = 0;
    QelAbstractChart** charts = container->getCharts(count);
    std::vector<QelAbstractChart*> list(charts, charts + count);
    for (uint32_t i = 0; i < count; ++i) {
      EXPECT_EQ(container->getChart(int(i)), list[i]);
      EXPECT_EQ(container->getChartIndex(list[i]), int(i));
      // Contiguous and in the same order in the object list.
      EXPECT_EQ(container->getIndex(list[i]), container->getIndex(list[0]) + int(i));
    }
    return list;
  };
  using List = std::vector<QelAbstractChart*>;
  EXPECT_EQ(order(), (List{c[0], c[1], c[2], c[3]}));
  container->popChart(c[1], 0);
  EXPECT_EQ(order(), (List{c[0], c[2], c[3], c[1]}));
  container->pushChart(c[3], 0);
  EXPECT_EQ(order(), (List{c[3], c[0], c[2], c[1]}));
  EXPECT_EQ(container->removeChart(c[0], 1), 1);
  EXPECT_TRUE(container->getChartIndex(c[0]) == -1 && container->removeChart(c[0], 1) == 0 &&
              !c[0]->hasProperty(QelChartContainer::_chartProperty()));
  EXPECT_EQ(order(), (List{c[3], c[2], c[1]}));
  delete c[0];
}

TEST_F(ChartContainerTest, AcceleratorsScrollAndZoomWithinTheLimits) {
  container->addChart(line({{0, 0}, {100, 40}}), 0);
  zoomBoth(0, 40, 0, 20);
  using Row = std::pair<unsigned long, Ranges>;  // the key and the ranges after it
  // Steps are a quarter of the range (the scales have five ticks); at a limit the step is cut.
  const Row rows[] = {
      {XK_Right, {10, 50, 0, 20}}, {XK_Right, {20, 60, 0, 20}}, {XK_Left, {10, 50, 0, 20}},
      {XK_Left, {0, 40, 0, 20}},   {XK_Left, {0, 40, 0, 20}},   {XK_Up, {0, 40, 5, 25}},
      {XK_Up, {0, 40, 10, 30}},    {XK_Up, {0, 40, 15, 35}},    {XK_Up, {0, 40, 20, 40}},
      {XK_Up, {0, 40, 20, 40}},    {XK_Down, {0, 40, 15, 35}},  {XK_Z, {10, 30, 15, 35}},
      {XK_z, {10, 30, 20, 30}},    {XK_U, {0, 40, 20, 30}},     {XK_U, {0, 60, 20, 30}},
      {XK_u, {0, 60, 15, 35}},     {XK_F, {0, 100, 15, 35}},    {XK_f, {0, 100, 0, 40}},
      {XK_Right, {0, 100, 0, 40}}, {XK_z, {0, 100, 10, 30}},    {XK_B, {0, 100, 0, 40}},
  };
  for (const auto& [keysym, after] : rows) {
    press(keysym);
    EXPECT_EQ(ranges(), after) << XKeysymToString(keysym);
  }
  // The step is cut to what is left before the limit.
  container->zoomCharts(QelHorizontal, 65, 95, 0, 0, 1);
  press(XK_Right);
  EXPECT_EQ(ranges(), (Ranges{70, 100, 0, 40}));
}

TEST_F(ChartContainerTest, RubberBandZoomsBothWaysAndItsGhostLeavesNoTrace) {
  container->addChart(line({{0, 0}, {100, 100}}, "red"), 0);
  zoomBoth(0, 100, 0, 100);
  const QelRect area = container->getChartArea();
  const QelPoint corner(area.x, area.y);
  // A drag that comes back to its start: ghosts drawn and erased, no zoom.
  const Image before = screen();
  drag(corner, {{10, 10}, {60, 80}, {90, 40}, {10, 10}});
  EXPECT_TRUE(imagesMatch(screen(), before, "rubber-band-ghost"));
  EXPECT_EQ(ranges(), (Ranges{0, 100, 0, 100}));
  // The left quarter across, the top half down.
  drag(corner, {{0, 0}, {int(area.w) / 4, int(area.h) / 2}});
  const Ranges zoomed = ranges(), expected = {0, 25, 50, 100};
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(zoomed[i], expected[i], 0.5) << i;
}

TEST_F(ChartContainerTest, ChartValuesAtTicksLandOnTheTicks) {
  // Vertical lines at x = 0, 25, 50, 75, 100, horizontal ones at y = 0 ... 100: each crosses
  // its scale where that scale's tick is.
  for (int i = 0; i <= 4; ++i) {
    float v = 25.0f * float(i);
    container->addChart(line({{v, 0}, {v, 100}}, "red"), 0);
    container->addChart(line({{0, v}, {100, v}}, "red"), 0);
  }
  zoomBoth(0, 100, 0, 100);
  const Image image = screen();
  const QelRect area = container->getChartArea();
  // Tick 0 of each scale lies under the other scale's base line, drawn over the charts.
  for (QelPosition side : {QelBottom, QelLeft}) {
    QelRectangularScale* scale = container->getScale(side);
    ASSERT_EQ(scale->getSteps(), 5);
    QelPoint origin;
    const uint32_t size = scale->computeSize(origin);
    EXPECT_EQ(size, side == QelBottom ? area.w : area.h);
    for (int i = 1; i < 5; ++i) {
      const int tick = int(float(size) * float(i) / 4.0f);
      // Across the chart area, a third of the way in, a pixel either side of the tick.
      bool found = false;
      for (int d = -1; d <= 1; ++d) {
        const QelPoint p = side == QelBottom
                               ? QelPoint(origin.x + tick + d, area.y + int(area.h) / 3)
                               : QelPoint(area.x + int(area.w) / 3, origin.y - tick + d);
        found |=
            p.x >= 0 && p.y >= 0 && p.x < kWidth && p.y < kHeight && image.at(p.x, p.y) == kRed;
      }
      EXPECT_TRUE(found) << side << " tick " << i;
    }
  }
}

TEST_F(ChartContainerTest, LongRowNamesAndEdgeLabelsStayInsideTheLayoutRectangle) {
  QelRectangularScale* left = container->getScale(QelLeft);
  left->setKeepAllLabels(1);
  container->setScaleFormat(QelLeft, "a rather long row name %.0f");
  container->setScaleFormat(QelBottom, "%.0f seconds");
  const QelRect layout(10, 10, 300, 200);
  container->reshapeCharts(layout, 1);
  const QelRect area = container->getChartArea();
  for (QelRectangularScale* scale : {left, container->getScale(QelBottom)})
    EXPECT_TRUE(layout.contains(box(*scale))) << scale->getDirection();
  EXPECT_GT(area.x, layout.x + 100);  // room for the long names
  QelPoint origin;
  EXPECT_TRUE(container->getScale(QelBottom)->computeSize(origin) == area.w && origin.x == area.x);
  // The same rectangle again changes nothing.
  container->reshapeCharts(layout, 1);
  EXPECT_EQ(container->getChartArea(), area);
}

// Each chart kind's default interactor drags one point's value: the ghost follows the pointer
// and leaves nothing behind, and the release gives the point the value under the pointer
// (for a stacked set, measured from where its segment starts on the stack).
TEST_F(ChartContainerTest, DefaultInteractorsDragOnePointValueOfEveryKind) {
  QelChartInteractorModuleInit();
  auto* stacked = new QelStackedBarChart(display, 10, palette("red"));
  stacked->addData(points({{20, 30}, {60, 20}}), palette("blue"));
  stacked->addData(points({{20, 10}, {60, 15}}));
  QelPolylineChart* polyline = line({{0, 10}, {50, 40}, {100, 20}}, "red");
  struct Case {
    const char* interactor;
    QelAbstractChart* chart;
    QelChartData* data;                   // the set dragged: its point 1
    std::function<void(QelPoint&)> from;  // where that point is drawn
    float below;                          // where the set's segment starts on its stack
  };
  const Case cases[] = {
      {"ChDragY", polyline, polyline->getData(),
       [&](QelPoint& p) { polyline->getDataPoint(polyline->getData(), 1, p, nullptr); }, 0},
      {"SChDragY", stacked, stacked->getData(1),
       [&](QelPoint& p) { stacked->getDataStackedPoint(1, 1, p, nullptr); }, 20},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.interactor);
    container->addChart(c.chart, 0);
    ASSERT_STREQ(c.chart->getDefaultInteractor(), c.interactor);
    ASSERT_TRUE(QelSetDefaultInteractor(container, c.chart));
    zoomBoth(0, 100, 0, 100);
    QelPoint from;
    c.from(from);
    const QelPoint to(from.x, from.y - 40);
    host->moveTo(container->getWidget(), from.x, from.y);
    host->button(1, true);
    for (int dy : {30, 60}) host->moveTo(container->getWidget(), from.x, from.y - dy);
    host->settle();
    host->moveTo(container->getWidget(), to.x, to.y);
    host->button(1, false);
    host->settle();
    const Image dropped = screen();
    container->reDraw();
    EXPECT_TRUE(imagesMatch(screen(), dropped, std::string("drag-trace-") + c.interactor));

    QelFloatPoint end, value;
    ASSERT_TRUE(c.chart->mapFromView(to, nullptr, end));
    c.data->getPoint(1, value);
    EXPECT_FLOAT_EQ(value.y, end.y - c.below);
    EXPECT_GT(value.y, 0);
    // The press went to the chart, not to the rubber band.
    EXPECT_EQ(ranges(), (Ranges{0, 100, 0, 100}));
    container->removeChart(c.chart, 1);
    delete c.chart;
  }
}

// Counts the charts a redraw looks at (each is asked for its box before it is drawn).
class CountingChart : public QelPolylineChart {
 public:
  using QelPolylineChart::QelPolylineChart;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override {
    ++draws;
    QelPolylineChart::boundingBox(rect, t);
  }
  static inline int draws = 0;
};

// A redraw of one chart among many draws the charts near it only, with the same pixels as a
// redraw of everything; a chart its owner deletes leaves the chart list.
TEST_F(ChartContainerTest, OneChartRedrawReachesOnlyTheChartsNearIt) {
  std::vector<CountingChart*> charts;
  for (int i = 0; i < 200; ++i) {
    charts.push_back(new CountingChart(
        display, points({{float(i), float(i % 7)}, {i + 0.5f, float(i % 5)}}), palette("red")));
    container->addChart(charts.back(), 0);
  }
  zoomBoth(0, 200, 0, 10);
  Image whole = screen();
  CountingChart::draws = 0;
  container->reDrawObj(charts[100]);
  EXPECT_TRUE(CountingChart::draws >= 1 && CountingChart::draws <= 6) << CountingChart::draws;
  EXPECT_TRUE(imagesMatch(screen(), whole, "one-chart-redraw"));

  // A chart moved by a data change the container is told of is found where it went: it now
  // crosses chart 150's box, and a redraw of that box over paint of another colour draws it there
  // as a full redraw does.
  charts[100]->getData()->setPoint(1, QelFloatPoint(151, 1));
  container->updateChart(charts[100], 1);
  const QelRect near = box(*charts[150]);
  const Window view = container->getSystemView();
  auto nearPixels = [&] {
    XSync(xDisplay, False);
    return readWindow(xDisplay, view, near.x, near.y, near.w, near.h);
  };
  container->reDraw();
  const Image full = nearPixels();
  ASSERT_GT(full.count(kRed), 0u);
  GC gc = XCreateGC(xDisplay, view, 0, nullptr);
  XSetForeground(xDisplay, gc, 0x00ff00);
  XFillRectangle(xDisplay, view, gc, near.x, near.y, near.w, near.h);
  XFreeGC(xDisplay, gc);
  QelRegion there(near);
  CountingChart::draws = 0;
  container->reDraw(&there);
  EXPECT_LE(CountingChart::draws, 8);
  EXPECT_TRUE(imagesMatch(nearPixels(), full, "moved-chart-redraw"));

  delete charts[0];
  delete charts[199];
  EXPECT_TRUE(container->getChartCount() == 198u && container->getChart(0) == charts[1] &&
              container->getChartIndex(charts[198]) == 197);
  container->reDraw();
}

}  // namespace
}  // namespace kestrel::test
