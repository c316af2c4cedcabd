#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
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
  ASSERT_TRUE(next(KeyPress));  // Shift itself
  EXPECT_EQ(event.button, XK_Shift_L & 0xffff);
  ASSERT_TRUE(next(KeyPress));
  EXPECT_EQ(event.type, QelKeyDown);
  EXPECT_EQ(event.button, 'A');
  EXPECT_EQ(event.modifiers, QelShiftModifier);
  EXPECT_EQ(event.x, 100);
  EXPECT_EQ(event.y, 70);
  EXPECT_EQ(event.globalX, kLeft + 100);
  EXPECT_EQ(event.globalY, kTop + 70);
  EXPECT_EQ(event.xEvent, &raw);
  EXPECT_EQ(event.time, uint32_t(raw.xkey.time));
  ASSERT_TRUE(next(KeyRelease));
  EXPECT_EQ(event.type, QelKeyUp);
  EXPECT_EQ(event.button, 'A');
  ASSERT_TRUE(next(KeyRelease));  // Shift
  ASSERT_TRUE(next(KeyPress));
  EXPECT_EQ(event.button, QelLeftArrowKey);
  EXPECT_EQ(event.modifiers, 0);

  // Whatever key the server has on Mod1 is the mnemonic modifier.
  XModifierKeymap* map = XGetModifierMapping(xDisplay);
  KeyCode alt = map->modifiermap[Mod1MapIndex * map->max_keypermod];
  XFreeModifiermap(map);
  ASSERT_NE(alt, 0);
  XTestFakeKeyEvent(xDisplay, alt, True, 0);
  key(XK_b, true);
  key(XK_b, false);
  XTestFakeKeyEvent(xDisplay, alt, False, 0);
  ASSERT_TRUE(next(KeyPress));
  ASSERT_TRUE(next(KeyPress));
  EXPECT_EQ(event.button, 'b');
  EXPECT_EQ(event.modifiers, QelMnemonicModifier);

  XSetInputFocus(xDisplay, PointerRoot, RevertToPointerRoot, CurrentTime);
  ASSERT_TRUE(next(FocusOut));
  EXPECT_EQ(event.type, QelKeyboardFocusOut);
}

TEST_F(EventTest, PointerEventsGiveButtonBitsPositionsAndHeldButtons) {
  moveTo(5, 5);
  ASSERT_TRUE(next(LeaveNotify));
  EXPECT_EQ(event.type, QelLeaveWindow);
  moveTo(kLeft + 10, kTop + 20);
  ASSERT_TRUE(next(EnterNotify));
  EXPECT_EQ(event.type, QelEnterWindow);
  EXPECT_EQ(event.x, 10);
  EXPECT_EQ(event.y, 20);
  EXPECT_EQ(event.globalX, kLeft + 10);
  EXPECT_EQ(event.globalY, kTop + 20);
  ASSERT_TRUE(next(MotionNotify));  // the move that entered

  moveTo(kLeft + 30, kTop + 40);
  ASSERT_TRUE(next(MotionNotify));
  EXPECT_EQ(event.type, QelPointerMoved);
  EXPECT_EQ(event.button, 0);
  EXPECT_EQ(event.x, 30);
  EXPECT_EQ(event.y, 40);

  XTestFakeButtonEvent(xDisplay, 3, True, 0);
  moveTo(kLeft + 31, kTop + 41);
  XTestFakeButtonEvent(xDisplay, 1, True, 0);
  XTestFakeButtonEvent(xDisplay, 3, False, 0);
  XTestFakeButtonEvent(xDisplay, 1, False, 0);
  ASSERT_TRUE(next(ButtonPress));
  EXPECT_EQ(event.type, QelButtonDown);
  EXPECT_EQ(event.button, QelRightButton);
  EXPECT_EQ(event.x, 30);
  EXPECT_EQ(event.globalY, kTop + 40);
  ASSERT_TRUE(next(MotionNotify));
  EXPECT_EQ(event.type, QelButtonDragged);
  EXPECT_EQ(event.button, QelRightButton);
  EXPECT_EQ(event.modifiers, QelRightButtonModifier);
  ASSERT_TRUE(next(ButtonPress));
  EXPECT_EQ(event.button, QelLeftButton);
  EXPECT_EQ(event.clickCount, 0);
  ASSERT_TRUE(next(ButtonRelease));
  EXPECT_EQ(event.type, QelButtonUp);
  EXPECT_EQ(event.button, QelRightButton);
  // The released button is no longer held; the other one still is.
  EXPECT_EQ(event.modifiers, QelLeftButtonModifier);
  ASSERT_TRUE(next(ButtonRelease));
  EXPECT_EQ(event.button, QelLeftButton);
  EXPECT_EQ(event.modifiers, 0);

  // A drag skips the queued motion and lands where the pointer is now.
  XTestFakeButtonEvent(xDisplay, 2, True, 0);
  for (int i = 1; i <= 3; ++i) moveTo(kLeft + 50 + i * 10, kTop + 60);
  XTestFakeButtonEvent(xDisplay, 2, False, 0);
  ASSERT_TRUE(next(ButtonRelease));  // every motion before it is queued now
  ASSERT_TRUE(next(MotionNotify));
  EXPECT_EQ(event.type, QelButtonDragged);
  EXPECT_EQ(event.button, QelMiddleButton);
  EXPECT_EQ(event.x, 60);
  QelSkipMotionEvents(display, window, event);
  EXPECT_EQ(event.x, 80);
  EXPECT_EQ(event.globalX, kLeft + 80);
  EXPECT_EQ(event.button, QelMiddleButton);
  EXPECT_FALSE(XCheckTypedWindowEvent(xDisplay, window, MotionNotify, &raw));
}

TEST_F(EventTest, StructureEventsGiveTheirGeometry) {
  XResizeWindow(xDisplay, window, 120, 90);
  ASSERT_TRUE(next(ConfigureNotify));
  XSync(xDisplay, False);
  while (XCheckTypedWindowEvent(xDisplay, window, Expose, &raw)) continue;
  EXPECT_EQ(event.type, QelConfigure);
  EXPECT_EQ(event.width, 120);
  EXPECT_EQ(event.height, 90);

  XClearArea(xDisplay, window, 5, 6, 20, 10, True);
  ASSERT_TRUE(next(Expose));
  EXPECT_EQ(event.type, QelExpose);
  EXPECT_EQ(event.x, 5);
  EXPECT_EQ(event.y, 6);
  EXPECT_EQ(event.width, 20);
  EXPECT_EQ(event.height, 10);
  EXPECT_EQ(event.count, 0);

  XUnmapWindow(xDisplay, window);
  ASSERT_TRUE(next(UnmapNotify));
  EXPECT_EQ(event.type, QelUnmap);
  XMapWindow(xDisplay, window);
  ASSERT_TRUE(next(MapNotify));
  EXPECT_EQ(event.type, QelMap);
  ASSERT_TRUE(next(VisibilityNotify));
  EXPECT_EQ(event.type, QelVisibility);
  EXPECT_EQ(event.state, VisibilityUnobscured);

  Window parent = mapWindow(xDisplay, 300, 300);
  XReparentWindow(xDisplay, window, parent, 7, 9);
  ASSERT_TRUE(next(ReparentNotify));
  EXPECT_EQ(event.type, QelReparent);
  EXPECT_EQ(event.x, 7);
  EXPECT_EQ(event.y, 9);

  // Events the toolkit has no use for are "none".
  long value = 1;
  XChangeProperty(xDisplay, window, XA_INTEGER, XA_INTEGER, 32, PropModeReplace,
                  reinterpret_cast<unsigned char*>(&value), 1);
  ASSERT_TRUE(next(PropertyNotify));
  EXPECT_EQ(event.type, QelNoEvent);

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
