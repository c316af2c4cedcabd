// The library as a C host sees it: a program compiled as C against kestrel.h and linked with
// libKestrel.so.1 only, run on the private server, clicked with xdotool and read back.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "graphics/geometry.h"
#include "tests/support/pixels.h"
#include "tests/support/programs.h"
#include "tests/support/waiting.h"

#include <X11/Xutil.h>

namespace kestrel::test {
namespace {

constexpr uint32_t kGreen = 0x00ff00, kRed = 0xff0000, kBlue = 0x0000ff;

// The viewable window of that name (Xt also names an unmapped window of the application so).
Window findNamed(Display* x, Window window, const char* name) {
  char* found = nullptr;
  if (XFetchName(x, window, &found) && found) {
    bool match = std::string(found) == name;
    XFree(found);
    XWindowAttributes a;
    if (match && XGetWindowAttributes(x, window, &a) && a.map_state == IsViewable) return window;
  }
  Window root, parent, *list = nullptr;
  unsigned count = 0;
  if (!XQueryTree(x, window, &root, &parent, &list, &count)) return None;
  Window result = None;
  for (unsigned i = 0; i < count && !result; ++i) result = findNamed(x, list[i], name);
  if (list) XFree(list);
  return result;
}

class CHostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    x = XOpenDisplay(nullptr);
    ASSERT_NE(x, nullptr);
    // The host's window may come and go under the test's requests: failures are answers.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    host = std::make_unique<Program>(KESTREL_C_HOST, std::vector<std::string>{});
    ASSERT_TRUE(eventually([&] { return host->output().find("jobs 0 1 2") != std::string::npos; }))
        << host->output();
    ASSERT_TRUE(eventually([&] {
      window = findNamed(x, DefaultRootWindow(x), "kestrel_c_host");
      return window != None && extentOf(screen(), kGreen).w > 0;
    })) << "window "
        << window << " image " << screen().width << "x" << screen().height;
  }
  void TearDown() override {
    Image shot = screen();
    if (HasFailure() && shot.width) writePng(shot, outputDirectory() + "/c_host.png");
    host.reset();
    if (x) XCloseDisplay(x);
  }
  // The host's window as far as it is on the screen.
  Image screen() {
    XWindowAttributes a;
    if (!window || !XGetWindowAttributes(x, window, &a) || a.map_state != IsViewable)
      return Image();
    int rx = 0, ry = 0;
    Window child;
    XTranslateCoordinates(x, window, DefaultRootWindow(x), 0, 0, &rx, &ry, &child);
    int w = std::min(a.width, DisplayWidth(x, DefaultScreen(x)) - rx);
    int h = std::min(a.height, DisplayHeight(x, DefaultScreen(x)) - ry);
    if (w <= 0 || h <= 0) return Image();
    return readWindow(x, window, 0, 0, unsigned(w), unsigned(h));
  }
  void clickAt(const QelPoint& p) {
    Window child;
    int rx = 0, ry = 0;
    XTranslateCoordinates(x, window, DefaultRootWindow(x), p.x, p.y, &rx, &ry, &child);
    ASSERT_TRUE(xdotool({"mousemove", std::to_string(rx), std::to_string(ry), "click", "1"}));
  }

  Display* x = nullptr;
  std::unique_ptr<Program> host;
  Window window = None;
};

TEST_F(CHostTest, JobsShowTheirStateOnTheirRowsAndAClickSelectsAndCallsTheHostOnce) {
  Image image = screen();
  QelRect succeeded = extentOf(image, kBlue), failed = extentOf(image, kRed),
          running = extentOf(image, kGreen);
  ASSERT_GT(succeeded.w, 0u);
  ASSERT_GT(failed.w, 0u);
  ASSERT_GT(running.w, 0u);
  // Rows rise with their index: alpha lowest, gamma highest.
  EXPECT_GT(succeeded.y, failed.y);
  EXPECT_GT(failed.y, running.y);
  // 10 to 40 s, 20 to 60 s and 50 to 90 s on one time axis (markers widen each by 8 pixels).
  const double perSecond = double(int(running.w) - 8) / 40;
  EXPECT_NEAR(double(int(succeeded.w) - 8) / perSecond, 30, 2);
  EXPECT_NEAR(double(int(failed.w) - 8) / perSecond, 40, 2);
  EXPECT_NEAR((failed.x - succeeded.x) / perSecond, 10, 2);

  // Pointer motion alone calls nothing; a click on the failed job calls the host once with its
  // data and draws it six pixels wide.
  const size_t redBefore = image.count(kRed), blueBefore = image.count(kBlue);
  QelPoint middle(failed.x + int32_t(failed.w / 2), failed.y + int32_t(failed.h / 2));
  ASSERT_TRUE(xdotool({"mousemove", "5", "5"}));
  usleep(200000);
  EXPECT_EQ(host->output().find("clicked"), std::string::npos);
  clickAt(middle);
  ASSERT_TRUE(eventually([&] { return host->output().find("clicked 11") != std::string::npos; }));
  EXPECT_EQ(host->output().find("clicked", host->output().find("clicked 11") + 1),
            std::string::npos);
  ASSERT_TRUE(eventually([&] { return screen().count(kRed) > 2 * redBefore; }));
  // A second click moves the selection: the failed job is back to two pixels. (It comes after
  // the double-click period: a quicker one would be a double click, which selects nothing.)
  usleep(400000);
  QelPoint other(succeeded.x + int32_t(succeeded.w / 2), succeeded.y + int32_t(succeeded.h / 2));
  clickAt(other);
  ASSERT_TRUE(eventually([&] { return host->output().find("clicked 10") != std::string::npos; }));
  ASSERT_TRUE(eventually([&] { return screen().count(kBlue) > 2 * blueBefore; }));
  EXPECT_EQ(screen().count(kRed), redBefore);
}

}  // namespace
}  // namespace kestrel::test
