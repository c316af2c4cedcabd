// The value types of device space (integer pixels) and of data space (floats): points,
// rectangles, and the position bits shared by charts, scales and gadgets.
#pragma once

#include <cstdint>

// A 64-bit coordinate held to the 32 bits of a point: sums of coordinates saturate, never wrap.
inline int32_t QelClampToInt32(int64_t v) {
  return v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : int32_t(v);
}

// A 64-bit extent held to the 32 bits of a width or height; a negative one is empty.
inline uint32_t QelClampToUint32(int64_t v) {
  return v < 0 ? 0 : v > int64_t(UINT32_MAX) ? UINT32_MAX : uint32_t(v);
}

// Sides and directions, combinable as a bit set.
enum QelPosition : unsigned int {
  QelLeft = 1,
  QelRight = 2,
  QelTop = 4,
  QelBottom = 8,
  QelCenter = 16,
  QelHorizontal = 32,
  QelVertical = 64,
};

struct QelPoint {
  int32_t x = 0;
  int32_t y = 0;

  QelPoint() = default;
  QelPoint(int32_t px, int32_t py) : x(px), y(py) {}
  void move(int32_t px, int32_t py) { x = px, y = py; }
  void translate(int32_t dx, int32_t dy);
  bool operator==(const QelPoint& p) const { return x == p.x && y == p.y; }
  bool operator!=(const QelPoint& p) const { return !(*this == p); }
};

struct QelFloatPoint {
  float x = 0;
  float y = 0;

  QelFloatPoint() = default;
  QelFloatPoint(float px, float py) : x(px), y(py) {}
  void move(float px, float py) { x = px, y = py; }
  void translate(float dx, float dy) { x += dx, y += dy; }
  bool operator==(const QelFloatPoint& p) const { return x == p.x && y == p.y; }
  bool operator!=(const QelFloatPoint& p) const { return !(*this == p); }
};

// A half-open pixel rectangle: right() and bottom() are the first coordinates outside it.
// Edges are computed in 64 bits, so rectangles near the ends of the 32-bit range never
// overflow; results that do not fit saturate.
struct QelRect {
  int32_t x = 0;
  int32_t y = 0;
  uint32_t w = 0;
  uint32_t h = 0;

  QelRect() = default;
  QelRect(int32_t rx, int32_t ry, uint32_t rw, uint32_t rh) : x(rx), y(ry), w(rw), h(rh) {}

  int32_t right() const;
  int32_t bottom() const;
  int64_t right64() const { return int64_t(x) + w; }
  int64_t bottom64() const { return int64_t(y) + h; }
  bool isEmpty() const { return w == 0 || h == 0; }

  void move(int32_t rx, int32_t ry) { x = rx, y = ry; }
  void resize(uint32_t rw, uint32_t rh) { w = rw, h = rh; }
  void moveResize(int32_t rx, int32_t ry, uint32_t rw, uint32_t rh) { *this = {rx, ry, rw, rh}; }
  void translate(int32_t dx, int32_t dy);
  // Grows each side outwards by dx and dy (shrinks for negative values, never below empty).
  void expand(int32_t dx, int32_t dy);

  // Keeps the common part. An empty result keeps the computed origin and has w = h = 0.
  void intersection(const QelRect& r);
  // Becomes the smallest rectangle covering both; an empty `r` changes nothing.
  void add(const QelRect& r);
  // Grows to take in the pixel `p`. Growth to the left or top counts the pixel (+1), and a
  // point exactly on right() or bottom() changes nothing: callers rely on this asymmetry.
  void add(const QelPoint& p);

  bool contains(const QelPoint& p) const;  // half-open
  // Right and bottom edges included: the hit test of graphics, where a point on an outline's
  // far edge still picks it.
  bool containsClosed(const QelPoint& p) const {
    return x <= p.x && p.x <= right64() && y <= p.y && p.y <= bottom64();
  }
  bool contains(const QelRect& r) const;  // r lies inside, edges may touch
  // The two share at least one pixel. Inline: containers test every object's box with it.
  bool intersects(const QelRect& r) const {
    return x < r.right64() && r.x < right64() && y < r.bottom64() && bottom64() > r.y;
  }

  bool operator==(const QelRect& r) const { return x == r.x && y == r.y && w == r.w && h == r.h; }
  bool operator!=(const QelRect& r) const { return !(*this == r); }
};

// The half-open rectangle [left, right) x [top, bottom), its edges held to 32 bits.
inline QelRect QelRectBetween(int64_t left, int64_t top, int64_t right, int64_t bottom) {
  int32_t x = QelClampToInt32(left), y = QelClampToInt32(top);
  return QelRect(x, y, QelClampToUint32(QelClampToInt32(right) - int64_t(x)),
                 QelClampToUint32(QelClampToInt32(bottom) - int64_t(y)));
}

// A closed rectangle of data space stored as its two corners. Data ranges include both ends,
// so every test here is inclusive.
struct QelFloatRect {
  float minx = 0;
  float miny = 0;
  float maxx = 0;
  float maxy = 0;

  QelFloatRect() = default;
  QelFloatRect(float x0, float y0, float x1, float y1) : minx(x0), miny(y0), maxx(x1), maxy(y1) {}
  // The box of a single point: start a bounding box here, then add the other points.
  explicit QelFloatRect(const QelFloatPoint& p) : minx(p.x), miny(p.y), maxx(p.x), maxy(p.y) {}

  float width() const { return maxx - minx; }
  float height() const { return maxy - miny; }

  void translate(float dx, float dy) { minx += dx, maxx += dx, miny += dy, maxy += dy; }
  // Keeps the common part; when there is none the result collapses onto the corner
  // (max of minima) with zero width and height.
  void intersection(const QelFloatRect& r);
  // Becomes the smallest rectangle covering both.
  void add(const QelFloatRect& r);
  void add(const QelFloatPoint& p);

  bool contains(const QelFloatPoint& p) const;
  bool contains(const QelFloatRect& r) const;
  bool intersects(const QelFloatRect& r) const;

  bool operator==(const QelFloatRect& r) const {
    return minx == r.minx && miny == r.miny && maxx == r.maxx && maxy == r.maxy;
  }
  bool operator!=(const QelFloatRect& r) const { return !(*this == r); }
};
