// The job chart through its entry points: rows and names, the window that follows the present,
// units, layout, clicks, and a host that makes every mistake (each refused call leaves the chart
// working, unchanged where it cannot be honoured, and says which call was refused and why).
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "charts/scale.h"
#include "display/event.h"
#include "gadgets/message_label.h"
#include "gadgets/scroll_bar.h"
#include "graphics/selection.h"
#include "src/ko_chart/timeline.h"
#include "tests/support/job_chart_host.h"
#include "tests/support/messages.h"
#include "tests/support/server_resources.h"

// After gtest and the toolkit: Xlib's macros would break their declarations.
#include <Xm/Form.h>

namespace kestrel::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kMax = std::numeric_limits<float>::max();

std::vector<std::string> labels(const Ko_chart* chart) {
  std::vector<std::string> result;
  for (int32_t i = 0; i < chart->getNumYAxisLabels(); ++i)
    result.push_back(chart->getYAxisLabel(i));
  return result;
}

// What every call must leave: a finite, ordered window, a scroll bar within its bounds and an
// axis with a bounded number of labels.
void expectSound(const Ko_chart* chart) {
  EXPECT_TRUE(std::isfinite(chart->getStartTime()) && std::isfinite(chart->getEndTime()));
  EXPECT_LE(chart->getStartTime(), chart->getEndTime());
  EXPECT_GT(chart->getViewableTime(), 0);
  QelScrollBar* bar = chart->getScrollBar();
  EXPECT_LE(bar->getMin(), bar->getValue());
  EXPECT_LE(int64_t(bar->getValue()) + bar->getSliderSize(), bar->getMax());
  EXPECT_GE(chart->getTimeScale()->getSteps(), 1);
}

TEST_F(JobChartTest, AdjacentNamesShowOnceAndJobsTakeTheFirstFreeRowOfTheirName) {
  ASSERT_NE(make({"a", "a", "b"}), nullptr);
  EXPECT_EQ(labels(chart), (std::vector<std::string>{" ", " ", "a", "b", " "}));
  stopJobTracking(chart, 0, 1);  // before any start: nothing
  EXPECT_EQ(chart->getTimeLine(0)->getSegments()->getCount(), 0);
  int first = 1;
  EXPECT_EQ(startJobTracking(chart, "a", 1, &first), 0);
  EXPECT_EQ(startJobTracking(chart, "a", 2, nullptr), 1);
  EXPECT_EQ(startJobTracking(chart, "a", 3, nullptr), -1);
  EXPECT_EQ(startJobTracking(chart, "a ", 3, nullptr), -1);  // names compare exactly
  EXPECT_EQ(startJobTracking(chart, nullptr, 3, nullptr), -1);
  for (int id : {-1, 3, INT_MIN, INT_MAX}) stopJobTracking(chart, id, 1);  // no such row
  EXPECT_TRUE(chart->getTimeLine(0)->isActive() && chart->getTimeLine(1)->isActive());
  stopJobTracking(chart, 0, 0);
  stopJobTracking(chart, 0, 1);  // twice: the job keeps the end it was given first
  EXPECT_EQ(startJobTracking(chart, "a", 4, nullptr), 0);
  EXPECT_EQ(startJobTracking(chart, "b", 4, nullptr), 2);
  Ko_timeline* row = chart->getTimeLine(0);
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->getSegments()->getCount(), 2);
  EXPECT_EQ(row->getSegments()->at(0)->getPalette(), Ko_timeline_segment::jobSucceedPalette);
  EXPECT_EQ(row->getSegments()->at(0)->hasFailed(), 0);

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
  // Grabs the slider in its middle and lets it go `dx` pixels away, overshooting by 3 on the way.
  auto dragSlider = [&](int64_t dx) {
    host->settle();
    const QelRect slider = bar->layout(chart->getTransformer()).slider;
    const int32_t x = slider.x + int32_t(slider.w / 2), y = slider.y + int32_t(slider.h / 2);
    host->moveTo(chart->getWidget(), x, y);
    host->button(1, true);
    host->moveTo(chart->getWidget(), int32_t(x + dx + 3), y);
    host->moveTo(chart->getWidget(), int32_t(x + dx), y);
    host->button(1, false);
    host->settle();
  };
  // Back to 5: the first track pixel whose value is 5.
  const QelScrollBarLayout parts = bar->layout(chart->getTransformer());
  const int64_t span = int64_t(bar->getMax()) - bar->getSliderSize() - bar->getMin();
  dragSlider(parts.trackStart + (5 * parts.trackLength + span - 1) / span - parts.slider.x);
  EXPECT_EQ(bar->getValue(), 5);
  EXPECT_EQ(chart->getStartTime(), 5);
  setElapsedTime(chart, 40);
  EXPECT_EQ(chart->getStartTime(), 5);
  EXPECT_EQ(chart->getEndTime(), 15);
  EXPECT_EQ(bar->getMax(), 40);
  EXPECT_EQ(getElapsedTime(chart), 40);
  // Dragged back to the end, it follows again.
  dragSlider(800);
  EXPECT_EQ(bar->getValue(), 30);  // max - slider size
  setElapsedTime(chart, 50);
  EXPECT_EQ(chart->getStartTime(), 40);
  EXPECT_EQ(chart->getEndTime(), 50);
  // The bar counts whole seconds: a fraction is cut, not rounded.
  setElapsedTime(chart, 50.7f);
  EXPECT_EQ(bar->getMax(), 50);
  EXPECT_EQ(bar->getValue(), 40);
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
  EXPECT_EQ(labels(chart), (std::vector<std::string>{" ", "a", " ", " "}));
  EXPECT_EQ(callUserCallback(chart, nullptr), nullptr);
  setUserCallback(chart, [](void* p) { return p; });
  int x = 0;
  EXPECT_EQ(callUserCallback(chart, &x), &x);
}

// Two charts on two forms of one host, made before the host is realized: each follows its own
// form's size and has rows and units of its own (the second, made while the first shows hours,
// starts its jobs in seconds); a form the host destroys first leaves its chart usable until the
// chart is destroyed.
TEST_F(JobChartTest, ChartsOnTwoWidgetsFollowTheirHostsAndOutliveTheirWidgets) {
  Widget forms[2];
  Ko_chart* charts[2];
  const char* names[] = {"a", "b", "c"};
  for (int i = 0; i < 2; ++i) {
    forms[i] = XtVaCreateManagedWidget("form", xmFormWidgetClass, host->board(), XmNx, i * 290,
                                       XmNwidth, 280, XmNheight, 200 + 50 * i, nullptr);
    charts[i] = static_cast<Ko_chart*>(chartConstructor(forms[i], const_cast<char**>(names), 3));
    ASSERT_NE(charts[i], nullptr);
    if (i == 0) setTimeUnits(charts[0], KoHours);
  }
  ASSERT_TRUE(host->realize());
  host->settle();
  for (int i = 0; i < 2; ++i) {
    Dimension w = 0, h = 0;
    XtVaGetValues(charts[i]->getWidget(), XmNwidth, &w, XmNheight, &h, nullptr);
    EXPECT_EQ(std::make_pair(int(w), int(h)), std::make_pair(280, 200 + 50 * i));
  }
  EXPECT_EQ(startJobTracking(charts[0], "b", 1, nullptr), 1);
  ASSERT_EQ(startJobTracking(charts[1], "b", 1, nullptr), 1);
  EXPECT_EQ(charts[1]->getTimeLine(1)->getSegments()->last()->getXScaleFactor(), 1.0f);
  XtDestroyWidget(forms[1]);
  host->settle();
  EXPECT_EQ(charts[1]->getWidget(), nullptr);
  // The job colours were made on the first chart's display: that chart goes first, and the
  // second one's job still changes colour and goes.
  chartDestructor(charts[0]);
  setElapsedTime(charts[1], 20);
  updateActiveJobs(charts[1], 20);
  stopJobTracking(charts[1], 1, 1);
  QelRect size(0, 0, 100, 100);
  charts[1]->handleResize(size);
  chartDestructor(charts[1]);
}

TEST_F(JobChartTest, TimesThatAreNoNumbersAreRefusedAndHugeOnesKeepTheWindowFinite) {
  ASSERT_NE(make({"a", "b"}), nullptr);
  ASSERT_TRUE(host->realize());
  setViewableTime(chart, 10);
  setElapsedTime(chart, 30);
  ASSERT_EQ(startJobTracking(chart, "a", 25, nullptr), 0);
  struct Call {
    const char* name;
    std::function<void(float)> call;
  };
  const std::vector<Call> calls = {
      {"scrollToTime", [&](float t) { scrollToTime(chart, t); }},
      {"setViewableTime", [&](float t) { setViewableTime(chart, t); }},
      {"setElapsedTime", [&](float t) { setElapsedTime(chart, t); }},
      {"startJobTracking", [&](float t) { startJobTracking(chart, "b", t, nullptr); }},
      {"updateActiveJobs", [&](float t) { updateActiveJobs(chart, t); }},
  };
  for (const Call& c : calls)
    for (float t : {kNaN, kInf, -kInf}) {
      SCOPED_TRACE(std::string(c.name) + " " + std::to_string(t));
      CapturedMessages messages;
      c.call(t);
      ASSERT_EQ(messages.warnings().size(), 1u);
      EXPECT_EQ(messages.warnings()[0].rfind(std::string("Ko_chart::") + c.name + ":", 0), 0u)
          << messages.warnings()[0];
      EXPECT_EQ(chart->getStartTime(), 20);
      EXPECT_EQ(chart->getEndTime(), 30);
      EXPECT_EQ(getElapsedTime(chart), 30);
      EXPECT_EQ(chart->getTimeLine(0)->getSegments()->last()->getEndPoint().x, 25);
      EXPECT_FALSE(chart->getTimeLine(1)->isActive());
    }

  // Numbers at the ends of the float range, negative and denormal: the window stays finite and
  // the chart draws (the axis holds at most one label per whole unit, 65535 at most).
  for (const Call& c : calls)
    for (float t : {kMax, -kMax, 3e38f, -1e30f, 1e-42f, -1.0f, 16777217.0f}) {
      SCOPED_TRACE(std::string(c.name) + " " + std::to_string(t));
      CapturedMessages messages;
      c.call(t);
      expectSound(chart);
      host->settle();
      setViewableTime(chart, 10);
      setElapsedTime(chart, 30);
      expectSound(chart);
    }
  stopJobTracking(chart, 0, 0);
  for (int32_t id : {0, 1}) stopJobTracking(chart, id, 0);
  EXPECT_EQ(startJobTracking(chart, "a", 31, nullptr), 0);
}

TEST_F(JobChartTest, AnyNameIsARowThatTakesJobsOfExactlyThatName) {
  const std::string longName(10000, 'n');
  struct Case {
    const char* what;
    std::vector<const char*> names;
    const char* job;
    int expected;
  };
  const std::vector<Case> cases = {
      {"empty", {"a", ""}, "", 1},
      {"very long", {"a", longName.c_str()}, longName.c_str(), 1},
      {"duplicated apart", {"a", "b", "a"}, "a", 0},
      {"control bytes", {"\x01\x1b[2J\t", "b"}, "\x01\x1b[2J\t", 0},
      {"invalid UTF-8", {"b", "\xff\xfe\xc3(\xe2\x82"}, "\xff\xfe\xc3(\xe2\x82", 1},
  };
  ASSERT_TRUE(host->realize());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_NE(make(c.names), nullptr);
    setViewableTime(chart, 10);
    EXPECT_EQ(startJobTracking(chart, c.job, 1, nullptr), c.expected);
    setElapsedTime(chart, 5);
    updateActiveJobs(chart, 5);
    host->settle();  // the labels are drawn
    EXPECT_EQ(std::string(chart->getYAxisLabel(c.expected + 1)), *c.job ? c.job : " ");
    chartDestructor(chart);
    chart = nullptr;
  }
}

TEST_F(JobChartTest, ViewableTimesUnitsAndRowCountsOutsideTheirRanges) {
  ASSERT_NE(make({"a"}), nullptr);
  setElapsedTime(chart, 100);
  struct Width {
    float given;
    float kept;
    size_t warnings;
  };
  for (const Width& w : std::vector<Width>{
           {0, 100, 0}, {1e-30f, 1, 0}, {-5, 1, 1}, {kMax, kMax, 0}, {0.5f, 1, 0}, {kNaN, 1, 1}}) {
    SCOPED_TRACE(w.given);
    CapturedMessages messages;
    setViewableTime(chart, w.given);
    EXPECT_EQ(chart->getViewableTime(), w.kept);
    EXPECT_EQ(messages.warnings().size(), w.warnings);
    expectSound(chart);
  }
  setTimeUnits(chart, KoHours);
  EXPECT_STREQ(chart->getTimeAxisLabel()->getText(), "Time in Hours");
  EXPECT_EQ(Ko_timeline::xScaleFactor, 1.0f / 3600);
  for (int unit : {-1, 3, 7, INT_MAX, INT_MIN}) {
    setTimeUnits(chart, KoHours);
    setTimeUnits(chart, KoTimeUnit(unit));
    EXPECT_EQ(chart->getTimeUnits(), KoSeconds);
    EXPECT_EQ(Ko_timeline::xScaleFactor, 1.0f);
  }
  chartDestructor(chart);
  chart = nullptr;

  struct Rows {
    int count;
    bool made;
  };
  std::vector<const char*> names(5000, "r");
  for (const Rows& r : std::vector<Rows>{{0, true},
                                         {-1, false},
                                         {INT_MIN, false},
                                         {65534, false},
                                         {INT_MAX, false},
                                         {5000, true}}) {
    SCOPED_TRACE(r.count);
    CapturedMessages messages;
    chart = static_cast<Ko_chart*>(
        chartConstructor(host->board(), const_cast<char**>(names.data()), r.count));
    EXPECT_EQ(chart != nullptr, r.made);
    EXPECT_EQ(messages.warnings().size(), r.made ? 0u : 1u);
    if (!chart) continue;
    EXPECT_EQ(startJobTracking(chart, "r", 0, nullptr), r.count ? 0 : -1);
    chartDestructor(chart);
    chart = nullptr;
  }
}

TEST_F(JobChartTest, TheHostsClickCallbackMayChangeOrDestroyTheChart) {
  static Ko_chart* current;
  struct Case {
    const char* what;
    KoUserCallback callback;
    std::function<void()> expect;
  };
  const std::vector<Case> cases = {
      {"stops the job", [](void*) -> void* { return stopJobTracking(current, 0, 1), nullptr; },
       [&] { EXPECT_FALSE(current->getTimeLine(0)->isActive()); }},
      {"destroys the chart",
       [](void*) -> void* {
         chartDestructor(current);
         chartDestructor(current);  // asked twice while the click is handled: still once
         return nullptr;
       },
       [&] {
         // Gone with the click: its drawing area has left the host.
         Cardinal children = 1;
         XtVaGetValues(host->board(), XmNnumChildren, &children, nullptr);
         EXPECT_EQ(children, 0u);
         current = nullptr;
       }},
  };
  ASSERT_TRUE(host->realize());
  // What the first chart loads for the connection (fonts, Motif's own records) stays with it.
  ASSERT_NE(make({"a"}), nullptr);
  host->settle();
  chartDestructor(chart);
  XSync(xDisplay, False);
  const long before = serverResources(xDisplay, XtWindow(host->shell()));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_NE(make({"a"}), nullptr);
    current = chart;
    setViewableTime(chart, 10);
    setElapsedTime(chart, 10);
    ASSERT_EQ(startJobTracking(chart, "a", 1, nullptr), 0);
    updateActiveJobs(chart, 9);
    const QelRect running = extentOf(shot(), kGreen);
    const QelPoint at(running.x + int32_t(running.w / 2), running.y + int32_t(running.h / 2));
    setUserCallback(chart, c.callback);
    host->moveTo(chart->getWidget(), at.x, at.y);
    host->click(3);  // so that the next press is a press of its own, not a double click
    host->click(1);
    host->settle();
    c.expect();
    if (current) chartDestructor(current);
    chart = nullptr;
  }
  XSync(xDisplay, False);
  EXPECT_EQ(serverResources(xDisplay, XtWindow(host->shell())), before);
}

}  // namespace
}  // namespace kestrel::test
