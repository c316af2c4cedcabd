// A host that makes every mistake, one group per kind: each call must leave the chart working,
// unchanged where it cannot be honoured, and say which call was refused and why.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "charts/scale.h"
#include "gadgets/motif_look.h"
#include "gadgets/scroll_bar.h"
#include "kestrel.h"
#include "src/ko_chart/job_chart.h"
#include "src/ko_chart/timeline.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"
#include "tests/support/motif_host.h"
#include "tests/support/pixels.h"
#include "tests/support/server_resources.h"

// After gtest and the toolkit: Xlib's macros would break their declarations.
#include <X11/Xlib.h>
#include <Xm/Form.h>

namespace kestrel::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kMax = std::numeric_limits<float>::max();
constexpr uint32_t kGreen = 0x00ff00;

class JobChartHostileTest : public DisplayTest {
 protected:
  void SetUp() override {
    setenv("QELHOME", "/usr/share/kestrel/", 1);  // no message about the home: only refusals
    QelMotifScrollBarModuleInit();
    QelMotifMessageLabelModuleInit();
    host = std::make_unique<MotifHost>(xDisplay, 20, 20, 600, 400);
  }
  void TearDown() override {
    if (chart) chartDestructor(chart);
    host.reset();
    DisplayTest::TearDown();
  }
  Ko_chart* make(std::vector<const char*> names, Widget on = nullptr) {
    chart = static_cast<Ko_chart*>(chartConstructor(
        on ? on : host->board(), const_cast<char**>(names.data()), int(names.size())));
    return chart;
  }
  // What every call must leave: a finite, ordered window, a scroll bar within its bounds and an
  // axis with a bounded number of labels.
  void expectSound() const {
    EXPECT_TRUE(std::isfinite(chart->getStartTime()) && std::isfinite(chart->getEndTime()));
    EXPECT_LE(chart->getStartTime(), chart->getEndTime());
    EXPECT_GT(chart->getViewableTime(), 0);
    QelScrollBar* bar = chart->getScrollBar();
    EXPECT_LE(bar->getMin(), bar->getValue());
    EXPECT_LE(int64_t(bar->getValue()) + bar->getSliderSize(), bar->getMax());
    EXPECT_GE(chart->getTimeScale()->getSteps(), 1);
  }
  // Where the running job is drawn in the chart's window.
  QelPoint runningJobAt() {
    host->settle();
    Dimension w = 0, h = 0;
    XtVaGetValues(chart->getWidget(), XmNwidth, &w, XmNheight, &h, nullptr);
    QelRect box = extentOf(readWindow(xDisplay, XtWindow(chart->getWidget()), 0, 0, w, h), kGreen);
    return QelPoint(box.x + int32_t(box.w / 2), box.y + int32_t(box.h / 2));
  }
  std::unique_ptr<MotifHost> host;
  Ko_chart* chart = nullptr;
};

TEST_F(JobChartHostileTest, TimesThatAreNoNumbersAreRefusedAndHugeOnesKeepTheWindowFinite) {
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
      expectSound();
      host->settle();
      setViewableTime(chart, 10);
      setElapsedTime(chart, 30);
      expectSound();
    }
  stopJobTracking(chart, 0, 0);
  for (int32_t id : {0, 1}) stopJobTracking(chart, id, 0);
  EXPECT_EQ(startJobTracking(chart, "a", 31, nullptr), 0);
}

TEST_F(JobChartHostileTest, StopsWithoutAJobAndIdsOutOfRangeChangeNothing) {
  ASSERT_NE(make({"a", "b"}), nullptr);
  auto states = [&] {
    std::vector<std::pair<int32_t, int32_t>> result;  // busy, segments
    for (int32_t i = 0; i < 2; ++i)
      result.emplace_back(chart->getTimeLine(i)->isActive(),
                          chart->getTimeLine(i)->getSegments()->getCount());
    return result;
  };
  stopJobTracking(chart, 0, 1);  // before any start
  EXPECT_EQ(states(), (decltype(states()){{0, 0}, {0, 0}}));
  ASSERT_EQ(startJobTracking(chart, "b", 1, nullptr), 1);
  for (int id : {-1, 2, INT_MIN, INT_MAX, 1000}) stopJobTracking(chart, id, 1);
  EXPECT_EQ(states(), (decltype(states()){{0, 0}, {1, 1}}));
  stopJobTracking(chart, 1, 0);
  stopJobTracking(chart, 1, 1);  // twice: the job keeps the end it was given first
  EXPECT_EQ(states(), (decltype(states()){{0, 0}, {0, 1}}));
  Ko_timeline_segment* job = chart->getTimeLine(1)->getSegments()->last();
  EXPECT_EQ(job->getCurrentPalette(), Ko_timeline_segment::jobSucceedPalette);
  EXPECT_EQ(job->hasFailed(), 0);
}

TEST_F(JobChartHostileTest, AnyNameIsARowThatTakesJobsOfExactlyThatName) {
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

TEST_F(JobChartHostileTest, ViewableTimesUnitsAndRowCountsOutsideTheirRanges) {
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
    expectSound();
  }
  for (int unit : {-1, 3, 7, INT_MAX, INT_MIN}) {
    setTimeUnits(chart, KoHours);
    setTimeUnits(chart, KoTimeUnit(unit));
    EXPECT_EQ(chart->getTimeUnits(), KoSeconds);
    EXPECT_EQ(Ko_timeline::xScaleFactor, 1.0f);
  }
  // A chart made while another shows hours starts its jobs in its own seconds.
  setTimeUnits(chart, KoHours);
  Widget form = XtVaCreateManagedWidget("form", xmFormWidgetClass, host->board(), nullptr);
  const char* names2[] = {"a"};
  void* other = chartConstructor(form, const_cast<char**>(names2), 1);
  ASSERT_EQ(startJobTracking(other, "a", 5, nullptr), 0);
  EXPECT_EQ(static_cast<Ko_chart*>(other)->getTimeLine(0)->getSegments()->last()->getXScaleFactor(),
            1.0f);
  chartDestructor(other);
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

TEST_F(JobChartHostileTest, HostDestroyingItsWidgetFirstLeavesTheChartUsableUntilDestroyed) {
  Widget form = XtVaCreateManagedWidget("form", xmFormWidgetClass, host->board(), XmNwidth, 300,
                                        XmNheight, 200, nullptr);
  ASSERT_TRUE(host->realize());
  ASSERT_NE(make({"a"}, form), nullptr);
  ASSERT_EQ(startJobTracking(chart, "a", 0, nullptr), 0);
  XtDestroyWidget(form);
  host->settle();
  EXPECT_EQ(chart->getWidget(), nullptr);
  setElapsedTime(chart, 20);
  updateActiveJobs(chart, 20);
  stopJobTracking(chart, 0, 1);
  QelRect size(0, 0, 100, 100);
  chart->handleResize(size);
  chartDestructor(chart);
  chart = nullptr;
}

TEST_F(JobChartHostileTest, TheHostsClickCallbackMayChangeOrDestroyTheChart) {
  static Ko_chart* current;
  struct Case {
    const char* what;
    KoUserCallback callback;
    std::function<void()> expect;
  };
  const std::vector<Case> cases = {
      {"stops the job", [](void*) -> void* { return stopJobTracking(current, 0, 1), nullptr; },
       [&] { EXPECT_FALSE(current->getTimeLine(0)->isActive()); }},
      {"starts jobs",
       [](void*) -> void* {
         stopJobTracking(current, 0, 0);
         for (int i = 0; i < 3; ++i) startJobTracking(current, "a", 5, nullptr);
         return nullptr;
       },
       [&] { EXPECT_EQ(current->getTimeLine(0)->getSegments()->getCount(), 2); }},
      {"changes the unit", [](void*) -> void* { return setTimeUnits(current, KoMinutes), nullptr; },
       [&] { EXPECT_EQ(current->getTimeUnits(), KoMinutes); }},
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
    QelPoint at = runningJobAt();
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
