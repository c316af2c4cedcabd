#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <tuple>

#include "display/event.h"
#include "tests/support/display_fixture.h"

#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace kestrel::test {
namespace {

constexpr int L = 40, T = 30;  // the window's place on the root

class EventTest : public DisplayTest {
 protected:
  void SetUp() override {
    Screen* screen = DefaultScreenOfDisplay(xDisplay);
    // Away from the root's origin, so that window and root coordinates differ.
    window = XCreateSimpleWindow(xDisplay, RootWindowOfScreen(screen), L, T, 200, 150, 0,
                                 BlackPixelOfScreen(screen), WhitePixelOfScreen(screen));
    XSelectInput(xDisplay, window,
                 KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask |
                     EnterWindowMask | LeaveWindowMask | PointerMotionMask | ExposureMask |
                     FocusChangeMask);
    XMapWindow(xDisplay, window);
    ASSERT_TRUE(next(Expose));
    moveTo(L + 100, T + 70);
    ASSERT_TRUE(next(EnterNotify));
    // Each test starts from an empty queue.
    XSync(xDisplay, False);
    while (XCheckWindowEvent(xDisplay, window, ~0L, &raw)) continue;
  }
  void TearDown() override {
    XTestFakeMotionEvent(xDisplay, -1, 1000, 900, 0);
    if (window) XDestroyWindow(xDisplay, window);
    XSync(xDisplay, False);
    DisplayTest::TearDown();
  }

  // Waits for the next event of that type for the window and translates it.
  bool next(int xType) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!XCheckTypedWindowEvent(xDisplay, window, xType, &raw)) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      XSync(xDisplay, False);
      usleep(2000);
    }
    QelDisplayDecodeEvent(display, &raw, event);
    return true;
  }
  void moveTo(int rootX, int rootY) { XTestFakeMotionEvent(xDisplay, -1, rootX, rootY, 0); }
  void key(KeySym keysym, bool down) {
    XTestFakeKeyEvent(xDisplay, XKeysymToKeycode(xDisplay, keysym), down, 0);
  }

  Window window = 0;
  XEvent raw;
  QelEvent event;
};

// What a translated event says, in one comparable line: type, button or key, modifiers, the
// position in the window and on the root.
using Seen = std::tuple<int, int, int, int, int, int, int>;
Seen seen(const QelEvent& e) {
  return {e.type, e.button, e.modifiers, e.x, e.y, e.globalX, e.globalY};
}

TEST_F(EventTest, KeysGiveTheirCharacterModifiersAndPosition) {
  XSetInputFocus(xDisplay, window, RevertToParent, CurrentTime);
  ASSERT_TRUE(next(FocusIn));
  EXPECT_EQ(event.type, QelKeyboardFocusIn);
  key(XK_Shift_L, true);
  key(XK_a, true);
  key(XK_a, false);
  key(XK_Shift_L, false);
  key(XK_Left, true);
  const int shift = XK_Shift_L & 0xffff, x = 100, y = 70, gx = L + 100, gy = T + 70;
  const std::pair<int, Seen> expected[] = {
      {KeyPress, {QelKeyDown, shift, 0, x, y, gx, gy}},
      {KeyPress, {QelKeyDown, 'A', QelShiftModifier, x, y, gx, gy}},
      {KeyRelease, {QelKeyUp, 'A', QelShiftModifier, x, y, gx, gy}},
      {KeyRelease, {QelKeyUp, shift, QelShiftModifier, x, y, gx, gy}},
      {KeyPress, {QelKeyDown, QelLeftArrowKey, 0, x, y, gx, gy}},
  };
  for (const auto& [xType, want] : expected) {
    ASSERT_TRUE(next(xType));
    EXPECT_EQ(seen(event), want);
    EXPECT_EQ(event.time, uint32_t(raw.xkey.time));
  }
  key(XK_Left, false);
  XSetInputFocus(xDisplay, PointerRoot, RevertToPointerRoot, CurrentTime);
  ASSERT_TRUE(next(FocusOut));
  EXPECT_EQ(event.type, QelKeyboardFocusOut);
}

TEST_F(EventTest, PointerEventsGiveButtonBitsPositionsAndHeldButtons) {
  moveTo(5, 5);
  moveTo(L + 10, T + 20);
  XTestFakeButtonEvent(xDisplay, 3, True, 0);
  moveTo(L + 31, T + 41);
  XTestFakeButtonEvent(xDisplay, 1, True, 0);
  XTestFakeButtonEvent(xDisplay, 3, False, 0);
  XTestFakeButtonEvent(xDisplay, 1, False, 0);
  const int x = 31, y = 41, gx = L + 31, gy = T + 41;
  const std::pair<int, Seen> expected[] = {
      {LeaveNotify, {QelLeaveWindow, 0, 0, -35, -25, 5, 5}},
      {EnterNotify, {QelEnterWindow, 0, 0, 10, 20, L + 10, T + 20}},
      {MotionNotify, {QelPointerMoved, 0, 0, 10, 20, L + 10, T + 20}},  // the move that entered
      {ButtonPress, {QelButtonDown, QelRightButton, 0, 10, 20, L + 10, T + 20}},
      {MotionNotify, {QelButtonDragged, QelRightButton, QelRightButtonModifier, x, y, gx, gy}},
      {ButtonPress, {QelButtonDown, QelLeftButton, QelRightButtonModifier, x, y, gx, gy}},
      // The released button is no longer held; the other one still is.
      {ButtonRelease, {QelButtonUp, QelRightButton, QelLeftButtonModifier, x, y, gx, gy}},
      {ButtonRelease, {QelButtonUp, QelLeftButton, 0, x, y, gx, gy}},
  };
  for (const auto& [xType, want] : expected) {
    ASSERT_TRUE(next(xType));
    EXPECT_EQ(seen(event), want);
  }
}

// Presses as the server sends them, in order: a press repeats the last when it comes less than
// the period (250 ms) after it, with the same button and modifiers.
TEST_F(EventTest, QuickPressesOfOneButtonAndModifiersCount) {
  const uint32_t wraps = UINT32_MAX - 9;  // the server's clock runs around
  using Press = std::tuple<uint32_t, unsigned, unsigned, int, int>;  // time, button, state
  const Press presses[] = {Press{1000, 1, 0, QelButtonDown, 0},
                           Press{1249, 1, 0, QelDoubleClick, 2},
                           Press{1400, 1, 0, QelMultiClick, 3},
                           Press{1649, 1, 0, QelMultiClick, 4},
                           Press{1899, 1, 0, QelButtonDown, 0},
                           Press{1900, 3, 0, QelButtonDown, 0},
                           Press{1901, 3, ControlMask, QelButtonDown, 0},
                           Press{1902, 3, ControlMask, QelDoubleClick, 2},
                           Press{wraps, 3, ControlMask, QelButtonDown, 0},
                           Press{5, 3, ControlMask, QelDoubleClick, 2}};
  for (auto [time, button, state, type, count] : presses) {
    XEvent press = {};
    press.xbutton.type = ButtonPress;
    press.xbutton.window = window;
    press.xbutton.time = time;
    press.xbutton.button = button;
    press.xbutton.state = state;
    QelDisplayDecodeEvent(display, &press, event);
    EXPECT_EQ(std::make_pair(event.type, event.clickCount), std::make_pair(type, count)) << time;
  }
}

}  // namespace
}  // namespace kestrel::test
