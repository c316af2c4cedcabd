// Drawing sessions, the drawing trace and the calls that move the X output buffer.
#include <cstdarg>
#include <cstdio>

#include "base/messages.h"
#include "display/display.h"
#include "display/drawing_scope.h"
#include "display/dump_device.h"
#include "display/port.h"

namespace {

int traceOn = 0;

}  // namespace

void QelSetDrawTrace(int on) {
  traceOn = on != 0;
}

int QelGetDrawTrace() {
  return traceOn;
}

void QelTraceDrawing(const char* operation, const QelPort* port, const char* format, ...) {
  if (!traceOn) return;
  std::printf("%s %p ", operation, static_cast<const void*>(port));
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
  std::putchar('\n');
  std::fflush(stdout);
}

QelDumpDevice::~QelDumpDevice() = default;

void QelDisplay::openDrawing(QelPort* port, const QelRegion* clip) {
  // A session needs a port: without one there is nothing to open, and operations keep opening
  // their own.
  if (!port) return;
  _drawingPort = port;
  _drawingClip = clip;
}

void QelDisplay::closeDrawing() {
  if (!_drawingPort) {
    QelFatalError("QelDisplay::closeDrawing called twice without open!");
    return;
  }
  _drawingPort = nullptr;
  _drawingClip = nullptr;
  _queue.send();
  // A session is one batch of drawing: it reaches the screen as a whole.
  if (_xDisplay && !_dumpDevice) XFlush(_xDisplay);
}

void QelDisplay::sendQueuedFigures() const {
  _queue.send();
}

void QelDisplay::flush() const {
  _queue.send();
  if (_xDisplay) XFlush(_xDisplay);
}

void QelDisplay::sync() const {
  _queue.send();
  if (_xDisplay) XSync(_xDisplay, False);
}

void QelDisplay::synchronize(int on) const {
  if (_xDisplay) XSynchronize(_xDisplay, on ? True : False);
}

void QelDisplay::bell(int percent) const {
  if (!_xDisplay) return;
  // XBell takes -100..100 and fails with BadValue outside it.
  XBell(_xDisplay, percent < -100 ? -100 : percent > 100 ? 100 : percent);
}
