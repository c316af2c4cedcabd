#include "tests/support/motif_host.h"

#include <X11/Shell.h>
#include <X11/extensions/XTest.h>
#include <Xm/BulletinB.h>
#include <Xm/Xm.h>
#include <unistd.h>

#include <chrono>

namespace kestrel::test {

MotifHost::MotifHost(Display* xDisplay, int x, int y, int width, int height)
    : _xDisplay(xDisplay), _context(XtDisplayToApplicationContext(xDisplay)) {
  _shell = XtVaAppCreateShell("host", "Tessellar", applicationShellWidgetClass, xDisplay, XmNx,
                              Position(x), XmNy, Position(y), XmNwidth, Dimension(width), XmNheight,
                              Dimension(height), nullptr);
  _board = XtVaCreateManagedWidget("board", xmBulletinBoardWidgetClass, _shell, XmNmarginWidth, 0,
                                   XmNmarginHeight, 0, XmNresizePolicy, XmRESIZE_NONE, XmNwidth,
                                   Dimension(width), XmNheight, Dimension(height), nullptr);
}

MotifHost::~MotifHost() {
  XTestFakeMotionEvent(_xDisplay, -1, 0, 0, 0);
  XtDestroyWidget(_shell);
  settle();
}

bool MotifHost::realize() {
  XtRealizeWidget(_shell);
  Window window = XtWindow(_shell);
  bool mapped = pumpUntil([&] {
    XWindowAttributes attributes;
    return XGetWindowAttributes(_xDisplay, window, &attributes) &&
           attributes.map_state == IsViewable;
  });
  XSetInputFocus(_xDisplay, window, RevertToParent, CurrentTime);
  settle();
  return mapped;
}

bool MotifHost::pumpUntil(const std::function<bool()>& done) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    dispatch();
  }
  return true;
}

bool MotifHost::dispatch() {
  XSync(_xDisplay, False);
  if (XtAppPending(_context)) return XtAppProcessEvent(_context, XtIMAll), true;
  return usleep(1000), false;
}

void MotifHost::settle() {
  for (int quiet = 0; quiet < 20;) quiet = dispatch() ? 0 : quiet + 1;
}

void MotifHost::moveTo(int rootX, int rootY) {
  XTestFakeMotionEvent(_xDisplay, -1, rootX, rootY, 0);
  XSync(_xDisplay, False);
}

void MotifHost::moveTo(Widget widget, int x, int y) {
  int rootX = 0, rootY = 0;
  Window child;
  XTranslateCoordinates(_xDisplay, XtWindow(widget), DefaultRootWindow(_xDisplay), x, y, &rootX,
                        &rootY, &child);
  moveTo(rootX, rootY);
}

void MotifHost::button(unsigned int button, bool down) {
  XTestFakeButtonEvent(_xDisplay, button, down, 0);
  XSync(_xDisplay, False);
}

void MotifHost::click(unsigned int which) {
  button(which, true);
  button(which, false);
}

void MotifHost::key(unsigned long keysym, bool down) {
  XTestFakeKeyEvent(_xDisplay, XKeysymToKeycode(_xDisplay, keysym), down, 0);
  XSync(_xDisplay, False);
}

void MotifHost::type(unsigned long keysym) {
  key(keysym, true);
  key(keysym, false);
}

}  // namespace kestrel::test
