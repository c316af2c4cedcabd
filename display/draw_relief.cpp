// Relief and symbol drawing for gadgets and charts: bevelled frames, etched lines, arrow heads
// and markers, each composed of the basic operations. A dump device receives the figure itself.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "display/display.h"
#include "display/drawing_scope.h"
#include "display/dump_device.h"
#include "display/port.h"

#include <X11/Xutil.h>

namespace {

// Larger diamonds are rare and drawn as polygons: their pixels are not worth remembering.
constexpr uint16_t kLargestQueuedDiamond = 64;

QelRect rectAt(int64_t x, int64_t y, int64_t w, int64_t h) {
  return QelRect(QelClampToInt32(x), QelClampToInt32(y), uint32_t(std::max<int64_t>(w, 0)),
                 uint32_t(std::max<int64_t>(h, 0)));
}

// The rectangles that cover the set pixels of a depth-1 image, one per run of a row, each
// stretched over the rows above and below that contain its run whole.
std::vector<XRectangle> coveringRectangles(XImage* image, int width, int height) {
  auto set = [&](int x, int y) { return XGetPixel(image, x, y) != 0; };
  auto contains = [&](int y, int x0, int x1) {
    for (int x = x0; x <= x1; ++x)
      if (!set(x, y)) return false;
    return true;
  };
  std::vector<XRectangle> rects;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      if (!set(x, y) || (x > 0 && set(x - 1, y))) continue;
      int x1 = x;
      while (x1 + 1 < width && set(x1 + 1, y)) ++x1;
      int top = y, bottom = y;
      while (top > 0 && contains(top - 1, x, x1)) --top;
      while (bottom + 1 < height && contains(bottom + 1, x, x1)) ++bottom;
      XRectangle r{short(x), short(top), (unsigned short)(x1 - x + 1),
                   (unsigned short)(bottom - top + 1)};
      bool known = false;
      for (const XRectangle& k : rects)
        known = known || (k.x == r.x && k.y == r.y && k.width == r.width && k.height == r.height);
      if (!known) rects.push_back(r);
    }
  return rects;
}

}  // namespace

bool QelDisplay::queueFilledDiamond(QelPort* port, const QelPalette* palette,
                                    const QelPoint& centre, uint16_t size) const {
  if (size > kLargestQueuedDiamond || palette->getMode() != QelDrawModeSet ||
      !QelCanDraw(this, port, palette))
    return false;
  // Where the server would fill it, the rectangles must land exactly: 16-bit coordinates.
  const int64_t left = int64_t(centre.x) - size - 1, top = int64_t(centre.y) - size - 1;
  if (left < -32768 || top < -32768 || left + 2 * size + 2 > 32767 || top + 2 * size + 2 > 32767)
    return false;
  auto known = _diamonds.find(size);
  if (known == _diamonds.end()) {
    // The server fills one on a bitmap, and the rectangles cover what it filled: the same
    // pixels as the polygon, wherever it is moved by whole pixels.
    const int side = 2 * size + 3, c = size + 1, s = size;
    Pixmap bitmap = XCreatePixmap(_xDisplay, _gcDrawable, unsigned(side), unsigned(side), 1);
    GC gc = XCreateGC(_xDisplay, bitmap, 0, nullptr);
    XSetForeground(_xDisplay, gc, 0);
    XFillRectangle(_xDisplay, bitmap, gc, 0, 0, unsigned(side), unsigned(side));
    XSetForeground(_xDisplay, gc, 1);
    XPoint diamond[5] = {{short(c - s), short(c)},
                         {short(c), short(c - s)},
                         {short(c + s), short(c)},
                         {short(c), short(c + s)},
                         {short(c - s), short(c)}};
    XFillPolygon(_xDisplay, bitmap, gc, diamond, 5, Convex, CoordModeOrigin);
    XImage* image = XGetImage(_xDisplay, bitmap, 0, 0, unsigned(side), unsigned(side), 1, XYPixmap);
    XFreeGC(_xDisplay, gc);
    XFreePixmap(_xDisplay, bitmap);
    if (!image) return false;
    known = _diamonds.emplace(size, coveringRectangles(image, side, side)).first;
    XDestroyImage(image);
  }
  QelDrawingScope scope(this, port, true);
  _queue.addRectangles(_xDisplay, port->getDrawable(), drawingGC(palette), known->second, int(left),
                       int(top));
  return true;
}

void QelDisplay::drawShadowRectangle(QelPort* port, const QelPalette* top, const QelPalette* bottom,
                                     const QelRect& rect, uint16_t thickness) const {
  if (!port || !top || !bottom) return;
  if (_dumpDevice) return _dumpDevice->drawShadowRectangle(port, top, bottom, rect, thickness);
  QelTraceDrawing("drawShadowRectangle", port, "%d %d %u %u %u", rect.x, rect.y, rect.w, rect.h,
                  unsigned(thickness));
  int64_t x = rect.x, y = rect.y, w = rect.w, h = rect.h;
  int64_t t = std::min<int64_t>(thickness, std::min(w, h) / 2);
  QelDrawingScope scope(this, port);
  // Layer i is a one-pixel frame i pixels in. The corners where the two shades meet are cut
  // diagonally: the top palette stops just before the top-right and bottom-left pixels.
  for (int64_t i = 0; i < t; ++i) {
    fillRectangle(port, top, rectAt(x + i, y + i, w - 1 - 2 * i, 1));
    fillRectangle(port, top, rectAt(x + i, y + i + 1, 1, h - 2 - 2 * i));
    fillRectangle(port, bottom, rectAt(x + i, y + h - 1 - i, w - 2 * i, 1));
    fillRectangle(port, bottom, rectAt(x + w - 1 - i, y + i, 1, h - 1 - 2 * i));
  }
}

void QelDisplay::drawReliefRectangle(QelPort* port, const QelPalette* face, const QelPalette* top,
                                     const QelPalette* bottom, const QelRect& rect,
                                     uint16_t thickness) const {
  if (!port || !top || !bottom) return;
  if (_dumpDevice)
    return _dumpDevice->drawReliefRectangle(port, face, top, bottom, rect, thickness);
  QelTraceDrawing("drawReliefRectangle", port, "%d %d %u %u %u", rect.x, rect.y, rect.w, rect.h,
                  unsigned(thickness));
  int64_t t = std::min<int64_t>(thickness, std::min(rect.w, rect.h) / 2);
  QelDrawingScope scope(this, port);
  if (face)
    fillRectangle(port, face,
                  rectAt(int64_t(rect.x) + t, int64_t(rect.y) + t, int64_t(rect.w) - 2 * t,
                         int64_t(rect.h) - 2 * t));
  drawShadowRectangle(port, top, bottom, rect, thickness);
}

void QelDisplay::drawReliefPolyline(QelPort* port, const QelPalette* top, const QelPalette* bottom,
                                    uint32_t count, const QelPoint* points,
                                    uint16_t thickness) const {
  if (!port || !top || !bottom || !points || count < 2) return;
  if (_dumpDevice)
    return _dumpDevice->drawReliefPolyline(port, top, bottom, count, points, thickness);
  QelTraceDrawing("drawReliefPolyline", port, "%u %d %d %u", count, points[0].x, points[0].y,
                  unsigned(thickness));
  // A ridge: the lit half of the layers up and to the left of the line, the shaded half below
  // and to the right.
  int lit = (std::max<int>(thickness, 1) + 1) / 2, shaded = thickness / 2;
  std::vector<QelPoint> layer(count);
  QelDrawingScope scope(this, port);
  for (int offset = 1 - lit; offset <= shaded; ++offset) {
    for (uint32_t i = 0; i < count; ++i)
      layer[i] = QelPoint(QelClampToInt32(int64_t(points[i].x) + offset),
                          QelClampToInt32(int64_t(points[i].y) + offset));
    drawPolyLine(port, offset <= 0 ? top : bottom, count, layer.data());
  }
}

void QelDisplay::drawArrow(QelPort* port, const QelPalette* palette, const QelRect& rect,
                           unsigned int direction) const {
  if (!port || !palette || rect.isEmpty()) return;
  if (_dumpDevice) return _dumpDevice->drawArrow(port, palette, rect, direction);
  QelTraceDrawing("drawArrow", port, "%d %d %u %u %u", rect.x, rect.y, rect.w, rect.h, direction);
  int64_t x0 = rect.x, y0 = rect.y, x1 = rect.right64(), y1 = rect.bottom64();
  int64_t cx = x0 + rect.w / 2, cy = y0 + rect.h / 2;
  auto at = [](int64_t px, int64_t py) {
    return QelPoint(QelClampToInt32(px), QelClampToInt32(py));
  };
  QelPoint head[3];
  switch (direction) {
    case QelRight:
      head[0] = at(x0, y0), head[1] = at(x1, cy), head[2] = at(x0, y1);
      break;
    case QelLeft:
      head[0] = at(x1, y0), head[1] = at(x0, cy), head[2] = at(x1, y1);
      break;
    case QelTop:
      head[0] = at(x0, y1), head[1] = at(cx, y0), head[2] = at(x1, y1);
      break;
    case QelBottom:
      head[0] = at(x0, y0), head[1] = at(cx, y1), head[2] = at(x1, y0);
      break;
    default:
      return;
  }
  fillPolyLine(port, palette, 3, head, 1);
}

void QelDisplay::drawMarker(QelPort* port, const QelPalette* palette, const QelPoint& point,
                            unsigned int type, uint16_t size) const {
  if (!port || !palette || !type) return;
  if (_dumpDevice) return _dumpDevice->drawMarker(port, palette, point, type, size);
  QelTraceDrawing("drawMarker", port, "%d %d %u %u", point.x, point.y, type, unsigned(size));
  if (type == QelMarkerFilledDiamond && queueFilledDiamond(port, palette, point, size)) return;
  const int64_t x = point.x, y = point.y, s = size;
  const int32_t left = QelClampToInt32(x - s), right = QelClampToInt32(x + s);
  const int32_t above = QelClampToInt32(y - s), below = QelClampToInt32(y + s);
  const QelRect box = rectAt(x - s, y - s, 2 * s, 2 * s);
  // One session around all the figures, however many bits are set.
  QelDrawingScope scope(this, port);
  if (type & QelMarkerFilledSquare) fillRectangle(port, palette, box);
  if (type & QelMarkerFilledDiamond) {
    const QelPoint diamond[5] = {
        {left, point.y}, {point.x, above}, {right, point.y}, {point.x, below}, {left, point.y}};
    fillPolyLine(port, palette, 5, diamond, 1);
  }
  if (type & QelMarkerFilledTriangle) {
    const QelPoint triangle[3] = {{left, below}, {point.x, above}, {right, below}};
    fillPolyLine(port, palette, 3, triangle, 1);
  }
  if (type & QelMarkerTriangle) {
    const QelPoint triangle[4] = {{left, below}, {point.x, above}, {right, below}, {left, below}};
    drawPolyLine(port, palette, 4, triangle);
  }
  if (type & QelMarkerDiamond) {
    const QelPoint diamond[5] = {
        {left, point.y}, {point.x, above}, {right, point.y}, {point.x, below}, {left, point.y}};
    drawPolyLine(port, palette, 5, diamond);
  }
  if (type & QelMarkerCircle) drawArc(port, palette, box, 0, 360);
  if (type & QelMarkerFilledCircle) fillArc(port, palette, box, 0, 360);
  if (type & QelMarkerCross) {
    drawLine(port, palette, QelPoint(left, above), QelPoint(right, below));
    drawLine(port, palette, QelPoint(left, below), QelPoint(right, above));
  }
  if (type & QelMarkerPlus) {
    drawLine(port, palette, QelPoint(left, point.y), QelPoint(right, point.y));
    drawLine(port, palette, QelPoint(point.x, above), QelPoint(point.x, below));
  }
  if (type & QelMarkerSquare) drawRectangle(port, palette, box);
}
