// What the user does to the window and what the X server does: sizes from one pixel to the
// largest X accepts, a double buffer the server cannot allocate, servers of 8 and 16 bits,
// the host's own X errors, and the server dying while the chart updates.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "gadgets/motif_look.h"
#include "kestrel.h"
#include "src/ko_chart/job_chart.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"
#include "tests/support/motif_host.h"
#include "tests/support/pixels.h"

// After gtest and the toolkit: Xlib's macros would break their declarations.
#include <X11/Xlib.h>
#include <Xm/Xm.h>

namespace kestrel::test {
namespace {

constexpr uint32_t kGreen = 0x00ff00, kRed = 0xff0000, kBlue = 0x0000ff;

// A host with three jobs on the chart, one in each state, on the server `x` is connected to.
struct HostWithJobs {
  explicit HostWithJobs(Display* x) : host(x, 0, 0, 600, 400) {
    QelMotifScrollBarModuleInit();
    QelMotifMessageLabelModuleInit();
    const char* names[] = {"a", "b", "c"};
    chart = static_cast<Ko_chart*>(chartConstructor(host.board(), const_cast<char**>(names), 3));
    if (!chart || !host.realize()) return;
    setViewableTime(chart, 10);
    for (int row = 0; row < 3; ++row) startJobTracking(chart, names[row], 1, nullptr);
    setElapsedTime(chart, 9);
    updateActiveJobs(chart, 9);
    stopJobTracking(chart, 1, 1);
    stopJobTracking(chart, 2, 0);
    host.settle();
  }
  ~HostWithJobs() { chartDestructor(chart); }
  Image shot() {
    host.settle();
    Dimension w = 0, h = 0;
    XtVaGetValues(chart->getWidget(), XmNwidth, &w, XmNheight, &h, nullptr);
    return readWindow(host.xDisplay(), XtWindow(chart->getWidget()), 0, 0, w, h);
  }
  void resize(int width, int height) {
    XtVaSetValues(host.shell(), XmNwidth, Dimension(width), XmNheight, Dimension(height), nullptr);
    host.settle();
  }
  MotifHost host;
  Ko_chart* chart = nullptr;
};

class JobChartServerTest : public DisplayTest {
 protected:
  void SetUp() override { setenv("QELHOME", "/usr/share/kestrel/", 1); }
};

TEST_F(JobChartServerTest, HostErrorsAndSizesFromOnePixelToTheLargestKeepTheJobsDrawn) {
  HostWithJobs jobs(xDisplay);
  ASSERT_NE(jobs.chart, nullptr);
  const QelRect area = jobs.chart->getChartArea();
  // Errors of the host's own first: freeing what does not exist, drawing on a destroyed window.
  Window own = XCreateSimpleWindow(xDisplay, DefaultRootWindow(xDisplay), 0, 0, 10, 10, 0, 0, 0);
  XDestroyWindow(xDisplay, own);
  XFreePixmap(xDisplay, own);
  XFillRectangle(xDisplay, own, DefaultGC(xDisplay, 0), 0, 0, 5, 5);
  XSync(xDisplay, False);
  CapturedMessages messages;
  // Tiny, wrapped-around heights, then wider than a pixmap may be (the double buffer cannot
  // follow) and as large as a window may be, with the jobs far beyond 16-bit coordinates.
  for (auto [w, h] : std::vector<std::pair<int, int>>{{800, 500},
                                                      {300, 200},
                                                      {1, 1},
                                                      {300, 64},
                                                      {300, 30},
                                                      {40000, 300},
                                                      {65535, 65535},
                                                      {600, 400}}) {
    SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h));
    jobs.resize(w, h);
    updateActiveJobs(jobs.chart, 9);
  }
  QelRect beyond(0, 0, 300000, 200000);
  jobs.chart->handleResize(beyond);
  jobs.resize(640, 400);
  jobs.resize(600, 400);
  // The layout comes back where it was, however far the sizes went (give or take what the axis
  // labels of another width take).
  const QelRect back = jobs.chart->getChartArea();
  EXPECT_NEAR(back.x, area.x, 4);
  EXPECT_NEAR(back.y, area.y, 4);
  EXPECT_NEAR(back.w, area.w, 4);
  EXPECT_NEAR(back.h, area.h, 4);
  // Drawn straight to the window from then on, and said once.
  const std::string said =
      "QelContainer::setDoubleBuffering: Couldn't allocate the off-screen "
      "bitmap; drawing directly to the window";
  EXPECT_EQ(std::count(messages.warnings().begin(), messages.warnings().end(), said), 1);
  Image image = jobs.shot();
  EXPECT_GT(image.count(kGreen), 50u);
  EXPECT_GT(image.count(kRed), 50u);
  EXPECT_GT(image.count(kBlue), 50u);
}

// On 8 and 16 bits the colours are as near as the visual can show them; when another client has
// taken every free cell of an 8-bit colormap in near shades, the nearest of those: of the job
// colour's own hue, not black or grey.
TEST(JobChartVisualTest, JobColoursOnEightAndSixteenBitsAndAFullColormap) {
  setenv("QELHOME", "/usr/share/kestrel/", 1);
  for (auto [depth, full] : {std::pair(8, false), std::pair(16, false), std::pair(8, true)}) {
    SCOPED_TRACE(std::to_string(depth) + (full ? " full" : ""));
    XServer server;
    std::string error;
    ASSERT_TRUE(server.start({640, 480, depth}, &error)) << error;
    Display* x = openXtDisplay(server.displayName().c_str());
    Display* hog = XOpenDisplay(server.displayName().c_str());
    ASSERT_TRUE(x && hog);
    for (unsigned i = 0; full && i <= 4096; ++i) {
      XColor c{};
      c.red = uint16_t((i * 37 % 256) << 8 | 0x11);
      c.green = uint16_t((i * 91 % 256) << 8 | 0x22);
      c.blue = uint16_t((i * 53 % 256) << 8 | 0x33);
      c.flags = DoRed | DoGreen | DoBlue;
      XAllocColor(hog, DefaultColormap(hog, 0), &c);
    }
    unsigned long cell;  // none left
    EXPECT_FALSE(full &&
                 XAllocColorCells(hog, DefaultColormap(hog, 0), False, nullptr, 0, &cell, 1));
    XSync(hog, False);
    {
      HostWithJobs jobs(x);
      ASSERT_NE(jobs.chart, nullptr);
      Image image = jobs.shot();
      // Pixels where the colour's own component is bright and the others are weaker.
      auto dominant = [&](int shift) {
        size_t n = 0;
        for (uint32_t c : image.rgb) {
          int mine = int(c >> shift & 0xff);
          n += mine > 160 &&
               int(c >> (shift + 8) % 24 & 0xff) + int(c >> (shift + 16) % 24 & 0xff) < mine;
        }
        return n;
      };
      for (int shift : {8, 16, 0}) EXPECT_GT(dominant(shift), 50u) << shift;  // green, red, blue
    }
    XCloseDisplay(hog);
    closeXtDisplay(x);
  }
}

// The child's chart stays reachable: the process ends without destroying it.
Ko_chart* dyingChart;
HostWithJobs* dyingHost;

TEST(JobChartServerDeathTest, TheServerDyingEndsTheHostThroughTheInstalledHandlerAlone) {
  setenv("QELHOME", "/usr/share/kestrel/", 1);
  int out[2];
  ASSERT_EQ(pipe(out), 0);
  fflush(nullptr);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    close(out[0]);
    XServer* server = new XServer;
    std::string error;
    if (!server->start(&error)) _exit(90);
    Display* x = openXtDisplay(server->displayName().c_str());
    if (!x) _exit(91);
    dyingHost = new HostWithJobs(x);
    dyingChart = dyingHost->chart;
    if (!dyingChart) _exit(92);
    // Only what the handler says from here on reaches the parent.
    dup2(out[1], STDERR_FILENO);
    dup2(out[1], STDOUT_FILENO);
    for (int tick = 10; tick < 100000; ++tick) {
      if (tick == 20) server->stop();
      setElapsedTime(dyingChart, float(tick));
      updateActiveJobs(dyingChart, float(tick));
      XSync(x, False);
    }
    _exit(93);  // the dead server went unnoticed
  }
  close(out[1]);
  std::string said;
  char buffer[512];
  for (ssize_t n; (n = read(out[0], buffer, sizeof buffer)) > 0;) said.append(buffer, size_t(n));
  close(out[0]);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status)) << said;
  EXPECT_EQ(WEXITSTATUS(status), 1) << said;
  // Two lines, both the handler's: which display, and why.
  std::vector<std::string> lines;
  for (size_t at = 0, next; at < said.size(); at = next + 1) {
    next = said.find('\n', at);
    if (next == std::string::npos) next = said.size();
    lines.push_back(said.substr(at, next - at));
  }
  ASSERT_EQ(lines.size(), 2u) << said;
  EXPECT_EQ(lines[0].rfind("## IO Error on X display ", 0), 0u) << said;
  EXPECT_EQ(lines[1].rfind("## Error: ", 0), 0u) << said;
}

}  // namespace
}  // namespace kestrel::test
