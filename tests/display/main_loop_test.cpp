#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <functional>
#include <vector>

#include "display/main_loop.h"
#include "tests/support/display_fixture.h"

#include <X11/extensions/XTest.h>

namespace kestrel::test {
namespace {

class MainLoopTest : public DisplayTest {
 protected:
  // Processes Xt input until `done` holds; false after a generous deadline.
  static bool processUntil(const std::function<bool()>& done) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    // A tick keeps the loop from blocking past the deadline when nothing else is due.
    QelTimer tick(display, 0, 50);
    tick.run();
    while (!done()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      if (!_QelProcessInput()) return false;
    }
    return true;
  }
};

void count(QelTimer*, void* counter) {
  ++*static_cast<int*>(counter);
}

TEST_F(MainLoopTest, TimersFireEveryPeriodUntilSuspended) {
  int fired = 0, idle = 0, clock = 0;
  QelTimer timer(display, 0, 10, count, &fired);
  QelTimer stopped(display, 0, 0, count, &idle);
  EXPECT_FALSE(timer.isRunning());
  timer.run();
  stopped.run();
  EXPECT_TRUE(timer.isRunning());
  EXPECT_FALSE(stopped.isRunning());
  ASSERT_TRUE(processUntil([&] { return fired >= 3; }));
  EXPECT_TRUE(timer.isRunning());

  timer.suspend();
  EXPECT_FALSE(timer.isRunning());
  QelTimer slow(display, 0, 100, count, &clock);
  slow.run();
  ASSERT_TRUE(processUntil([&] { return clock >= 1; }));
  EXPECT_EQ(fired, 3);
  EXPECT_EQ(idle, 0);

  // A new period starts it again; setProc redirects the firings.
  int redirected = 0;
  timer.setProc(count, &redirected);
  timer.run(0, 5);
  EXPECT_EQ(timer.getPeriod(), 5u);
  ASSERT_TRUE(processUntil([&] { return redirected >= 2; }));
  EXPECT_EQ(fired, 3);
  timer.run(0, 0);
  EXPECT_FALSE(timer.isRunning());

  // Periods are counted in 64 bits: long ones neither wrap nor overflow, negative ones stop.
  struct Case {
    int seconds, milliseconds;
    uint32_t period;
    bool running;
  };
  for (const Case& c : {Case{3000000, 0, 3000000000u, true}, Case{INT32_MAX, 999, UINT32_MAX, true},
                        Case{-1, 0, 0, false}, Case{0, -5, 0, false}, Case{1, -500, 500, true}}) {
    timer.run(c.seconds, c.milliseconds);
    EXPECT_EQ(timer.getPeriod(), c.period) << c.seconds << " s " << c.milliseconds << " ms";
    EXPECT_EQ(bool(timer.isRunning()), c.running) << c.seconds << " s " << c.milliseconds << " ms";
  }
  timer.suspend();
}

// Counts its firings and stops itself on the second, from inside doIt.
class TwoShots : public QelTimer {
 public:
  explicit TwoShots(QelDisplay* display) : QelTimer(display, 0, 5) {}
  void doIt() override {
    armedDuringDoIt.push_back(isRunning());
    if (armedDuringDoIt.size() == 2) suspend();
  }
  std::vector<int> armedDuringDoIt;
};

TEST_F(MainLoopTest, TimerIsRearmedBeforeDoItSoItMayStopOrDeleteItself) {
  TwoShots timer(display);
  timer.run();
  int clock = 0;
  QelTimer slow(display, 0, 150, count, &clock);
  slow.run();
  ASSERT_TRUE(processUntil([&] { return clock >= 1; }));
  EXPECT_EQ(timer.armedDuringDoIt, (std::vector<int>{1, 1}));
  EXPECT_FALSE(timer.isRunning());

  bool deleted = false;
  static bool* deletedFlag;
  deletedFlag = &deleted;
  QelTimer* once = new QelTimer(display, 0, 5, [](QelTimer* self, void*) {
    delete self;
    *deletedFlag = true;
  });
  once->run();
  ASSERT_TRUE(processUntil([&] { return deleted; }));
}

std::vector<XEvent> postSeen;
int xtDispatched = 0;
int swallow(XEvent*) {
  return 0;
}
int pass(XEvent*) {
  return 1;
}
int record(XEvent* event) {
  postSeen.push_back(*event);
  return 1;
}
Boolean countDispatch(XEvent*) {
  ++xtDispatched;
  return True;
}

TEST_F(MainLoopTest, HooksDecideWhatReachesXtAndSeeWhatDid) {
  Window window = mapWindow(xDisplay, 100, 100);
  XSelectInput(xDisplay, window, ButtonPressMask | ButtonReleaseMask);
  XtEventDispatchProc previous = XtSetEventDispatcher(xDisplay, ButtonPress, countDispatch);
  XTestFakeMotionEvent(xDisplay, -1, 50, 50, 0);
  XTestFakeButtonEvent(xDisplay, 1, True, 0);
  XTestFakeButtonEvent(xDisplay, 1, False, 0);
  XFlush(xDisplay);

  XEvent event;
  do ASSERT_EQ(QelNextEvent(&event), display);
  while (event.type != ButtonPress);
  EXPECT_EQ(QelSetDispatchPrehook(swallow), nullptr);
  EXPECT_EQ(QelSetDispatchPosthook(record), nullptr);
  EXPECT_EQ(QelDispatchEvent(&event), 1);
  EXPECT_EQ(xtDispatched, 0);
  EXPECT_TRUE(postSeen.empty());

  EXPECT_EQ(QelSetDispatchPrehook(pass), swallow);
  EXPECT_EQ(QelDispatchEvent(&event), True);
  EXPECT_EQ(xtDispatched, 1);
  ASSERT_EQ(postSeen.size(), 1u);
  EXPECT_EQ(postSeen[0].xbutton.window, window);

  // The display's own reading goes through the same hooks.
  postSeen.clear();
  XTestFakeButtonEvent(xDisplay, 3, True, 0);
  XTestFakeButtonEvent(xDisplay, 3, False, 0);
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while ((postSeen.empty() || postSeen.back().type != ButtonRelease) &&
         std::chrono::steady_clock::now() < deadline) {
    XSync(xDisplay, False);
    if (display->hasEvents())
      display->readAndDispatchEvents();
    else
      usleep(2000);
  }
  EXPECT_FALSE(display->hasEvents());
  ASSERT_GE(postSeen.size(), 2u);
  EXPECT_EQ(postSeen.back().type, ButtonRelease);
  EXPECT_EQ(postSeen.back().xbutton.button, 3u);
  EXPECT_EQ(xtDispatched, 2);

  EXPECT_EQ(QelSetDispatchPrehook(nullptr), pass);
  EXPECT_EQ(QelSetDispatchPosthook(nullptr), record);
  XtSetEventDispatcher(xDisplay, ButtonPress, previous);
  XDestroyWindow(xDisplay, window);
}

}  // namespace
}  // namespace kestrel::test
