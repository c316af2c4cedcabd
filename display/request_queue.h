// Figures queued for one drawable and graphics context and sent as one request of each kind.
// A frame of a hundred thousand short lines and markers then costs the X server a few hundred
// requests instead of one a figure. Only figures whose pixels do not depend on the order they
// are drawn in are queued (the context copies its source), so lines and rectangles of one
// context may go out in any order; everything else keeps its place because the display sends
// the queue before any other request, and when a session ends.
#pragma once

#include <cstddef>
#include <vector>

#include <X11/Xlib.h>

class QelRequestQueue {
 public:
  void addSegment(Display* x, Drawable drawable, GC gc, const XSegment& segment);
  // The rectangles moved by (dx, dy).
  void addRectangles(Display* x, Drawable drawable, GC gc, const std::vector<XRectangle>& shape,
                     int dx, int dy);
  void send();
  // Sends what is queued for `gc` or `drawable` before either goes away or changes.
  void sendFor(GC gc) {
    if (gc == _gc) send();
  }
  void sendFor(Drawable drawable) {
    if (drawable == _drawable) send();
  }

 private:
  void target(Display* x, Drawable drawable, GC gc);

  Display* _x = nullptr;
  Drawable _drawable = 0;
  GC _gc = nullptr;
  std::vector<XSegment> _segments;
  std::vector<XRectangle> _rectangles;
};
