#include "tests/support/display_fixture.h"

#include <X11/Xresource.h>

namespace kestrel::test {

Display* DisplayTest::xDisplay = nullptr;
QelDisplay* DisplayTest::display = nullptr;

Display* openXtDisplay(const char* displayName) {
  static bool initialized = false;
  if (!initialized) XtToolkitInitialize();
  initialized = true;
  XtAppContext app = XtCreateApplicationContext();
  int argc = 0;
  Display* display =
      XtOpenDisplay(app, displayName, "kestrel-test", "Tessellar", nullptr, 0, &argc, nullptr);
  if (!display) XtDestroyApplicationContext(app);
  return display;
}

void closeXtDisplay(Display* display) {
  if (!display) return;
  XtAppContext app = XtDisplayToApplicationContext(display);
  XtCloseDisplay(display);
  XtDestroyApplicationContext(app);
}

void putResources(Display* display, const std::vector<std::string>& lines) {
  XrmDatabase database = XrmGetDatabase(display);
  for (const std::string& line : lines) XrmPutLineResource(&database, line.c_str());
  XrmSetDatabase(display, database);
}

Window mapWindow(Display* display, int width, int height) {
  int screen = DefaultScreen(display);
  Window window = XCreateSimpleWindow(display, RootWindow(display, screen), 0, 0, width, height, 0,
                                      BlackPixel(display, screen), WhitePixel(display, screen));
  XSelectInput(display, window, ExposureMask);
  XMapWindow(display, window);
  XEvent event;
  do XWindowEvent(display, window, ExposureMask, &event);
  while (event.type != Expose);
  return window;
}

PrivateDisplay::PrivateDisplay(const char* name, const XServer::Options& options) {
  if (!_server.start(options, &_error)) return;
  _x = openXtDisplay(_server.displayName().c_str());
  if (!_x) {
    _error = "cannot connect to " + _server.displayName();
    return;
  }
  _display = new QelDisplay(_x, name);
  if (!_display->getXDisplay()) {
    delete _display;
    _display = nullptr;
    _error = "the display could not be set up";
  }
}

PrivateDisplay::~PrivateDisplay() {
  delete _display;
  closeXtDisplay(_x);
}

void DisplayTest::SetUpTestSuite() {
  xDisplay = openXtDisplay();
  ASSERT_NE(xDisplay, nullptr);
  display = new QelDisplay(xDisplay, "kestrel-test");
  ASSERT_NE(display->getXDisplay(), nullptr);
}

void DisplayTest::TearDownTestSuite() {
  delete display;
  display = nullptr;
  closeXtDisplay(xDisplay);
  xDisplay = nullptr;
}

void DisplayTest::TearDown() {
  for (auto& port : _ports) XDestroyWindow(xDisplay, port->getDrawable());
  _ports.clear();
  XSync(xDisplay, False);
}

QelPort* DisplayTest::windowPort(int width, int height) {
  Window window = mapWindow(xDisplay, width, height);
  _ports.push_back(std::make_unique<QelPort>(display, window, width, height));
  return _ports.back().get();
}

Image DisplayTest::read(QelPort* port) const {
  XSync(xDisplay, False);
  return readDrawable(xDisplay, port->getDrawable(), display->getVisual(),
                      DefaultColormap(xDisplay, DefaultScreen(xDisplay)), 0, 0, port->width(),
                      port->height());
}

}  // namespace kestrel::test
