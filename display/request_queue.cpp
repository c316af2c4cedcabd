#include "display/request_queue.h"

void QelRequestQueue::target(Display* x, Drawable drawable, GC gc) {
  if (drawable == _drawable && gc == _gc && x == _x) return;
  send();
  _x = x, _drawable = drawable, _gc = gc;
}

void QelRequestQueue::addSegment(Display* x, Drawable drawable, GC gc, const XSegment& segment) {
  target(x, drawable, gc);
  _segments.push_back(segment);
}

void QelRequestQueue::addRectangles(Display* x, Drawable drawable, GC gc,
                                    const std::vector<XRectangle>& shape, int dx, int dy) {
  target(x, drawable, gc);
  for (XRectangle r : shape) {
    r.x = short(r.x + dx), r.y = short(r.y + dy);
    _rectangles.push_back(r);
  }
}

void QelRequestQueue::send() {
  // Xlib splits each call into as many requests as the server's request size needs.
  if (!_segments.empty())
    XDrawSegments(_x, _drawable, _gc, _segments.data(), int(_segments.size()));
  if (!_rectangles.empty())
    XFillRectangles(_x, _drawable, _gc, _rectangles.data(), int(_rectangles.size()));
  _segments.clear();
  _rectangles.clear();
  _x = nullptr, _drawable = 0, _gc = nullptr;
}
