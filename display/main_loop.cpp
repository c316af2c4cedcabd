#include "display/main_loop.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "display/display.h"

namespace {

QelDispatchHook prehook = nullptr;
QelDispatchHook posthook = nullptr;

XtAppContext contextOf(const QelDisplay* display) {
  Display* xDisplay = display ? display->getXDisplay() : nullptr;
  return xDisplay ? XtDisplayToApplicationContext(xDisplay) : QelDisplay::GetAppContext();
}

}  // namespace

// Milliseconds in 64 bits, so long periods do not wrap; a negative period means stopped and one
// beyond 32 bits is held at the longest.
uint32_t QelTimer::periodOf(int seconds, int milliseconds) {
  int64_t period = int64_t(seconds) * 1000 + milliseconds;
  return uint32_t(std::clamp<int64_t>(period, 0, UINT32_MAX));
}

QelTimer::QelTimer(QelDisplay* display, int seconds, int milliseconds, Procedure procedure,
                   void* userArg)
    : _display(display),
      _userArg(userArg),
      _period(periodOf(seconds, milliseconds)),
      _proc(procedure) {}

QelTimer::~QelTimer() {
  suspend();
}

void QelTimer::run() {
  suspend();
  if (_period) arm();
}

void QelTimer::run(int seconds, int milliseconds) {
  _period = periodOf(seconds, milliseconds);
  run();
}

void QelTimer::suspend() {
  if (_id) XtRemoveTimeOut(_id);
  _id = 0;
}

void QelTimer::setProc(Procedure procedure, void* userArg) {
  _proc = procedure;
  _userArg = userArg;
}

void QelTimer::doIt() {
  if (_proc) _proc(this, _userArg);
}

void QelTimer::arm() {
  XtAppContext context = contextOf(_display);
  if (context) _id = XtAppAddTimeOut(context, _period, fire, this);
}

void QelTimer::fire(XtPointer data, XtIntervalId*) {
  QelTimer* timer = static_cast<QelTimer*>(data);
  // Xt has dropped the timeout that fired: forget it before arming the next one.
  timer->_id = 0;
  timer->arm();
  timer->doIt();
}

void QelMainLoop() {
  XtAppContext context = QelDisplay::GetAppContext();
  if (!context) return;
  XEvent event;
  while (!XtAppGetExitFlag(context)) {
    XtAppNextEvent(context, &event);
    QelDispatchEvent(&event);
  }
}

QelDisplay* QelNextEvent(XEvent* event) {
  XtAppContext context = QelDisplay::GetAppContext();
  if (!context) return nullptr;
  XtAppNextEvent(context, event);
  return QelDisplay::Find(event->xany.display);
}

QelDispatchHook QelSetDispatchPrehook(QelDispatchHook hook) {
  QelDispatchHook previous = prehook;
  prehook = hook;
  return previous;
}

QelDispatchHook QelSetDispatchPosthook(QelDispatchHook hook) {
  QelDispatchHook previous = posthook;
  posthook = hook;
  return previous;
}

int QelDispatchEvent(XEvent* event) {
  if (prehook && !prehook(event)) return 1;
  int result = XtDispatchEvent(event);
  if (posthook) posthook(event);
  return result;
}

int _QelProcessInput() {
  XtAppContext context = QelDisplay::GetAppContext();
  if (!context) return 0;
  XtAppProcessEvent(context, XtIMAll);
  return 1;
}

void QelExit(int status) {
  std::exit(status);
}

void QelDisplay::readAndDispatchEvents() {
  if (!_xDisplay) return;
  XEvent event;
  while (XPending(_xDisplay)) {
    XNextEvent(_xDisplay, &event);
    QelDispatchEvent(&event);
  }
}

void QelDisplay::waitAndDispatchEvents() {
  if (!_xDisplay) return;
  XEvent event;
  XNextEvent(_xDisplay, &event);
  QelDispatchEvent(&event);
}

int QelDisplay::hasEvents() const {
  return _xDisplay && XPending(_xDisplay) > 0;
}
