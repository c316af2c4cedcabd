// The job chart paints only what changed since its last frame and draws only the jobs a redraw
// can reach; what it shows must stay, pixel for pixel, what drawing every object in order on a
// cleared window shows.
#include <gtest/gtest.h>

#include <vector>

#include "display/display.h"
#include "display/event.h"
#include "display/port.h"
#include "src/ko_chart/timeline.h"
#include "tests/support/job_chart_host.h"

namespace kestrel::test {
namespace {

class JobChartFrameTest : public JobChartTest {
 protected:
  // Low enough that the rows' markers overlap their neighbours'.
  JobChartFrameTest() : JobChartTest(420, 150) {}
  Image shown() {
    XSync(xDisplay, False);
    return readWindow(xDisplay, XtWindow(chart->getWidget()), 0, 0, chart->width(),
                      chart->height());
  }
  // Every object drawn in order, without culling (the charts clipped to the chart area), on a
  // cleared bitmap of the view's size.
  Image straightforward() {
    Window window = XtWindow(chart->getWidget());
    XWindowAttributes attributes;
    XGetWindowAttributes(xDisplay, window, &attributes);
    Pixel background = 0;
    XtVaGetValues(chart->getWidget(), XmNbackground, &background, nullptr);
    QelBitmap bitmap(display, chart->width(), chart->height(), uint16_t(attributes.depth));
    GC gc = XCreateGC(xDisplay, bitmap.getPixmap(), 0, nullptr);
    XSetForeground(xDisplay, gc, background);
    XFillRectangle(xDisplay, bitmap.getPixmap(), gc, 0, 0, chart->width(), chart->height());
    XFreeGC(xDisplay, gc);
    chart->QelChartContainer::draw(&bitmap, nullptr, nullptr);
    XSync(xDisplay, False);
    return readDrawable(xDisplay, bitmap.getPixmap(), attributes.visual, attributes.colormap, 0, 0,
                        chart->width(), chart->height());
  }
};

// A replay where jobs of every state start and end on six close rows, one stays selected, and
// the window moves on each tick so that jobs leave it on the left and run into its right edge.
TEST_F(JobChartFrameTest, EveryFrameIsWhatDrawingEachObjectInOrderShows) {
  const char* names[] = {"a", "a", "b", "b", "c", "c"};
  chart = static_cast<Ko_chart*>(chartConstructor(host->board(), const_cast<char**>(names), 6));
  ASSERT_NE(chart, nullptr);
  ASSERT_TRUE(host->realize());
  host->settle();
  setViewableTime(chart, 12);
  std::vector<int> running;
  for (int t = 1; t <= 40; ++t) {
    setElapsedTime(chart, float(t));
    // Jobs end after 1 to 5 seconds, one in three failed; new ones start where a row is free.
    std::vector<int> still;
    for (int id : running)
      if ((id * 7 + t) % 5 == 0)
        stopJobTracking(chart, id, (id + t) % 3 == 0);
      else
        still.push_back(id);
    running = still;
    for (const char* name : {"a", "b", "c"})
      if (t % 2 == 0 || name[0] != 'b')
        if (int id = startJobTracking(chart, name, float(t) - 0.5f, nullptr); id >= 0)
          running.push_back(id);
    if (t == 9) {  // a running job selected, completed later while still selected
      QelEvent press;
      press.type = QelButtonDown;
      chart->getInteractor()->handleEvent(
          chart->getTimeLine(running.front())->getSegments()->last(), press, chart, nullptr);
    }
    updateActiveJobs(chart, float(t));
    if (t % 3 == 0 || t > 36) {
      SCOPED_TRACE(t);
      ASSERT_TRUE(imagesMatch(shown(), straightforward(), "job-chart-frame"));
    }
  }
  // Scrolled back into the history and a unit change: whole new frames at the next tick.
  scrollToTime(chart, 5);
  setElapsedTime(chart, 41);
  updateActiveJobs(chart, 41);
  ASSERT_TRUE(imagesMatch(shown(), straightforward(), "job-chart-frame-scrolled"));
  setTimeUnits(chart, KoMinutes);
  setElapsedTime(chart, 42);
  updateActiveJobs(chart, 42);
  ASSERT_TRUE(imagesMatch(shown(), straightforward(), "job-chart-frame-minutes"));
}

}  // namespace
}  // namespace kestrel::test
