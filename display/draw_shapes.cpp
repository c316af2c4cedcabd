// Points, lines, polygons, rectangles, arcs and curves. X coordinates are 16-bit: whatever
// could wrap is cut to the port, enlarged by a margin, in wide arithmetic before it goes out.
//
// Pixel conventions: an outline (rectangle, arc) covers w by h pixels, so X, which draws w+1
// by h+1, gets w-1 and h-1; a fill (rectangle, arc, polygon) is passed as it is, X filling
// exactly w by h. Bézier curves are cubic (points 0-3, 3-6, ...); a closed one is the open
// curve joined back to its first point by a straight line. Each path of drawPaths is an open
// polyline and each of fillPaths a polygon of its own.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "display/display.h"
#include "display/drawing_scope.h"
#include "display/dump_device.h"
#include "display/line_style.h"
#include "display/port.h"
#include "graphics/line_geometry.h"
#include "graphics/point_array.h"

namespace {

constexpr int64_t kXMin = -32768, kXMax = 32767;
constexpr int kFullCircle = 360 * 64;
constexpr double kPi = 3.14159265358979323846;

bool fits16(int64_t v) {
  return v >= kXMin && v <= kXMax;
}
bool fits16(const QelPoint& p) {
  return fits16(p.x) && fits16(p.y);
}

// A closed box of device coordinates.
struct Box {
  int32_t x0, y0, x1, y1;
  bool contains(const QelPoint& p) const {
    return p.x >= x0 && p.x <= x1 && p.y >= y0 && p.y <= y1;
  }
  bool misses(int64_t left, int64_t top, int64_t right, int64_t bottom) const {
    return right < x0 || left > x1 || bottom < y0 || top > y1;
  }
};

// The port enlarged by `margin` on every side, within what X can express.
Box portBox(const QelPort* port, int64_t margin) {
  return {int32_t(std::max(-margin, kXMin)), int32_t(std::max(-margin, kXMin)),
          int32_t(std::min(int64_t(port->width()) + margin, kXMax)),
          int32_t(std::min(int64_t(port->height()) + margin, kXMax))};
}

// Small arrays stay on the stack, so markers and short polylines allocate nothing.
template <typename T, size_t N = 64>
class Buffer {
 public:
  Buffer() = default;
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  void push(const T& value) {
    if (_size == _capacity) grow();
    _data[_size++] = value;
  }
  void clear() { _size = 0; }
  size_t size() const { return _size; }
  T* data() { return _data; }
  const T& operator[](size_t i) const { return _data[i]; }
  const T& back() const { return _data[_size - 1]; }

 private:
  void grow() {
    std::vector<T> bigger(_capacity * 2);
    std::copy(_data, _data + _size, bigger.begin());
    _heap.swap(bigger);
    _data = _heap.data();
    _capacity = _heap.size();
  }
  T _inline[N];
  std::vector<T> _heap;
  T* _data = _inline;
  size_t _size = 0, _capacity = N;
};

XPoint toX(const QelPoint& p) {
  return {short(p.x), short(p.y)};
}

bool thinSolid(const QelPalette* palette) {
  const QelLineStyle* style = palette->getLineStyle();
  return palette->getLineWidth() <= 1 && (!style || style->isSolid());
}

// How outlines reach X. Thin solid lines are cut to the port enlarged by one pixel. Thick or
// dashed ones go as given when they fit in 16 bits (X then draws their caps, joins and dashes
// itself); otherwise they are cut to a box far enough out that caps and miter joins at the
// cuts stay hidden, and their dashes restart there.
//
// Given a queue, a pen queues single lines of a context that copies (where the order of its
// figures makes no difference), and sends the queue before any other request.
struct Pen {
  Pen(const QelDisplay* display, const QelPort* port, const QelPalette* palette,
      QelRequestQueue* queue = nullptr)
      : x(display->getXDisplay()),
        drawable(port->getDrawable()),
        gc(display->drawingGC(palette)),
        thin(thinSolid(palette)),
        box(portBox(port, thin ? 1 : 8 * int64_t(palette->getLineWidth()) + 2)),
        queue(queue),
        queues(queue && palette->getMode() == QelDrawModeSet) {}
  bool passes(const QelPoint& p) const { return thin ? box.contains(p) : fits16(p); }
  // A line from a to b, queued when it may be.
  void line(const QelPoint& a, const QelPoint& b) const {
    if (queues) {
      queue->addSegment(x, drawable, gc, {short(a.x), short(a.y), short(b.x), short(b.y)});
      return;
    }
    direct();
    XDrawLine(x, drawable, gc, a.x, a.y, b.x, b.y);
  }
  // Before a request that is not queued.
  void direct() const {
    if (queue) queue->send();
  }

  Display* x;
  Drawable drawable;
  GC gc;
  bool thin;
  Box box;
  QelRequestQueue* queue;
  bool queues;
};

bool clip(const Pen& pen, QelPoint& a, QelPoint& b) {
  if (pen.passes(a) && pen.passes(b)) return true;
  return QelClipLine(a, b, pen.box.x0, pen.box.y0, pen.box.x1, pen.box.y1) != 0;
}

void strokeLine(const Pen& pen, QelPoint a, QelPoint b) {
  if (clip(pen, a, b)) pen.line(a, b);
}

void flushRun(const Pen& pen, Buffer<XPoint>& run) {
  // Two points are one line, with neither join nor dash continuing into another.
  if (run.size() == 2) {
    pen.line(QelPoint(run[0].x, run[0].y), QelPoint(run[1].x, run[1].y));
  } else if (run.size() > 2) {
    pen.direct();
    XDrawLines(pen.x, pen.drawable, pen.gc, run.data(), int(run.size()), CoordModeOrigin);
  }
  run.clear();
}

// A polyline whose points all pass goes out whole; otherwise segment by segment, consecutive
// visible segments that still meet drawn as one run so that their joins are kept.
void strokePolyline(const Pen& pen, uint32_t count, const QelPoint* points, bool closed) {
  if (count < 2) return;
  Buffer<XPoint> run;
  if (std::all_of(points, points + count, [&](const QelPoint& p) { return pen.passes(p); })) {
    for (uint32_t i = 0; i < count; ++i) run.push(toX(points[i]));
    if (closed && points[count - 1] != points[0]) run.push(toX(points[0]));
    flushRun(pen, run);
    return;
  }
  uint32_t segments = closed ? count : count - 1;
  for (uint32_t i = 0; i < segments; ++i) {
    const QelPoint& from = points[i];
    QelPoint a = from, b = points[i + 1 < count ? i + 1 : 0];
    if (!clip(pen, a, b)) {
      flushRun(pen, run);
      continue;
    }
    bool continues = run.size() && a == from && run.back().x == a.x && run.back().y == a.y;
    if (!continues) {
      flushRun(pen, run);
      run.push(toX(a));
    }
    run.push(toX(b));
  }
  flushRun(pen, run);
}

// Nearest integer to n / d, halves away from zero.
int64_t roundedQuotient(__int128 n, __int128 d) {
  if (d < 0) n = -n, d = -d;
  return int64_t(n >= 0 ? (2 * n + d) / (2 * d) : -((-2 * n + d) / (2 * d)));
}

// One Sutherland-Hodgman pass: keeps the side of the line `axis` = `edge` where `keep` holds.
template <typename Keep>
void clipPass(const Buffer<QelPoint>& in, Buffer<QelPoint>& out, bool vertical, int32_t edge,
              Keep keep) {
  out.clear();
  size_t n = in.size();
  for (size_t i = 0; i < n; ++i) {
    const QelPoint& p = in[i];
    const QelPoint& q = in[(i + 1) % n];
    bool pIn = keep(vertical ? p.x : p.y), qIn = keep(vertical ? q.x : q.y);
    if (pIn) out.push(p);
    if (pIn == qIn) continue;
    // The crossing, rounded exactly: the other coordinate moves along the edge only.
    if (vertical) {
      int64_t y = p.y + roundedQuotient(__int128(int64_t(edge) - p.x) * (int64_t(q.y) - p.y),
                                        int64_t(q.x) - p.x);
      out.push(QelPoint(edge, QelClampToInt32(y)));
    } else {
      int64_t x = p.x + roundedQuotient(__int128(int64_t(edge) - p.y) * (int64_t(q.x) - p.x),
                                        int64_t(q.y) - p.y);
      out.push(QelPoint(QelClampToInt32(x), edge));
    }
  }
}

// Polygons that fit in 16 bits are filled exactly as X fills them; others are first cut to the
// port enlarged by two pixels, which keeps the fill inside the port unchanged for either rule.
void fillPolygon(Display* x, Drawable drawable, GC gc, const QelPort* port, uint32_t count,
                 const QelPoint* points, int shape) {
  if (count < 3) return;
  Buffer<XPoint> xpoints;
  if (std::all_of(points, points + count, [](const QelPoint& p) { return fits16(p); })) {
    for (uint32_t i = 0; i < count; ++i) xpoints.push(toX(points[i]));
    XFillPolygon(x, drawable, gc, xpoints.data(), int(count), shape, CoordModeOrigin);
    return;
  }
  Box box = portBox(port, 2);
  Buffer<QelPoint> a, b;
  for (uint32_t i = 0; i < count; ++i) a.push(points[i]);
  clipPass(a, b, true, box.x0, [&](int32_t v) { return v >= box.x0; });
  clipPass(b, a, true, box.x1, [&](int32_t v) { return v <= box.x1; });
  clipPass(a, b, false, box.y0, [&](int32_t v) { return v >= box.y0; });
  clipPass(b, a, false, box.y1, [&](int32_t v) { return v <= box.y1; });
  if (a.size() < 3) return;
  for (size_t i = 0; i < a.size(); ++i) xpoints.push(toX(a[i]));
  // Rounded crossings may bend a convex polygon slightly.
  XFillPolygon(x, drawable, gc, xpoints.data(), int(xpoints.size()), Complex, CoordModeOrigin);
}

int fillShape(int convex) {
  return convex ? Convex : Complex;
}

// Degrees to X's 64ths of a degree.
int toX64(float degrees) {
  double v = std::nearbyint(double(degrees) * 64);
  return std::isfinite(v) ? int(std::clamp(v, -1e9, 1e9)) : 0;
}

// Points of an X arc (box, 64ths): a ray at angle a from the centre meets the ellipse.
void flattenArc(int64_t x, int64_t y, int64_t w, int64_t h, int start, int extent,
                Buffer<QelPoint>& out) {
  extent = std::clamp(extent, -kFullCircle, kFullCircle);
  double rx = w / 2.0, ry = h / 2.0, cx = x + rx, cy = y + ry;
  double sweep = extent / 64.0 * kPi / 180, first = start / 64.0 * kPi / 180;
  // Chords stay within a quarter pixel of the curve.
  double step = std::sqrt(2 / std::max({rx, ry, 1.0}));
  int n = std::clamp(int(std::ceil(std::fabs(sweep) / step)), 1, 4096);
  for (int i = 0; i <= n; ++i) {
    double a = first + sweep * i / n, c = std::cos(a), s = std::sin(a);
    double r = (rx > 0 && ry > 0) ? 1 / std::sqrt(c * c / (rx * rx) + s * s / (ry * ry)) : 0;
    out.push(QelPoint(QelClampToInt32(std::llround(cx + r * c)),
                      QelClampToInt32(std::llround(cy - r * s))));
  }
}

bool arcFits(int64_t x, int64_t y, int64_t w, int64_t h) {
  return fits16(x) && fits16(y) && w <= 65535 && h <= 65535;
}

void strokeArc(const Pen& pen, int64_t x, int64_t y, int64_t w, int64_t h, int start, int extent) {
  if (arcFits(x, y, w, h)) {
    XDrawArc(pen.x, pen.drawable, pen.gc, int(x), int(y), unsigned(w), unsigned(h), start, extent);
    return;
  }
  if (pen.box.misses(x, y, x + w, y + h)) return;
  Buffer<QelPoint> points;
  flattenArc(x, y, w, h, start, extent, points);
  strokePolyline(pen, uint32_t(points.size()), points.data(), false);
}

// `pie`: the GC fills pie slices (otherwise chords).
void fillArcX(Display* xd, Drawable drawable, GC gc, const QelPort* port, bool pie, int64_t x,
              int64_t y, int64_t w, int64_t h, int start, int extent) {
  if (arcFits(x, y, w, h)) {
    XFillArc(xd, drawable, gc, int(x), int(y), unsigned(w), unsigned(h), start, extent);
    return;
  }
  if (portBox(port, 2).misses(x, y, x + w, y + h)) return;
  Buffer<QelPoint> points;
  flattenArc(x, y, w, h, start, extent, points);
  if (pie && std::abs(extent) < kFullCircle)
    points.push(QelPoint(QelClampToInt32(x + w / 2), QelClampToInt32(y + h / 2)));
  fillPolygon(xd, drawable, gc, port, uint32_t(points.size()), points.data(), Complex);
}

// Cubic segments 0-3, 3-6, ... as one polyline.
void flattenBezier(uint32_t count, const QelPoint* p, Buffer<QelPoint>& out) {
  if (count < 4) return;
  out.push(p[0]);
  for (uint32_t i = 0; i + 3 < count; i += 3) {
    double x[4], y[4];
    for (int k = 0; k < 4; ++k) x[k] = p[i + k].x, y[k] = p[i + k].y;
    // With n steps the chords stay within 3/4 * d / n^2 of the curve, d the largest second
    // difference of the control points: a quarter pixel at most.
    double d = std::max(std::hypot(x[0] - 2 * x[1] + x[2], y[0] - 2 * y[1] + y[2]),
                        std::hypot(x[1] - 2 * x[2] + x[3], y[1] - 2 * y[2] + y[3]));
    int n = std::clamp(int(std::ceil(std::sqrt(3 * d))), 1, 1024);
    for (int k = 1; k <= n; ++k) {
      double t = double(k) / n, u = 1 - t;
      double a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, e = t * t * t;
      out.push(QelPoint(QelClampToInt32(std::llround(a * x[0] + b * x[1] + c * x[2] + e * x[3])),
                        QelClampToInt32(std::llround(a * y[0] + b * y[1] + c * y[2] + e * y[3]))));
    }
  }
}

// Absolute points of the relative form: `start`, then each delta added to the previous point.
std::vector<QelPoint> absolutePoints(const QelPoint& start, uint32_t count,
                                     const QelPoint* deltas) {
  std::vector<QelPoint> points(size_t(count) + 1);
  points[0] = start;
  int64_t x = start.x, y = start.y;
  for (uint32_t i = 0; i < count; ++i) {
    x = QelClampToInt32(x + deltas[i].x), y = QelClampToInt32(y + deltas[i].y);
    points[i + 1] = QelPoint(int32_t(x), int32_t(y));
  }
  return points;
}

// The outline pixels of a rectangle: x..x+w-1, at least two apart.
void outlineEdges(const QelRect& rect, int64_t& x0, int64_t& y0, int64_t& x1, int64_t& y1) {
  x0 = rect.x, y0 = rect.y;
  x1 = x0 + std::max<int64_t>(int64_t(rect.w) - 1, 1);
  y1 = y0 + std::max<int64_t>(int64_t(rect.h) - 1, 1);
}

}  // namespace

// Every operation: arguments checked, then handed to a dump device when one is set, traced,
// and drawn inside a session (one is opened when none is in progress).

void QelDisplay::drawPoint(QelPort* port, const QelPalette* palette, const QelPoint& p) const {
  if (!port || !palette) return;
  if (_dumpDevice) return _dumpDevice->drawPoint(port, palette, p);
  QelTraceDrawing("drawPoint", port, "%d %d", p.x, p.y);
  if (!QelCanDraw(this, port, palette)) return;
  // Points outside the port are invisible, and might not fit in 16 bits.
  if (!portBox(port, 1).contains(p)) return;
  QelDrawingScope scope(this, port);
  XDrawPoint(_xDisplay, port->getDrawable(), drawingGC(palette), p.x, p.y);
}

void QelDisplay::drawPoints(QelPort* port, const QelPalette* palette, uint32_t count,
                            const QelPoint* points) const {
  if (!port || !palette || !points || !count) return;
  if (_dumpDevice) return _dumpDevice->drawPoints(port, palette, count, points);
  QelTraceDrawing("drawPoints", port, "%u %d %d", count, points[0].x, points[0].y);
  if (!QelCanDraw(this, port, palette)) return;
  Box box = portBox(port, 1);
  Buffer<XPoint> visible;
  for (uint32_t i = 0; i < count; ++i)
    if (box.contains(points[i])) visible.push(toX(points[i]));
  if (!visible.size()) return;
  QelDrawingScope scope(this, port);
  XDrawPoints(_xDisplay, port->getDrawable(), drawingGC(palette), visible.data(),
              int(visible.size()), CoordModeOrigin);
}

void QelDisplay::drawLine(QelPort* port, const QelPalette* palette, const QelPoint& from,
                          const QelPoint& to) const {
  if (!port || !palette) return;
  if (_dumpDevice) return _dumpDevice->drawLine(port, palette, from, to);
  QelTraceDrawing("drawLine", port, "%d %d %d %d", from.x, from.y, to.x, to.y);
  if (!QelCanDraw(this, port, palette)) return;
  QelDrawingScope scope(this, port, true);
  strokeLine(Pen(this, port, palette, &_queue), from, to);
}

void QelDisplay::drawSegments(QelPort* port, const QelPalette* palette, uint32_t count,
                              const QelPoint* from, const QelPoint* to) const {
  if (!port || !palette || !from || !to || !count) return;
  if (_dumpDevice) return _dumpDevice->drawSegments(port, palette, count, from, to);
  QelTraceDrawing("drawSegments", port, "%u %d %d %d %d", count, from[0].x, from[0].y, to[0].x,
                  to[0].y);
  if (!QelCanDraw(this, port, palette)) return;
  Pen pen(this, port, palette);
  Buffer<XSegment> segments;
  for (uint32_t i = 0; i < count; ++i) {
    QelPoint a = from[i], b = to[i];
    if (clip(pen, a, b)) segments.push({short(a.x), short(a.y), short(b.x), short(b.y)});
  }
  if (!segments.size()) return;
  QelDrawingScope scope(this, port);
  XDrawSegments(_xDisplay, port->getDrawable(), pen.gc, segments.data(), int(segments.size()));
}

void QelDisplay::drawPolyLine(QelPort* port, const QelPalette* palette, uint32_t count,
                              const QelPoint* points) const {
  if (!port || !palette || !points || !count) return;
  if (_dumpDevice) return _dumpDevice->drawPolyLine(port, palette, count, points);
  QelTraceDrawing("drawPolyLine", port, "%u %d %d", count, points[0].x, points[0].y);
  if (!QelCanDraw(this, port, palette)) return;
  QelDrawingScope scope(this, port, true);
  strokePolyline(Pen(this, port, palette, &_queue), count, points, false);
}

void QelDisplay::drawPolyLine(QelPort* port, const QelPalette* palette, const QelPoint& start,
                              uint32_t count, const QelPoint* deltas) const {
  if (!port || !palette || !deltas || !count) return;
  if (_dumpDevice) return _dumpDevice->drawPolyLine(port, palette, start, count, deltas);
  std::vector<QelPoint> points = absolutePoints(start, count, deltas);
  drawPolyLine(port, palette, uint32_t(points.size()), points.data());
}

void QelDisplay::fillPolyLine(QelPort* port, const QelPalette* palette, uint32_t count,
                              const QelPoint* points, int convex) const {
  if (!port || !palette || !points || !count) return;
  if (_dumpDevice) return _dumpDevice->fillPolyLine(port, palette, count, points, convex);
  QelTraceDrawing("fillPolyLine", port, "%u %d %d", count, points[0].x, points[0].y);
  if (!QelCanDraw(this, port, palette)) return;
  QelDrawingScope scope(this, port);
  fillPolygon(_xDisplay, port->getDrawable(), drawingGC(palette), port, count, points,
              fillShape(convex));
}

void QelDisplay::fillPolyLine(QelPort* port, const QelPalette* palette, const QelPoint& start,
                              uint32_t count, const QelPoint* deltas, int convex) const {
  if (!port || !palette || !deltas || !count) return;
  if (_dumpDevice) return _dumpDevice->fillPolyLine(port, palette, start, count, deltas, convex);
  std::vector<QelPoint> points = absolutePoints(start, count, deltas);
  fillPolyLine(port, palette, uint32_t(points.size()), points.data(), convex);
}

void QelDisplay::drawRectangle(QelPort* port, const QelPalette* palette,
                               const QelRect& rect) const {
  if (!port || !palette) return;
  if (_dumpDevice) return _dumpDevice->drawRectangle(port, palette, rect);
  QelTraceDrawing("drawRectangle", port, "%d %d %u %u", rect.x, rect.y, rect.w, rect.h);
  if (!QelCanDraw(this, port, palette)) return;
  Pen pen(this, port, palette);
  int64_t x0, y0, x1, y1;
  outlineEdges(rect, x0, y0, x1, y1);
  if (pen.box.misses(x0, y0, x1, y1)) return;
  // Edges beyond the box move onto it, where they remain out of sight. An outline that ends on
  // the box's edge collapses to a line there (width or height 0), still out of sight.
  x0 = std::max<int64_t>(x0, pen.box.x0), y0 = std::max<int64_t>(y0, pen.box.y0);
  x1 = std::min<int64_t>(x1, pen.box.x1), y1 = std::min<int64_t>(y1, pen.box.y1);
  QelDrawingScope scope(this, port);
  XDrawRectangle(_xDisplay, pen.drawable, pen.gc, int(x0), int(y0), unsigned(x1 - x0),
                 unsigned(y1 - y0));
}

namespace {

// A fill of the half-open rectangle, cut to the port enlarged by a pixel.
void fillBox(Display* x, Drawable drawable, GC gc, const QelPort* port, int64_t left, int64_t top,
             int64_t right, int64_t bottom) {
  Box box = portBox(port, 1);
  left = std::max<int64_t>(left, box.x0), top = std::max<int64_t>(top, box.y0);
  right = std::min<int64_t>(right, int64_t(box.x1) + 1);
  bottom = std::min<int64_t>(bottom, int64_t(box.y1) + 1);
  if (right <= left || bottom <= top) return;
  XFillRectangle(x, drawable, gc, int(left), int(top), unsigned(right - left),
                 unsigned(bottom - top));
}

}  // namespace

void QelDisplay::fillRectangle(QelPort* port, const QelPalette* palette,
                               const QelRect& rect) const {
  if (!port || !palette) return;
  if (_dumpDevice) return _dumpDevice->fillRectangle(port, palette, rect);
  QelTraceDrawing("fillRectangle", port, "%d %d %u %u", rect.x, rect.y, rect.w, rect.h);
  if (!QelCanDraw(this, port, palette) || rect.isEmpty()) return;
  QelDrawingScope scope(this, port);
  fillBox(_xDisplay, port->getDrawable(), drawingGC(palette), port, rect.x, rect.y, rect.right64(),
          rect.bottom64());
}

void QelDisplay::drawRoundRectangle(QelPort* port, const QelPalette* palette, const QelRect& rect,
                                    uint16_t radius) const {
  if (!port || !palette) return;
  if (_dumpDevice) return _dumpDevice->drawRoundRectangle(port, palette, rect, radius);
  QelTraceDrawing("drawRoundRectangle", port, "%d %d %u %u %u", rect.x, rect.y, rect.w, rect.h,
                  unsigned(radius));
  if (!QelCanDraw(this, port, palette)) return;
  int64_t x0, y0, x1, y1;
  outlineEdges(rect, x0, y0, x1, y1);
  // The corners may take at most half of the smaller side.
  int64_t r = std::min<int64_t>(radius, std::min(x1 - x0, y1 - y0) / 2), d = 2 * r;
  if (!r) return drawRectangle(port, palette, rect);
  Pen pen(this, port, palette);
  if (pen.box.misses(x0, y0, x1, y1)) return;
  QelDrawingScope scope(this, port);
  strokeArc(pen, x0, y0, d, d, 90 * 64, 90 * 64);
  strokeArc(pen, x1 - d, y0, d, d, 0, 90 * 64);
  strokeArc(pen, x0, y1 - d, d, d, 180 * 64, 90 * 64);
  strokeArc(pen, x1 - d, y1 - d, d, d, 270 * 64, 90 * 64);
  auto line = [&](int64_t ax, int64_t ay, int64_t bx, int64_t by) {
    strokeLine(pen, QelPoint(QelClampToInt32(ax), QelClampToInt32(ay)),
               QelPoint(QelClampToInt32(bx), QelClampToInt32(by)));
  };
  line(x0 + r, y0, x1 - r, y0);
  line(x0 + r, y1, x1 - r, y1);
  line(x0, y0 + r, x0, y1 - r);
  line(x1, y0 + r, x1, y1 - r);
}

void QelDisplay::fillRoundRectangle(QelPort* port, const QelPalette* palette, const QelRect& rect,
                                    uint16_t radius) const {
  if (!port || !palette) return;
  if (_dumpDevice) return _dumpDevice->fillRoundRectangle(port, palette, rect, radius);
  QelTraceDrawing("fillRoundRectangle", port, "%d %d %u %u %u", rect.x, rect.y, rect.w, rect.h,
                  unsigned(radius));
  if (!QelCanDraw(this, port, palette) || rect.isEmpty()) return;
  int64_t r = std::min<int64_t>(radius, std::min(rect.w, rect.h) / 2), d = 2 * r;
  if (!r) return fillRectangle(port, palette, rect);
  int64_t x0 = rect.x, y0 = rect.y, x1 = rect.right64(), y1 = rect.bottom64();
  if (portBox(port, 1).misses(x0, y0, x1, y1)) return;
  QelDrawingScope scope(this, port);
  Drawable drawable = port->getDrawable();
  GC gc = drawingGC(palette);
  // Disjoint pieces, so that xor and other modes see every pixel once; the corners are
  // quarter pies whatever the palette's arc mode.
  fillBox(_xDisplay, drawable, gc, port, x0 + r, y0, x1 - r, y1);
  fillBox(_xDisplay, drawable, gc, port, x0, y0 + r, x0 + r, y1 - r);
  fillBox(_xDisplay, drawable, gc, port, x1 - r, y0 + r, x1, y1 - r);
  bool chord = palette->getArcMode() != QelArcPie;
  if (chord) XSetArcMode(_xDisplay, gc, ArcPieSlice);
  fillArcX(_xDisplay, drawable, gc, port, true, x0, y0, d, d, 90 * 64, 90 * 64);
  fillArcX(_xDisplay, drawable, gc, port, true, x1 - d, y0, d, d, 0, 90 * 64);
  fillArcX(_xDisplay, drawable, gc, port, true, x0, y1 - d, d, d, 180 * 64, 90 * 64);
  fillArcX(_xDisplay, drawable, gc, port, true, x1 - d, y1 - d, d, d, 270 * 64, 90 * 64);
  if (chord) XSetArcMode(_xDisplay, gc, ArcChord);
}

void QelDisplay::drawArc(QelPort* port, const QelPalette* palette, const QelRect& rect, float start,
                         float delta) const {
  if (!port || !palette) return;
  if (_dumpDevice) return _dumpDevice->drawArc(port, palette, rect, start, delta);
  QelTraceDrawing("drawArc", port, "%d %d %u %u %g %g", rect.x, rect.y, rect.w, rect.h,
                  double(start), double(delta));
  if (!QelCanDraw(this, port, palette) || rect.w >= 65536 || rect.h >= 65536) return;
  Pen pen(this, port, palette);
  // An outline covers w by h pixels, like a rectangle's.
  int64_t w = rect.w ? rect.w - 1 : 0, h = rect.h ? rect.h - 1 : 0;
  QelDrawingScope scope(this, port);
  strokeArc(pen, rect.x, rect.y, w, h, toX64(start), toX64(delta));
}

void QelDisplay::fillArc(QelPort* port, const QelPalette* palette, const QelRect& rect, float start,
                         float delta) const {
  if (!port || !palette) return;
  if (_dumpDevice) return _dumpDevice->fillArc(port, palette, rect, start, delta);
  QelTraceDrawing("fillArc", port, "%d %d %u %u %g %g", rect.x, rect.y, rect.w, rect.h,
                  double(start), double(delta));
  if (!QelCanDraw(this, port, palette) || rect.w >= 65536 || rect.h >= 65536) return;
  // X fills exactly w by h: the size goes unchanged.
  QelDrawingScope scope(this, port);
  fillArcX(_xDisplay, port->getDrawable(), drawingGC(palette), port,
           palette->getArcMode() == QelArcPie, rect.x, rect.y, rect.w, rect.h, toX64(start),
           toX64(delta));
}

void QelDisplay::drawBezier(QelPort* port, const QelPalette* palette, uint32_t count,
                            const QelPoint* points) const {
  if (!port || !palette || !points || !count) return;
  if (_dumpDevice) return _dumpDevice->drawBezier(port, palette, count, points);
  QelTraceDrawing("drawBezier", port, "%u %d %d", count, points[0].x, points[0].y);
  if (!QelCanDraw(this, port, palette)) return;
  Buffer<QelPoint> curve;
  flattenBezier(count, points, curve);
  QelDrawingScope scope(this, port);
  strokePolyline(Pen(this, port, palette), uint32_t(curve.size()), curve.data(), false);
}

void QelDisplay::drawClosedBezier(QelPort* port, const QelPalette* palette, uint32_t count,
                                  const QelPoint* points) const {
  if (!port || !palette || !points || !count) return;
  if (_dumpDevice) return _dumpDevice->drawClosedBezier(port, palette, count, points);
  QelTraceDrawing("drawClosedBezier", port, "%u %d %d", count, points[0].x, points[0].y);
  if (!QelCanDraw(this, port, palette)) return;
  Buffer<QelPoint> curve;
  flattenBezier(count, points, curve);
  QelDrawingScope scope(this, port);
  strokePolyline(Pen(this, port, palette), uint32_t(curve.size()), curve.data(), true);
}

void QelDisplay::fillBezier(QelPort* port, const QelPalette* palette, uint32_t count,
                            const QelPoint* points) const {
  if (!port || !palette || !points || !count) return;
  if (_dumpDevice) return _dumpDevice->fillBezier(port, palette, count, points);
  QelTraceDrawing("fillBezier", port, "%u %d %d", count, points[0].x, points[0].y);
  if (!QelCanDraw(this, port, palette)) return;
  Buffer<QelPoint> curve;
  flattenBezier(count, points, curve);
  QelDrawingScope scope(this, port);
  fillPolygon(_xDisplay, port->getDrawable(), drawingGC(palette), port, uint32_t(curve.size()),
              curve.data(), Complex);
}

void QelDisplay::drawPaths(QelPort* port, const QelPalette* palette, uint32_t count,
                           const QelPointArray* paths) const {
  if (!port || !palette || !paths || !count) return;
  if (_dumpDevice) return _dumpDevice->drawPaths(port, palette, count, paths);
  QelTraceDrawing("drawPaths", port, "%u", count);
  if (!QelCanDraw(this, port, palette)) return;
  Pen pen(this, port, palette);
  QelDrawingScope scope(this, port);
  for (uint32_t i = 0; i < count; ++i)
    strokePolyline(pen, paths[i].getCount(), paths[i].getPoints(), false);
}

void QelDisplay::fillPaths(QelPort* port, const QelPalette* palette, uint32_t count,
                           const QelPointArray* paths) const {
  if (!port || !palette || !paths || !count) return;
  if (_dumpDevice) return _dumpDevice->fillPaths(port, palette, count, paths);
  QelTraceDrawing("fillPaths", port, "%u", count);
  if (!QelCanDraw(this, port, palette)) return;
  QelDrawingScope scope(this, port);
  for (uint32_t i = 0; i < count; ++i)
    if (paths[i].getPoints())
      fillPolygon(_xDisplay, port->getDrawable(), drawingGC(palette), port, paths[i].getCount(),
                  paths[i].getPoints(), Complex);
}
