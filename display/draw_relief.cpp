// Relief and symbol drawing for gadgets and charts: bevelled frames, etched lines, arrow heads
// and markers, each composed of the basic operations. A dump device receives the figure itself.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "display/display.h"
#include "display/drawing_scope.h"
#include "display/dump_device.h"
#include "display/port.h"

namespace {

QelRect rectAt(int64_t x, int64_t y, int64_t w, int64_t h) {
  return QelRect(QelClampToInt32(x), QelClampToInt32(y), uint32_t(std::max<int64_t>(w, 0)),
                 uint32_t(std::max<int64_t>(h, 0)));
}

}  // namespace

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
