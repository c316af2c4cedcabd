// Shared by the display's drawing operations (not part of the toolkit's interface): the
// session a single operation opens when none is in progress, and the trace line it prints.
#pragma once

#include "display/display.h"
#include "display/port.h"

class QelDrawingScope {
 public:
  // Opens a session on `port` when none is open; the destructor closes only what it opened.
  // An operation that is not `queued` sends the queued figures first, so that they are drawn
  // before it.
  QelDrawingScope(const QelDisplay* display, QelPort* port, bool queued = false)
      : _display(display) {
    if (!queued) display->_queue.send();
    if (!display->_drawingPort) {
      display->_drawingPort = port;
      display->_drawingClip = nullptr;
      _opened = true;
    }
  }
  ~QelDrawingScope() {
    if (!_opened) return;
    _display->_drawingPort = nullptr;
    _display->_queue.send();
  }
  QelDrawingScope(const QelDrawingScope&) = delete;
  QelDrawingScope& operator=(const QelDrawingScope&) = delete;

 private:
  const QelDisplay* _display;
  bool _opened = false;
};

// Whether X can carry out a drawing operation: a connection, and the port's drawable and the
// palette's graphics context when they are given.
inline bool QelCanDraw(const QelDisplay* display, const QelPort* port, const QelPalette* palette) {
  return display->getXDisplay() && (!port || port->getDrawable()) && (!palette || palette->getGC());
}

// With the trace switch on, prints "OPERATION PORT " and the formatted geometry on standard
// output, then flushes. Does nothing when the switch is off.
void QelTraceDrawing(const char* operation, const QelPort* port, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
