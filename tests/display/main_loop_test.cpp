#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <tuple>
#include <vector>

#include "display/main_loop.h"
#include "tests/support/display_fixture.h"

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
      if (std::chrono::steady_clock::now() > deadline || !_QelProcessInput()) return false;
    }
    return true;
  }
};

void count(QelTimer*, void* counter) {
  ++*static_cast<int*>(counter);
}

TEST_F(MainLoopTest, TimersFireEveryPeriodUntilSuspended) {
  int fired = 0, idle = 0, clock = 0, redirected = 0;
  QelTimer timer(display, 0, 10, count, &fired), stopped(display, 0, 0, count, &idle);
  timer.run();
  stopped.run();  // a period of 0 does not run
  EXPECT_FALSE(stopped.isRunning());
  ASSERT_TRUE(processUntil([&] { return fired >= 3; }));
  timer.suspend();
  QelTimer slow(display, 0, 100, count, &clock);
  slow.run();
  ASSERT_TRUE(processUntil([&] { return clock >= 1; }));
  EXPECT_EQ(fired, 3);
  EXPECT_EQ(idle, 0);

  // A new period starts it again; setProc redirects the firings.
  timer.setProc(count, &redirected);
  timer.run(0, 5);
  ASSERT_TRUE(processUntil([&] { return redirected >= 2; }));
  EXPECT_EQ(fired, 3);

  // Periods are counted in 64 bits: long ones neither wrap nor overflow, negative ones stop.
  using Row = std::tuple<int, int, uint32_t, bool>;
  for (auto [seconds, milliseconds, period, running] :
       {Row{3000000, 0, 3000000000u, true}, Row{INT32_MAX, 999, UINT32_MAX, true},
        Row{-1, 0, 0, false}, Row{0, -5, 0, false}, Row{1, -500, 500, true}}) {
    timer.run(seconds, milliseconds);
    EXPECT_EQ(std::make_pair(timer.getPeriod(), bool(timer.isRunning())),
              std::make_pair(period, running))
        << seconds << " s " << milliseconds << " ms";
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
  static bool deleted;
  deleted = false;
  QelTimer* once = new QelTimer(display, 0, 5, [](QelTimer* self, void*) {
    delete self;
    deleted = true;
  });
  once->run();
  int clock = 0;
  QelTimer slow(display, 0, 150, count, &clock);
  slow.run();
  ASSERT_TRUE(processUntil([&] { return clock >= 1 && deleted; }));
  EXPECT_EQ(timer.armedDuringDoIt, (std::vector<int>{1, 1}));
  EXPECT_FALSE(timer.isRunning());
}

}  // namespace
}  // namespace kestrel::test
