#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "charts/scale.h"
#include "display/event.h"
#include "gadgets/message_label.h"
#include "gadgets/motif_look.h"
#include "gadgets/scroll_bar.h"
#include "graphics/selection.h"
#include "kestrel.h"
#include "src/ko_chart/job_chart.h"
#include "src/ko_chart/timeline.h"
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"
#include "tests/support/pixels.h"
#include "tests/support/server_resources.h"

// After gtest and the toolkit: Xlib's macros would break their declarations.
#include <X11/Xlib.h>
#include <Xm/Form.h>

namespace kestrel::test {
namespace {

class JobChartTest : public DisplayTest {
 protected:
  void SetUp() override {
    // What loading libKestrel.so.1 does for a host: the gadgets' look among the rest.
    QelMotifScrollBarModuleInit();
    QelMotifMessageLabelModuleInit();
    host = std::make_unique<MotifHost>(xDisplay, 20, 20, 600, 400);
  }
  void TearDown() override {
    if (chart) chartDestructor(chart);
    host.reset();
    DisplayTest::TearDown();
  }
  Ko_chart* make(std::vector<const char*> names) {
    chart = static_cast<Ko_chart*>(
        chartConstructor(host->board(), const_cast<char**>(names.data()), int(names.size())));
    return chart;
  }
  std::vector<std::string> labels() const {
    std::vector<std::string> result;
    for (int32_t i = 0; i < chart->getNumYAxisLabels(); ++i)
      result.push_back(chart->getYAxisLabel(i));
    return result;
  }
  std::unique_ptr<MotifHost> host;
  Ko_chart* chart = nullptr;
};

TEST_F(JobChartTest, AdjacentNamesShowOnceAndJobsTakeTheFirstFreeRowOfTheirName) {
  ASSERT_NE(make({"a", "a", "b"}), nullptr);
  EXPECT_EQ(labels(), (std::vector<std::string>{" ", " ", "a", "b", " "}));
  int first = 1;
  EXPECT_EQ(startJobTracking(chart, "a", 1, &first), 0);
  EXPECT_EQ(startJobTracking(chart, "a", 2, nullptr), 1);
  EXPECT_EQ(startJobTracking(chart, "a", 3, nullptr), -1);
  EXPECT_EQ(startJobTracking(chart, "a ", 3, nullptr), -1);  // names compare exactly
  EXPECT_EQ(startJobTracking(chart, nullptr, 3, nullptr), -1);
  stopJobTracking(chart, 0, 0);
  stopJobTracking(chart, 7, 0);  // no such row: nothing
  EXPECT_EQ(startJobTracking(chart, "a", 4, nullptr), 0);
  EXPECT_EQ(startJobTracking(chart, "b", 4, nullptr), 2);
  Ko_timeline* row = chart->getTimeLine(0);
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->getSegments()->getCount(), 2);
  EXPECT_EQ(row->getSegments()->at(0)->getPalette(), Ko_timeline_segment::jobSucceedPalette);

  // A press selects and calls the host once; a release or a drag does nothing. The selection
  // made here goes with the chart (the interactor owns it, the chart holds it).
  static std::vector<void*> calls;
  calls.clear();
  setUserCallback(chart, [](void* data) {
    calls.push_back(data);
    return data;
  });
  Ko_timeline_segment* segment = row->getSegments()->at(0);
  QelEvent event;
  for (int type : {QelButtonUp, QelButtonDragged, QelDoubleClick, QelButtonDown}) {
    event.type = type;
    EXPECT_EQ(chart->getInteractor()->handleEvent(segment, event, chart, nullptr), 0);
  }
  EXPECT_EQ(calls, std::vector<void*>{&first});
  EXPECT_EQ(Ko_timeline_segment::prevSelected, segment);
  ASSERT_NE(chart->getInteractor()->getSelection(), nullptr);
  EXPECT_EQ(chart->getInteractor()->getSelection()->getObject(), segment);
}

TEST_F(JobChartTest, TheWindowFollowsThePresentUntilTheUserScrollsBack) {
  ASSERT_NE(make({"a", "b"}), nullptr);
  // One axis unit when nothing has elapsed yet, in seconds and in minutes.
  setViewableTime(chart, 0);
  EXPECT_EQ(chart->getViewableTime(), 1.0f);
  setTimeUnits(chart, KoMinutes);
  setViewableTime(chart, 0);
  EXPECT_FLOAT_EQ(chart->getViewableTime(), 60.0f);
  setTimeUnits(chart, KoSeconds);

  setViewableTime(chart, 10);
  setElapsedTime(chart, 30);
  EXPECT_EQ(chart->getStartTime(), 20);
  EXPECT_EQ(chart->getEndTime(), 30);
  QelScrollBar* bar = chart->getScrollBar();
  EXPECT_EQ(bar->getMax(), 30);
  EXPECT_EQ(bar->getValue(), 20);
  // The user drags the slider back to 5 (real input): the window stays there while time goes on.
  ASSERT_TRUE(host->realize());
  host->settle();
  QelScrollBarLayout parts = bar->layout(chart->getTransformer());
  const int64_t span = int64_t(bar->getMax()) - bar->getSliderSize() - bar->getMin();
  const int64_t target = parts.trackStart + (5 * parts.trackLength + span - 1) / span;
  const int32_t y = parts.slider.y + int32_t(parts.slider.h / 2);
  const int32_t grab = int32_t(parts.slider.w / 2);
  host->moveTo(chart->getWidget(), parts.slider.x + grab, y);
  host->button(1, true);
  host->moveTo(chart->getWidget(), int32_t(target) + grab + 3, y);
  host->moveTo(chart->getWidget(), int32_t(target) + grab, y);
  host->button(1, false);
  host->settle();
  EXPECT_EQ(bar->getValue(), 5);
  EXPECT_EQ(chart->getStartTime(), 5);
  setElapsedTime(chart, 40);
  EXPECT_EQ(chart->getStartTime(), 5);
  EXPECT_EQ(chart->getEndTime(), 15);
  EXPECT_EQ(bar->getMax(), 40);
  EXPECT_EQ(getElapsedTime(chart), 40);
  // Dragged back to the end, it follows again.
  host->settle();
  parts = bar->layout(chart->getTransformer());
  host->moveTo(chart->getWidget(), parts.slider.x + grab, y);
  host->button(1, true);
  host->moveTo(chart->getWidget(), parts.slider.x + grab + 400, y);
  host->moveTo(chart->getWidget(), parts.slider.x + grab + 800, y);
  host->button(1, false);
  host->settle();
  EXPECT_EQ(bar->getValue(), 30);  // max - slider size
  setElapsedTime(chart, 50);
  EXPECT_EQ(chart->getStartTime(), 40);
  EXPECT_EQ(chart->getEndTime(), 50);
}

TEST_F(JobChartTest, UnitsCaptionRoundingAndTheWrappedHeight) {
  ASSERT_NE(make({"a"}), nullptr);
  setTimeUnits(chart, KoTimeUnit(7));
  EXPECT_EQ(chart->getTimeUnits(), KoSeconds);
  EXPECT_EQ(chart->getXScaleFactor(), 1.0f);
  setTimeUnits(chart, KoHours);
  EXPECT_STREQ(chart->getTimeAxisLabel()->getText(), "Time in Hours");
  EXPECT_EQ(Ko_timeline::xScaleFactor, 1.0f / 3600);
  setTimeUnits(chart, KoSeconds);

  float min = 2.7f, max = 2.2f;
  Ko_chart::roundMinMax(min, max);
  EXPECT_EQ(min, 2);
  EXPECT_EQ(max, 3);

  // A height below 65 wraps around and is kept, not clamped to 50: the chart area is laid out
  // in a rectangle some four billion pixels tall.
  QelRect small(0, 0, 300, 60);
  chart->handleResize(small);
  EXPECT_GT(chart->getChartArea().h, 100000000u);
}

// Regression: the container's resize used to scale the layout already made for the new size a
// second time, pushing the time axis out of the window and the rows under the scroll bar.
TEST_F(JobChartTest, ResizeLaysTheChartOutOnceForTheNewSize) {
  ASSERT_NE(make({"a", "b", "c"}), nullptr);
  for (auto [width, height] : {std::pair(1000u, 626u), std::pair(300u, 200u),
                               std::pair(1000u, 626u), std::pair(640u, 900u)}) {
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    QelRect size(0, 0, width, height);
    chart->handleResize(size);
    // Within the 5-pixel margins, with 60 pixels below for axis, caption and scroll bar, and
    // the same as a chart that had this size already.
    const QelRect area = chart->getChartArea();
    EXPECT_LE(area.right64(), int64_t(width) - 5);
    EXPECT_LE(area.bottom64(), int64_t(height) - 60);
    chart->handleResize(size);
    EXPECT_EQ(chart->getChartArea(), area);
    QelPoint origin;
    chart->getTimeScale()->getOrigin(origin);
    EXPECT_EQ(chart->getScrollBar()->getRect().y, origin.y + 50);
    EXPECT_LT(chart->getScrollBar()->getRect().bottom64(), int64_t(height));
  }
}

TEST_F(JobChartTest, NullHandlesAndBadArgumentsAreHarmless) {
  EXPECT_EQ(chartConstructor(nullptr, nullptr, 0), nullptr);
  const char* names[] = {"a"};
  EXPECT_EQ(chartConstructor(host->board(), nullptr, 2), nullptr);
  EXPECT_EQ(chartConstructor(host->board(), const_cast<char**>(names), -1), nullptr);
  chartDestructor(nullptr);
  scrollToTime(nullptr, 1);
  setViewableTime(nullptr, 1);
  setElapsedTime(nullptr, 1);
  EXPECT_EQ(getElapsedTime(nullptr), 0.0f);
  EXPECT_EQ(startJobTracking(nullptr, "a", 0, nullptr), -1);
  stopJobTracking(nullptr, 0, 0);
  updateActiveJobs(nullptr, 1);
  setUserCallback(nullptr, nullptr);
  EXPECT_EQ(callUserCallback(nullptr, nullptr), nullptr);
  setTimeUnits(nullptr, KoHours);

  // A null name inside the array is an empty name.
  const char* withNull[] = {"a", nullptr};
  ASSERT_NE(make({withNull[0], withNull[1]}), nullptr);
  EXPECT_EQ(labels(), (std::vector<std::string>{" ", "a", " ", " "}));
  EXPECT_EQ(callUserCallback(chart, nullptr), nullptr);
  setUserCallback(chart, [](void* p) { return p; });
  int x = 0;
  EXPECT_EQ(callUserCallback(chart, &x), &x);

  // Times that are no numbers, or beyond every range, change nothing for the worse.
  const float inf = std::numeric_limits<float>::infinity();
  for (float t : {std::numeric_limits<float>::quiet_NaN(), inf, -inf, 3e38f, -1e30f, 1e-42f}) {
    setViewableTime(chart, t);
    setElapsedTime(chart, t);
    scrollToTime(chart, t);
    int id = startJobTracking(chart, "a", t, nullptr);
    updateActiveJobs(chart, t);
    stopJobTracking(chart, id, 1);
    setTimeUnits(chart, KoHours);
    setTimeUnits(chart, KoSeconds);
  }
  setViewableTime(chart, 10);
  setElapsedTime(chart, 30);
  EXPECT_EQ(chart->getStartTime(), 20);
}

TEST_F(JobChartTest, NoPixelOfTheRunningLookRemainsOnceTheNextFrameIsDrawn) {
  ASSERT_NE(make({"a", "b"}), nullptr);
  ASSERT_TRUE(host->realize());
  setViewableTime(chart, 10);
  ASSERT_EQ(startJobTracking(chart, "a", 1, nullptr), 0);
  setElapsedTime(chart, 6);
  updateActiveJobs(chart, 6);
  // Selected: six pixels wide, with its start marker.
  QelEvent press;
  press.type = QelButtonDown;
  chart->getInteractor()->handleEvent(chart->getTimeLine(0)->getSegments()->last(), press, chart,
                                      nullptr);
  host->settle();
  Widget view = chart->getWidget();
  auto shot = [&] {
    Dimension w = 0, h = 0;
    XtVaGetValues(view, XmNwidth, &w, XmNheight, &h, nullptr);
    return readWindow(xDisplay, XtWindow(view), 0, 0, w, h);
  };
  constexpr uint32_t kGreen = 0x00ff00;
  ASSERT_GT(shot().count(kGreen), 50u);
  stopJobTracking(chart, 0, 0);
  updateActiveJobs(chart, 7);
  host->settle();
  Image after = shot();
  EXPECT_EQ(after.count(kGreen), 0u);
  EXPECT_GT(after.count(0x0000ff), 0u);
}

TEST_F(JobChartTest, ChartsOnTwoWidgetsBeforeRealizationFollowTheirHostsAndLeaveNothingBehind) {
  // Two charts on two forms of one host, made before the host is realized.
  Widget forms[2];
  for (int i = 0; i < 2; ++i)
    forms[i] = XtVaCreateManagedWidget("form", xmFormWidgetClass, host->board(), XmNx, i * 290,
                                       XmNwidth, 280, XmNheight, 200 + 50 * i, nullptr);
  const char* names[] = {"a", "b", "c"};
  void* charts[2];
  for (int i = 0; i < 2; ++i) {
    charts[i] = chartConstructor(forms[i], const_cast<char**>(names), 3);
    ASSERT_NE(charts[i], nullptr);
  }
  ASSERT_TRUE(host->realize());
  host->settle();
  for (int i = 0; i < 2; ++i) {
    Dimension w = 0, h = 0;
    XtVaGetValues(static_cast<Ko_chart*>(charts[i])->getWidget(), XmNwidth, &w, XmNheight, &h,
                  nullptr);
    EXPECT_EQ(w, 280);
    EXPECT_EQ(h, 200 + 50 * i);
  }
  EXPECT_EQ(startJobTracking(charts[0], "b", 1, nullptr), 1);
  EXPECT_EQ(startJobTracking(charts[1], "b", 1, nullptr), 1);  // rows of their own
  chartDestructor(charts[1]);

  // A thousand jobs, clicks and resizes on the other, then a hundred charts made and destroyed:
  // the server holds what it held before (the sanitizer build checks the memory).
  Ko_chart* busy = static_cast<Ko_chart*>(charts[0]);
  for (int job = 0; job < 1000; ++job) {
    float now = float(job);
    int id = startJobTracking(busy, names[job % 3], now, nullptr);
    setElapsedTime(busy, now);
    updateActiveJobs(busy, now + 0.5f);
    if (id >= 0) stopJobTracking(busy, id, job % 2);
    if (job % 100 == 0) {
      QelEvent press;
      press.type = QelButtonDown;
      if (Ko_timeline* row = busy->getTimeLine(job % 3))
        busy->getInteractor()->handleEvent(row->getSegments()->last(), press, busy, nullptr);
      QelRect size(0, 0, 200 + job / 10, 150 + job / 20);
      busy->handleResize(size);
    }
  }
  chartDestructor(busy);
  XSync(xDisplay, False);
  const long before = serverResources(xDisplay, XtWindow(host->shell()));
  for (int i = 0; i < 100; ++i) {
    void* chart = chartConstructor(forms[0], const_cast<char**>(names), 3);
    ASSERT_NE(chart, nullptr);
    startJobTracking(chart, "a", 0, nullptr);
    chartDestructor(chart);
  }
  XSync(xDisplay, False);
  EXPECT_EQ(serverResources(xDisplay, XtWindow(host->shell())), before);
}

}  // namespace
}  // namespace kestrel::test
