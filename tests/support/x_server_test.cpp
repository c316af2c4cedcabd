#include <cstdlib>
#include <memory>

#include <gtest/gtest.h>

#include "tests/support/pixels.h"

#include <X11/Xutil.h>
#include "tests/support/x_server.h"

namespace kestrel::test {
namespace {

struct DisplayCloser {
  void operator()(Display* d) const { XCloseDisplay(d); }
};
using DisplayPtr = std::unique_ptr<Display, DisplayCloser>;

// Maps a plain window and waits for its first exposure, so that what is drawn next stays.
Window mapWindow(Display* display, int width, int height, unsigned long background) {
  Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, width, height, 0,
                                      0, background);
  XSelectInput(display, window, ExposureMask);
  XMapWindow(display, window);
  XEvent event;
  do XNextEvent(display, &event);
  while (event.type != Expose);
  return window;
}

unsigned long allocate(Display* display, const char* name) {
  XColor color, exact;
  EXPECT_TRUE(XAllocNamedColor(display, DefaultColormap(display, DefaultScreen(display)), name,
                               &color, &exact));
  return color.pixel;
}

// Draws a red filled rectangle and a blue line on white with plain Xlib and reads them back.
void drawAndReadBack(Display* display, const std::string& name) {
  unsigned long white = allocate(display, "white"), red = allocate(display, "red"),
                blue = allocate(display, "blue");
  Window window = mapWindow(display, 40, 30, white);
  GC gc = XCreateGC(display, window, 0, nullptr);
  XSetForeground(display, gc, red);
  XFillRectangle(display, window, gc, 5, 5, 10, 8);
  XSetForeground(display, gc, blue);
  XDrawLine(display, window, gc, 0, 20, 39, 20);
  XSync(display, False);

  Image expected(40, 30, 0xffffff);
  expected.fillRect(5, 5, 10, 8, 0xff0000);
  expected.fillRect(0, 20, 40, 1, 0x0000ff);
  EXPECT_TRUE(imagesMatch(readWindow(display, window, 0, 0, 40, 30), expected, name));
  XFreeGC(display, gc);
  XDestroyWindow(display, window);
}

TEST(PrivateXServerTest, SharedServerIsTheProcessDisplay) {
  ASSERT_STREQ(std::getenv("DISPLAY"), PrivateXEnvironment::displayName());
  DisplayPtr display(XOpenDisplay(nullptr));
  ASSERT_TRUE(display);
  EXPECT_EQ(DefaultDepth(display.get(), 0), 24);
  EXPECT_EQ(DisplayWidth(display.get(), 0), 1280);
  EXPECT_EQ(DisplayHeight(display.get(), 0), 1024);
  drawAndReadBack(display.get(), "xlib-24bit");
}

TEST(PrivateXServerTest, OtherDepthsStartOnFreeDisplaysAndReadBackTheSameColours) {
  for (int depth : {8, 16}) {
    XServer server;
    std::string error;
    ASSERT_TRUE(server.start({320, 240, depth}, &error)) << error;
    EXPECT_NE(server.displayName(), PrivateXEnvironment::displayName());
    DisplayPtr display(XOpenDisplay(server.displayName().c_str()));
    ASSERT_TRUE(display);
    EXPECT_EQ(DefaultDepth(display.get(), 0), depth);
    EXPECT_EQ(DefaultVisual(display.get(), 0)->c_class, depth == 8 ? PseudoColor : TrueColor);
    drawAndReadBack(display.get(), "xlib-" + std::to_string(depth) + "bit");
  }
}

TEST(PrivateXServerTest, StoppedServerRefusesConnections) {
  XServer server;
  std::string error;
  // An odd size tells this server apart: tests running in parallel may start a server of their
  // own on the display number this one frees.
  ASSERT_TRUE(server.start({67, 61, 24}, &error)) << error;
  std::string name = server.displayName();
  server.stop();
  EXPECT_FALSE(server.isRunning());
  Display* display = XOpenDisplay(name.c_str());
  if (display) {
    EXPECT_FALSE(DisplayWidth(display, 0) == 67 && DisplayHeight(display, 0) == 61);
    XCloseDisplay(display);
  }
}

}  // namespace
}  // namespace kestrel::test
