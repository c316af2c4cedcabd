#include <gtest/gtest.h>

#include "charts/chart_container.h"
#include "charts/chart_index.h"

#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "charts/chart.h"
#include "charts/chart_interactors.h"
#include "charts/multi_chart.h"
#include "charts/scale.h"
#include "display/color.h"
#include "display/object_interactors.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"

#include <X11/keysym.h>

namespace kestrel::test {
namespace {

constexpr int kWidth = 400, kHeight = 300;
constexpr uint32_t kRed = 0xff0000;

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

QelPolylineChart* line(QelDisplay* display, std::vector<QelFloatPoint> points,
                       QelPalette* palette = nullptr) {
  auto* copy = new QelFloatPoint[points.size()];
  std::copy(points.begin(), points.end(), copy);
  return new QelPolylineChart(display, new QelChartDataPoints(points.size(), copy, 1), palette);
}

class ChartContainerTest : public DisplayTest {
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
  Image screen() {
    XSync(xDisplay, False);
    return readWindow(xDisplay, container->getSystemView(), 0, 0, kWidth, kHeight);
  }
  void range(QelPosition direction, float& min, float& max) {
    container->getVisibleRange(direction, min, max);
  }
  void press(unsigned long keysym) {
    host->moveTo(container->getWidget(), kWidth / 2, kHeight / 2);
    const bool shift = keysym >= XK_A && keysym <= XK_Z;
    if (shift) host->key(XK_Shift_L, true);
    host->type(keysym);
    if (shift) host->key(XK_Shift_L, false);
    host->settle();
  }
  QelPalette* palette(const char* colour) {
    return display->getPalette(nullptr, display->getColor(colour));
  }

  std::unique_ptr<MotifHost> host;
  HookContainer* container = nullptr;
};

TEST(ChartContainerIndexTest, PositionsMapToScaleSlotsAndBack) {
  struct Row {
    unsigned position;
    int index;
  };
  for (Row row :
       {Row{QelBottom, 0}, Row{QelLeft, 1}, Row{QelRight, 2}, Row{QelTop, -1},
        Row{QelHorizontal, -1}, Row{QelVertical, -1}, Row{QelLeft | QelBottom, -1}, Row{0, -1}})
    EXPECT_EQ(QelChartContainer::positionToIndex(QelPosition(row.position)), row.index)
        << row.position;
  EXPECT_EQ(QelChartContainer::indexToPosition(0), QelBottom);
  EXPECT_EQ(QelChartContainer::indexToPosition(2), QelRight);
  EXPECT_EQ(QelChartContainer::indexToPosition(-1), 0);
  EXPECT_EQ(QelChartContainer::indexToPosition(3), 0);
}

TEST_F(ChartContainerTest, ZoomThatChangesNothingNeitherStoresNorDraws) {
  container->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, 10, 0, 5, 0);
  float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
  struct Row {
    unsigned positions;
    float xMin, xMax, yMin, yMax;
  };
  for (Row row : {Row{QelHorizontal, 3, 3, 0, 0}, Row{QelVertical, 0, 0, 2, 2},
                  Row{QelHorizontal | QelVertical, 0, 10, 0, 5}, Row{QelHorizontal, 5, 1, 0, 0},
                  Row{QelHorizontal, nan, 4, 0, 0}, Row{QelVertical, 0, 0, -inf, inf},
                  Row{QelLeft | QelBottom, 1, 2, 1, 2}}) {
    container->calls.clear();
    QelSetDrawTrace(1);
    testing::internal::CaptureStdout();
    container->zoomCharts(QelPosition(row.positions), row.xMin, row.xMax, row.yMin, row.yMax, 1);
    std::string traced = testing::internal::GetCapturedStdout();
    QelSetDrawTrace(0);
    EXPECT_EQ(traced, "") << row.positions << ' ' << row.xMin << ' ' << row.xMax;
    EXPECT_TRUE(container->calls.empty());
    float min, max;
    range(QelHorizontal, min, max);
    EXPECT_EQ(min, 0);
    EXPECT_EQ(max, 10);
    range(QelVertical, min, max);
    EXPECT_EQ(min, 0);
    EXPECT_EQ(max, 5);
  }
}

TEST_F(ChartContainerTest, HooksRunOnAddAndOnEveryRangeChangeInOrder) {
  container->calls.clear();
  container->addChart(line(display, {{0, 0}, {10, 5}}), 0);
  EXPECT_EQ(container->calls, std::vector<std::string>{"validate"});
  using Calls = std::vector<std::string>;
  const Calls relabelThenRefit{"updateScaleLabels", "validate"};
  container->calls.clear();
  container->zoomCharts(QelHorizontal, 2, 8, 0, 0, 0);
  EXPECT_EQ(container->calls, relabelThenRefit);
  container->calls.clear();
  container->translateCharts(QelHorizontal, 1, 0, 0);
  EXPECT_EQ(container->calls, relabelThenRefit);
  container->calls.clear();
  container->fitChartsToContents(QelVertical, 0);
  EXPECT_EQ(container->calls, relabelThenRefit);
  // Out of the limits: no change, no hook.
  container->calls.clear();
  container->translateCharts(QelHorizontal, 100, 0, 0);
  EXPECT_TRUE(container->calls.empty());
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
  container->handleResize(same);
  EXPECT_TRUE(container->resizes.empty());
  EXPECT_EQ(right->getRect(), QelRect(350, 10, 40, 20));
  QelRect wider(0, 0, kWidth * 2, kHeight / 2);
  container->handleResize(wider);
  ASSERT_EQ(container->resizes.size(), 1u);
  EXPECT_FLOAT_EQ(container->resizes[0].first, 2.0f);
  EXPECT_FLOAT_EQ(container->resizes[0].second, 0.5f);
  EXPECT_EQ(right->getRect(), QelRect(350 + kWidth, 10, 40, 20));
  EXPECT_EQ(across->getRect(), QelRect(10, 250, 380 + kWidth, 20));
  EXPECT_EQ(bottom->getRect(), QelRect(10, 270 - kHeight / 2, 30, 20));
  container->setAttachment(right, QelPosition(0));
  EXPECT_EQ(container->getAttachment(right), QelPosition(0));
}

TEST_F(ChartContainerTest, ScaleFormatIsCopiedUnlessItIsTheStoredOne) {
  char format[] = "%.1f";
  container->setScaleFormat(QelBottom, format);
  const char* stored = container->getScaleFormat(QelBottom);
  ASSERT_NE(stored, format);
  EXPECT_STREQ(stored, "%.1f");
  container->setScaleFormat(QelBottom, stored);
  EXPECT_EQ(container->getScaleFormat(QelBottom), stored);
  EXPECT_STREQ(container->getScale(QelBottom)->getLabel(0), "0.0");
  container->setScaleFormat(QelPosition(QelBottom | QelLeft), nullptr);
  EXPECT_EQ(container->getScaleFormat(QelBottom), nullptr);
}

TEST_F(ChartContainerTest, ChartListFollowsTheObjectListThroughEveryOperation) {
  QelAbstractChart* c[4];
  for (int i = 0; i < 4; ++i) c[i] = line(display, {{0, float(i)}, {1, float(i)}});
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
  EXPECT_EQ(container->getChartIndex(c[0]), -1);
  EXPECT_FALSE(c[0]->hasProperty(QelChartContainer::_chartProperty()));
  EXPECT_EQ(container->removeChart(c[0], 1), 0);
  EXPECT_EQ(order(), (List{c[3], c[2], c[1]}));
  EXPECT_EQ(container->removeChart(c[3], 0), 1);
  EXPECT_EQ(container->removeChart(c[1], 0), 1);
  EXPECT_EQ(order(), (List{c[2]}));
  EXPECT_EQ(container->getChart(1), nullptr);
  EXPECT_EQ(container->getChart(-1), nullptr);
  container->pushChart(c[2], 0);  // alone: nothing
  EXPECT_EQ(order(), (List{c[2]}));
  delete c[0];
  delete c[1];
  delete c[3];
}

TEST_F(ChartContainerTest, AcceleratorsScrollAndZoomWithinTheLimits) {
  container->addChart(line(display, {{0, 0}, {100, 40}}), 0);
  container->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, 40, 0, 20, 1);
  struct Row {
    unsigned long keysym;
    float xMin, xMax, yMin, yMax;
  };
  // Steps are a quarter of the range (the scales have five ticks); at a limit the step is cut.
  const Row rows[] = {
      {XK_Right, 10, 50, 0, 20}, {XK_Right, 20, 60, 0, 20}, {XK_Left, 10, 50, 0, 20},
      {XK_Left, 0, 40, 0, 20},   {XK_Left, 0, 40, 0, 20},   {XK_Up, 0, 40, 5, 25},
      {XK_Up, 0, 40, 10, 30},    {XK_Up, 0, 40, 15, 35},    {XK_Up, 0, 40, 20, 40},
      {XK_Up, 0, 40, 20, 40},    {XK_Down, 0, 40, 15, 35},  {XK_Z, 10, 30, 15, 35},
      {XK_z, 10, 30, 20, 30},    {XK_U, 0, 40, 20, 30},     {XK_U, 0, 60, 20, 30},
      {XK_u, 0, 60, 15, 35},     {XK_F, 0, 100, 15, 35},    {XK_f, 0, 100, 0, 40},
      {XK_Right, 0, 100, 0, 40}, {XK_z, 0, 100, 10, 30},    {XK_B, 0, 100, 0, 40},
  };
  for (const Row& row : rows) {
    press(row.keysym);
    float xMin, xMax, yMin, yMax;
    range(QelHorizontal, xMin, xMax);
    range(QelVertical, yMin, yMax);
    EXPECT_EQ(xMin, row.xMin) << XKeysymToString(row.keysym);
    EXPECT_EQ(xMax, row.xMax) << XKeysymToString(row.keysym);
    EXPECT_EQ(yMin, row.yMin) << XKeysymToString(row.keysym);
    EXPECT_EQ(yMax, row.yMax) << XKeysymToString(row.keysym);
  }
  // The step is cut to what is left before the limit.
  container->zoomCharts(QelHorizontal, 65, 95, 0, 0, 1);
  press(XK_Right);
  float xMin, xMax;
  range(QelHorizontal, xMin, xMax);
  EXPECT_EQ(xMin, 70);
  EXPECT_EQ(xMax, 100);
}

TEST_F(ChartContainerTest, RubberBandZoomsBothWaysAndItsGhostLeavesNoTrace) {
  container->addChart(line(display, {{0, 0}, {100, 100}}, palette("red")), 0);
  container->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, 100, 0, 100, 1);
  host->settle();
  const QelRect area = container->getChartArea();
  Image before = screen();
  Widget w = container->getWidget();
  // A drag that comes back to its start: ghosts drawn and erased, no zoom.
  host->moveTo(w, area.x + 10, area.y + 10);
  host->button(1, true);
  host->moveTo(w, area.x + 60, area.y + 80);
  host->moveTo(w, area.x + 90, area.y + 40);
  host->moveTo(w, area.x + 10, area.y + 10);
  host->button(1, false);
  host->settle();
  EXPECT_TRUE(imagesMatch(screen(), before, "rubber-band-ghost"));
  float min, max;
  range(QelHorizontal, min, max);
  EXPECT_EQ(max, 100);

  // The left quarter across, the top half down.
  host->moveTo(w, area.x, area.y);
  host->button(1, true);
  host->moveTo(w, area.x + int(area.w) / 4, area.y + int(area.h) / 2);
  host->button(1, false);
  host->settle();
  range(QelHorizontal, min, max);
  EXPECT_NEAR(min, 0, 0.5);
  EXPECT_NEAR(max, 25, 0.5);
  range(QelVertical, min, max);
  EXPECT_NEAR(min, 50, 0.5);
  EXPECT_NEAR(max, 100, 0.5);
}

TEST_F(ChartContainerTest, ChartValuesAtTicksLandOnTheTicks) {
  // Vertical lines at x = 0, 25, 50, 75, 100, horizontal ones at y = 0 ... 100: each crosses
  // its scale where that scale's tick is.
  QelPalette* red = palette("red");
  for (int i = 0; i <= 4; ++i) {
    float v = 25.0f * float(i);
    container->addChart(line(display, {{v, 0}, {v, 100}}, red), 0);
    container->addChart(line(display, {{0, v}, {100, v}}, red), 0);
  }
  container->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, 100, 0, 100, 1);
  host->settle();
  Image image = screen();
  const QelRect area = container->getChartArea();
  QelRectangularScale* bottom = container->getScale(QelBottom);
  QelRectangularScale* left = container->getScale(QelLeft);
  ASSERT_EQ(bottom->getSteps(), 5);
  ASSERT_EQ(left->getSteps(), 5);
  QelPoint origin;
  uint32_t size = bottom->computeSize(origin);
  EXPECT_EQ(size, area.w);
  // Tick 0 of each scale lies under the other scale's base line, drawn over the charts.
  for (int i = 1; i < 5; ++i) {
    int tickX = origin.x + int(float(size) * float(i) / 4.0f);
    int row = area.y + int(area.h) / 3;
    bool found = false;
    for (int dx = -1; dx <= 1; ++dx)
      if (tickX + dx >= 0 && tickX + dx < kWidth && image.at(tickX + dx, row) == kRed) found = true;
    EXPECT_TRUE(found) << "x tick " << i << " at " << tickX;
  }
  size = left->computeSize(origin);
  for (int i = 1; i < 5; ++i) {
    int tickY = origin.y - int(float(size) * float(i) / 4.0f);
    int column = area.x + int(area.w) / 3;
    bool found = false;
    for (int dy = -1; dy <= 1; ++dy)
      if (tickY + dy >= 0 && tickY + dy < kHeight && image.at(column, tickY + dy) == kRed)
        found = true;
    EXPECT_TRUE(found) << "y tick " << i << " at " << tickY;
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
  for (QelRectangularScale* scale : {left, container->getScale(QelBottom)}) {
    QelRect box;
    scale->boundingBox(box);
    EXPECT_GE(box.x, layout.x);
    EXPECT_GE(box.y, layout.y);
    EXPECT_LE(box.right64(), layout.right64());
    EXPECT_LE(box.bottom64(), layout.bottom64());
  }
  EXPECT_GT(area.x, layout.x + 100);  // room for the long names
  QelPoint origin;
  EXPECT_EQ(container->getScale(QelBottom)->computeSize(origin), area.w);
  EXPECT_EQ(origin.x, area.x);
  // The same rectangle again changes nothing.
  container->reshapeCharts(layout, 1);
  EXPECT_EQ(container->getChartArea(), area);
}

TEST_F(ChartContainerTest, LegendListsEveryChartAndSurvivesADataFile) {
  auto* first = line(display, {{0, 0}, {1, 1}}, palette("red"));
  first->setName("first");
  container->addChart(first, 0);
  container->setLegend(new QelChartLegend(display, QelPoint(300, 10)));
  auto* second = line(display, {{0, 1}, {1, 0}}, palette("blue"));
  second->setName("second");
  container->addChart(second, 1);
  auto* legend = static_cast<QelChartLegend*>(container->getLegend());
  ASSERT_EQ(legend->getCount(), 2u);
  EXPECT_EQ(legend->getItemAt(1).name, "second");
  EXPECT_NE(container->getLegendItem(second), nullptr);

  std::stringstream file;
  QelGraphic* one[] = {legend};
  ASSERT_TRUE(QelSaveGraphics(file, 1, one));
  QelInputFile input(file);
  std::vector<QelGraphic*> read = input.readObjects(display);
  ASSERT_EQ(read.size(), 1u);
  auto* copy = dynamic_cast<QelChartLegend*>(read[0]);
  ASSERT_NE(copy, nullptr);
  ASSERT_EQ(copy->getCount(), 2u);
  EXPECT_EQ(copy->getItemAt(0).name, "first");
  unsigned short r, g, b;
  copy->getItemAt(1).palette->getForeground()->getRGB(r, g, b);
  EXPECT_EQ(b, 0xffff);
  delete copy;

  container->removeChart(second, 1);
  EXPECT_EQ(legend->getCount(), 1u);
  EXPECT_EQ(container->getLegendItem(second), nullptr);
  delete second;
}

// Each chart kind's default interactor drags one point's value: the ghost follows the pointer
// and leaves nothing behind, and the release gives the point the value under the pointer
// (for a stacked set, measured from where its segment starts on the stack).
TEST_F(ChartContainerTest, DefaultInteractorsDragOnePointValueOfEveryKind) {
  QelChartInteractorModuleInit();
  auto points = [](std::vector<QelFloatPoint> values) {
    auto* copy = new QelFloatPoint[values.size()];
    std::copy(values.begin(), values.end(), copy);
    return new QelChartDataPoints(values.size(), copy, 1);
  };
  struct Case {
    const char* interactor;
    std::function<QelAbstractChart*()> make;
    unsigned long set, index;
    float below;  // where the dragged set's segment starts on its stack
  };
  const std::vector<Case> cases = {
      {"ChDragY",
       [&] {
         return line(display, {{0, 10}, {50, 40}, {100, 20}}, palette("red"));
       },
       0, 1, 0},
      {"SSChDragY",
       [&] {
         auto* bars = new QelSideBySideBarChart(display, 10, palette("red"));
         bars->addData(points({{20, 30}, {60, 50}}), palette("blue"));
         bars->addData(points({{20, 10}, {60, 40}}));
         return bars;
       },
       1, 1, 0},
      {"SChDragY",
       [&] {
         auto* bars = new QelStackedBarChart(display, 10, palette("red"));
         bars->addData(points({{20, 30}, {60, 20}}), palette("blue"));
         bars->addData(points({{20, 10}, {60, 15}}));
         return bars;
       },
       1, 1, 20},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.interactor);
    QelAbstractChart* chart = c.make();
    container->addChart(chart, 0);
    ASSERT_STREQ(chart->getDefaultInteractor(), c.interactor);
    ASSERT_TRUE(QelSetDefaultInteractor(container, chart));
    container->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, 100, 0, 100, 1);
    host->settle();
    QelChartData* data = c.set ? static_cast<QelMultiChart*>(chart)->getData(c.set)
                               : static_cast<QelChart*>(chart)->getData();
    QelPoint from;
    if (c.interactor[0] == 'C')
      chart->getDataPoint(data, c.index, from, nullptr);
    else if (c.interactor[0] == 'S' && c.interactor[1] == 'S')
      static_cast<QelSideBySideChart*>(chart)->getDataRelativePoint(c.set, c.index, from, nullptr);
    else
      static_cast<QelStackedChart*>(chart)->getDataStackedPoint(c.set, c.index, from, nullptr);

    Widget w = container->getWidget();
    host->moveTo(w, from.x, from.y);
    host->button(1, true);
    host->moveTo(w, from.x, from.y - 30);
    host->moveTo(w, from.x, from.y - 60);
    host->settle();
    Image ghosted = screen();
    host->moveTo(w, from.x, from.y - 40);
    host->button(1, false);
    host->settle();
    Image dropped = screen();
    container->reDraw();
    EXPECT_TRUE(
        imagesMatch(screen(), dropped, (std::string("drag-trace-") + c.interactor).c_str()));
    EXPECT_NE(ghosted.rgb, dropped.rgb);  // the ghost was shown at the pointer

    QelFloatPoint end, value;
    ASSERT_TRUE(chart->mapFromView(QelPoint(from.x, from.y - 40), nullptr, end));
    data->getPoint(c.index, value);
    EXPECT_FLOAT_EQ(value.y, end.y - c.below);
    EXPECT_GT(value.y, 0);
    float min, max;
    range(QelHorizontal, min, max);
    EXPECT_EQ(min, 0);  // the press went to the chart, not to the rubber band
    EXPECT_EQ(max, 100);
    container->removeChart(chart, 1);
    delete chart;
  }
}

// The index answers exactly what a scan of every extent would, through inserts that replace,
// removals, extents of every length class, points, and extents that are not finite.
TEST(ChartIndexTest, QueriesFindWhatAScanOfEveryExtentFinds) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> where(-1000, 1000);
  const float inf = std::numeric_limits<float>::infinity();
  std::vector<std::unique_ptr<QelPolylineChart>> charts;
  std::map<const QelAbstractChart*, std::pair<float, float>> extents;
  QelChartIndex index;
  for (int i = 0; i < 400; ++i) {
    charts.emplace_back(new QelPolylineChart(nullptr, nullptr));
    float lo = where(random), length = std::ldexp(1.0f, int(random() % 24) - 12);
    float hi = i % 10 == 0 ? lo : lo + length;  // some points
    if (i % 97 == 0) hi = i % 2 ? inf : std::numeric_limits<float>::quiet_NaN();
    index.insert(charts.back().get(), lo, hi);
    extents[charts.back().get()] = {lo, hi};
  }
  for (int i = 0; i < 400; i += 3) {  // replace some, remove others
    if (i % 2) {
      index.insert(charts[i].get(), -5, 5);
      extents[charts[i].get()] = {-5, 5};
    } else {
      index.remove(charts[i].get());
      extents.erase(charts[i].get());
    }
  }
  EXPECT_EQ(index.size(), extents.size());
  for (int q = 0; q < 300; ++q) {
    double lo = where(random), hi = lo + std::ldexp(1.0, int(random() % 20) - 10);
    if (q % 50 == 0) lo = -inf;
    std::vector<QelAbstractChart*> found;
    index.query(lo, hi, found);
    std::set<const QelAbstractChart*> got(found.begin(), found.end()), expected;
    for (const auto& [chart, extent] : extents) {
      const bool finiteExtent = std::isfinite(extent.first) && std::isfinite(extent.second);
      if (!finiteExtent || (extent.first <= hi && extent.second >= lo)) expected.insert(chart);
    }
    EXPECT_EQ(got, expected) << "[" << lo << ", " << hi << "]";
    EXPECT_EQ(found.size(), got.size());
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
    auto* copy = new QelFloatPoint[2]{{float(i), float(i % 7)}, {i + 0.5f, float(i % 5)}};
    charts.push_back(
        new CountingChart(display, new QelChartDataPoints(2, copy, 1), palette("red")));
    container->addChart(charts.back(), 0);
  }
  container->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, 200, 0, 10, 1);
  host->settle();
  Image whole = screen();
  CountingChart::draws = 0;
  container->reDrawObj(charts[100]);
  EXPECT_GE(CountingChart::draws, 1);
  EXPECT_LE(CountingChart::draws, 6);
  EXPECT_TRUE(imagesMatch(screen(), whole, "one-chart-redraw"));

  // A chart moved by a data change the container is told of is found where it went.
  charts[100]->getData()->setPoint(1, QelFloatPoint(150, 9));
  container->updateChart(charts[100], 1);
  QelRect far;
  charts[150]->boundingBox(far, nullptr);
  QelRegion there(far);
  CountingChart::draws = 0;
  container->reDraw(&there);
  EXPECT_LE(CountingChart::draws, 8);
  EXPECT_TRUE(imagesMatch(
      screen(),
      [&] {
        container->reDraw();
        return screen();
      }(),
      "moved-chart-redraw"));

  // Zoomed in, the charts out of sight are refitted only when used: one handed out has the
  // mapping of the new range.
  container->zoomCharts(QelHorizontal, 0, 20, 0, 0, 1);
  const QelRect area = container->getChartArea();
  EXPECT_NEAR(container->getChart(150)->mapToView(QelFloatPoint(150, 0), nullptr).x,
              area.x + 150.0 * area.w / 20, 1);

  delete charts[0];
  delete charts[199];
  EXPECT_EQ(container->getChartCount(), 198u);
  EXPECT_EQ(container->getChart(0), charts[1]);
  EXPECT_EQ(container->getChartIndex(charts[198]), 197);
  container->reDraw();
}

}  // namespace
}  // namespace kestrel::test
