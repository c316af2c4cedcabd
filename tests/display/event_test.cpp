#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <ostream>
#include <vector>

#include "display/event.h"
#include "tests/support/display_fixture.h"

#include <X11/Xatom.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace kestrel::test {
namespace {

constexpr int kLeft = 40, kTop = 30;

class EventTest : public DisplayTest {
 protected:
  void SetUp() override {
    Screen* screen = DefaultScreenOfDisplay(xDisplay);
    // Away from the root's origin, so that window and root coordinates differ.
    window = XCreateSimpleWindow(xDisplay, RootWindowOfScreen(screen), kLeft, kTop, 200, 150, 0,
                                 BlackPixelOfScreen(screen), WhitePixelOfScreen(screen));
    XSelectInput(xDisplay, window,
                 KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask |
                     EnterWindowMask | LeaveWindowMask | PointerMotionMask | ExposureMask |
                     VisibilityChangeMask | StructureNotifyMask | FocusChangeMask |
                     PropertyChangeMask);
    XMapWindow(xDisplay, window);
    ASSERT_TRUE(next(Expose));
    moveTo(kLeft + 100, kTop + 70);
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
  void click(unsigned int button) {
    XTestFakeButtonEvent(xDisplay, button, True, 0);
    XTestFakeButtonEvent(xDisplay, button, False, 0);
  }
  // The type and count of the next press.
  std::pair<int, int> nextPress() {
    if (!next(ButtonPress)) return {-1, -1};
    return {event.type, event.clickCount};
  }

  Window window = 0;
  XEvent raw;
  QelEvent event;
};

// What a translated event says, in one comparable line: type, button or key, modifiers, the
// position in the window and on the root.
struct Seen {
  int type, button, modifiers, x, y, globalX, globalY;
  bool operator==(const Seen& o) const {
    return type == o.type && button == o.button && modifiers == o.modifiers && x == o.x &&
           y == o.y && globalX == o.globalX && globalY == o.globalY;
  }
};
std::ostream& operator<<(std::ostream& out, const Seen& s) {
  return out << s.type << " " << s.button << " " << s.modifiers << " (" << s.x << "," << s.y
             << ") (" << s.globalX << "," << s.globalY << ")";
}
Seen seen(const QelEvent& e) {
  return {e.type, e.button, e.modifiers, e.x, e.y, e.globalX, e.globalY};
}
constexpr int L = kLeft, T = kTop;

TEST_F(EventTest, KeysGiveTheirCharacterModifiersAndPosition) {
  XSetInputFocus(xDisplay, window, RevertToParent, CurrentTime);
  ASSERT_TRUE(next(FocusIn));
  EXPECT_EQ(event.type, QelKeyboardFocusIn);
  EXPECT_EQ(event.window, window);

  key(XK_Shift_L, true);
  key(XK_a, true);
  key(XK_a, false);
  key(XK_Shift_L, false);
  key(XK_Left, true);
  key(XK_Left, false);
  // Whatever key the server has on Mod1 is the mnemonic modifier.
  XModifierKeymap* map = XGetModifierMapping(xDisplay);
  KeyCode alt = map->modifiermap[Mod1MapIndex * map->max_keypermod];
  XFreeModifiermap(map);
  ASSERT_NE(alt, 0);
  XTestFakeKeyEvent(xDisplay, alt, True, 0);
  key(XK_b, true);
  key(XK_b, false);
  XTestFakeKeyEvent(xDisplay, alt, False, 0);
  const int shift = XK_Shift_L & 0xffff;
  const std::pair<int, Seen> expected[] = {
      {KeyPress, {QelKeyDown, shift, 0, 100, 70, L + 100, T + 70}},
      {KeyPress, {QelKeyDown, 'A', QelShiftModifier, 100, 70, L + 100, T + 70}},
      {KeyRelease, {QelKeyUp, 'A', QelShiftModifier, 100, 70, L + 100, T + 70}},
      {KeyRelease, {QelKeyUp, shift, QelShiftModifier, 100, 70, L + 100, T + 70}},
      {KeyPress, {QelKeyDown, QelLeftArrowKey, 0, 100, 70, L + 100, T + 70}},
      {KeyRelease, {QelKeyUp, QelLeftArrowKey, 0, 100, 70, L + 100, T + 70}},
      {KeyPress, {QelKeyDown, -1, -1, 100, 70, L + 100, T + 70}},  // the Mod1 key itself
      {KeyPress, {QelKeyDown, 'b', QelMnemonicModifier, 100, 70, L + 100, T + 70}},
  };
  for (const auto& [xType, want] : expected) {
    ASSERT_TRUE(next(xType));
    Seen got = seen(event);
    if (want.button == -1) got.button = got.modifiers = -1;
    EXPECT_EQ(got, want);
    EXPECT_EQ(event.xEvent, &raw);
    EXPECT_EQ(event.time, uint32_t(raw.xkey.time));
  }
  XSetInputFocus(xDisplay, PointerRoot, RevertToPointerRoot, CurrentTime);
  ASSERT_TRUE(next(FocusOut));
  EXPECT_EQ(event.type, QelKeyboardFocusOut);
}

TEST_F(EventTest, PointerEventsGiveButtonBitsPositionsAndHeldButtons) {
  moveTo(5, 5);
  moveTo(L + 10, T + 20);
  moveTo(L + 30, T + 40);
  XTestFakeButtonEvent(xDisplay, 3, True, 0);
  moveTo(L + 31, T + 41);
  XTestFakeButtonEvent(xDisplay, 1, True, 0);
  XTestFakeButtonEvent(xDisplay, 3, False, 0);
  XTestFakeButtonEvent(xDisplay, 1, False, 0);
  const std::pair<int, Seen> expected[] = {
      {LeaveNotify, {QelLeaveWindow, 0, 0, -35, -25, 5, 5}},
      {EnterNotify, {QelEnterWindow, 0, 0, 10, 20, L + 10, T + 20}},
      {MotionNotify, {QelPointerMoved, 0, 0, 10, 20, L + 10, T + 20}},  // the move that entered
      {MotionNotify, {QelPointerMoved, 0, 0, 30, 40, L + 30, T + 40}},
      {ButtonPress, {QelButtonDown, QelRightButton, 0, 30, 40, L + 30, T + 40}},
      {MotionNotify,
       {QelButtonDragged, QelRightButton, QelRightButtonModifier, 31, 41, L + 31, T + 41}},
      {ButtonPress, {QelButtonDown, QelLeftButton, QelRightButtonModifier, 31, 41, L + 31, T + 41}},
      // The released button is no longer held; the other one still is.
      {ButtonRelease, {QelButtonUp, QelRightButton, QelLeftButtonModifier, 31, 41, L + 31, T + 41}},
      {ButtonRelease, {QelButtonUp, QelLeftButton, 0, 31, 41, L + 31, T + 41}},
  };
  for (const auto& [xType, want] : expected) {
    ASSERT_TRUE(next(xType));
    EXPECT_EQ(seen(event), want);
  }

  // A drag skips the queued motion and lands where the pointer is now.
  XTestFakeButtonEvent(xDisplay, 2, True, 0);
  for (int i = 1; i <= 3; ++i) moveTo(L + 50 + i * 10, T + 60);
  XTestFakeButtonEvent(xDisplay, 2, False, 0);
  ASSERT_TRUE(next(ButtonRelease));  // every motion before it is queued now
  ASSERT_TRUE(next(MotionNotify));
  EXPECT_EQ(seen(event), (Seen{QelButtonDragged, QelMiddleButton, QelMiddleButtonModifier, 60, 60,
                               L + 60, T + 60}));
  QelSkipMotionEvents(display, window, event);
  EXPECT_EQ(seen(event), (Seen{QelButtonDragged, QelMiddleButton, QelMiddleButtonModifier, 80, 60,
                               L + 80, T + 60}));
  EXPECT_FALSE(XCheckTypedWindowEvent(xDisplay, window, MotionNotify, &raw));
}

TEST_F(EventTest, StructureEventsGiveTheirGeometry) {
  XResizeWindow(xDisplay, window, 120, 90);
  ASSERT_TRUE(next(ConfigureNotify));
  XSync(xDisplay, False);
  while (XCheckTypedWindowEvent(xDisplay, window, Expose, &raw)) continue;
  EXPECT_EQ(event.type, QelConfigure);
  EXPECT_EQ(std::make_pair(event.width, event.height), std::make_pair(120, 90));

  XClearArea(xDisplay, window, 5, 6, 20, 10, True);
  ASSERT_TRUE(next(Expose));
  EXPECT_EQ(seen(event).type, QelExpose);
  EXPECT_EQ(std::vector<int>({event.x, event.y, event.width, event.height, event.count}),
            std::vector<int>({5, 6, 20, 10, 0}));

  XUnmapWindow(xDisplay, window);
  XMapWindow(xDisplay, window);
  Window parent = mapWindow(xDisplay, 300, 300);
  XReparentWindow(xDisplay, window, parent, 7, 9);
  // Events the toolkit has no use for are "none".
  long value = 1;
  XChangeProperty(xDisplay, window, XA_INTEGER, XA_INTEGER, 32, PropModeReplace,
                  reinterpret_cast<unsigned char*>(&value), 1);
  for (auto [xType, type] :
       {std::pair(UnmapNotify, QelUnmap), std::pair(MapNotify, QelMap),
        std::pair(VisibilityNotify, QelVisibility), std::pair(ReparentNotify, QelReparent),
        std::pair(PropertyNotify, QelNoEvent)}) {
    ASSERT_TRUE(next(xType));
    EXPECT_EQ(event.type, type) << xType;
    if (xType == VisibilityNotify) {
      EXPECT_EQ(event.state, VisibilityUnobscured);
    }
    if (xType == ReparentNotify) {
      EXPECT_EQ(std::make_pair(event.x, event.y), std::make_pair(7, 9));
    }
  }
  XDestroyWindow(xDisplay, parent);
  ASSERT_TRUE(next(DestroyNotify));
  EXPECT_EQ(event.type, QelDestroy);
  EXPECT_EQ(event.window, window);
  window = 0;
}

TEST_F(EventTest, QuickPressesOfOneButtonAndModifiersCount) {
  EXPECT_EQ(QelGetDoubleClickPeriod(), 250u);
  using Press = std::pair<int, int>;
  for (int i = 0; i < 4; ++i) click(1);
  EXPECT_EQ(nextPress(), Press(QelButtonDown, 0));
  EXPECT_EQ(nextPress(), Press(QelDoubleClick, 2));
  EXPECT_EQ(nextPress(), Press(QelMultiClick, 3));
  EXPECT_EQ(nextPress(), Press(QelMultiClick, 4));

  // Another button, or the same one with another modifier, starts again.
  click(3);
  click(3);
  key(XK_Control_L, true);
  click(3);
  click(3);
  key(XK_Control_L, false);
  EXPECT_EQ(nextPress(), Press(QelButtonDown, 0));
  EXPECT_EQ(event.button, QelRightButton);
  EXPECT_EQ(nextPress(), Press(QelDoubleClick, 2));
  EXPECT_EQ(nextPress(), Press(QelButtonDown, 0));
  EXPECT_EQ(event.modifiers, QelCtrlModifier);
  EXPECT_EQ(nextPress(), Press(QelDoubleClick, 2));

  // A press after the period starts again.
  QelSetDoubleClickPeriod(30);
  click(1);
  ASSERT_EQ(nextPress(), Press(QelButtonDown, 0));
  usleep(150 * 1000);
  click(1);
  EXPECT_EQ(nextPress(), Press(QelButtonDown, 0));
  QelSetDoubleClickPeriod(250);
}

}  // namespace
}  // namespace kestrel::test
