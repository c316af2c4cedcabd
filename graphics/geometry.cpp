#include "graphics/geometry.h"

#include <algorithm>
#include <limits>

namespace {

uint32_t saturateExtent(int64_t v) {
  return uint32_t(std::clamp<int64_t>(v, 0, std::numeric_limits<uint32_t>::max()));
}

}  // namespace

void QelPoint::translate(int32_t dx, int32_t dy) {
  x = QelClampToInt32(int64_t(x) + dx);
  y = QelClampToInt32(int64_t(y) + dy);
}

int32_t QelRect::right() const {
  return QelClampToInt32(right64());
}
int32_t QelRect::bottom() const {
  return QelClampToInt32(bottom64());
}

void QelRect::translate(int32_t dx, int32_t dy) {
  x = QelClampToInt32(int64_t(x) + dx);
  y = QelClampToInt32(int64_t(y) + dy);
}

void QelRect::expand(int32_t dx, int32_t dy) {
  int64_t nw = int64_t(w) + 2 * int64_t(dx), nh = int64_t(h) + 2 * int64_t(dy);
  x = QelClampToInt32(int64_t(x) - dx);
  y = QelClampToInt32(int64_t(y) - dy);
  w = saturateExtent(nw);
  h = saturateExtent(nh);
}

void QelRect::intersection(const QelRect& r) {
  int32_t nx = std::max(x, r.x), ny = std::max(y, r.y);
  int64_t nw = std::min(right64(), r.right64()) - nx;
  int64_t nh = std::min(bottom64(), r.bottom64()) - ny;
  x = nx;
  y = ny;
  if (nw <= 0 || nh <= 0) {
    w = h = 0;
  } else {
    w = uint32_t(nw);
    h = uint32_t(nh);
  }
}

void QelRect::add(const QelRect& r) {
  if (r.isEmpty()) return;
  if (isEmpty()) {
    *this = r;
    return;
  }
  int32_t nx = std::min(x, r.x), ny = std::min(y, r.y);
  w = saturateExtent(std::max(right64(), r.right64()) - nx);
  h = saturateExtent(std::max(bottom64(), r.bottom64()) - ny);
  x = nx;
  y = ny;
}

void QelRect::add(const QelPoint& p) {
  if (p.x < x) {
    w = saturateExtent(int64_t(w) + (int64_t(x) - p.x) + 1);
    x = p.x;
  } else if (p.x > right64()) {
    w = saturateExtent(int64_t(p.x) - x + 1);
  }
  if (p.y < y) {
    h = saturateExtent(int64_t(h) + (int64_t(y) - p.y) + 1);
    y = p.y;
  } else if (p.y > bottom64()) {
    h = saturateExtent(int64_t(p.y) - y + 1);
  }
}

bool QelRect::contains(const QelPoint& p) const {
  return p.x >= x && p.x < right64() && p.y >= y && p.y < bottom64();
}

bool QelRect::contains(const QelRect& r) const {
  return r.x >= x && r.right64() <= right64() && r.y >= y && r.bottom64() <= bottom64();
}

void QelFloatRect::intersection(const QelFloatRect& r) {
  minx = std::max(minx, r.minx);
  miny = std::max(miny, r.miny);
  maxx = std::min(maxx, r.maxx);
  maxy = std::min(maxy, r.maxy);
  if (!(maxx >= minx && maxy >= miny)) maxx = minx, maxy = miny;
}

void QelFloatRect::add(const QelFloatRect& r) {
  minx = std::min(minx, r.minx);
  miny = std::min(miny, r.miny);
  maxx = std::max(maxx, r.maxx);
  maxy = std::max(maxy, r.maxy);
}

void QelFloatRect::add(const QelFloatPoint& p) {
  minx = std::min(minx, p.x);
  miny = std::min(miny, p.y);
  maxx = std::max(maxx, p.x);
  maxy = std::max(maxy, p.y);
}

bool QelFloatRect::contains(const QelFloatPoint& p) const {
  return p.x >= minx && p.x <= maxx && p.y >= miny && p.y <= maxy;
}

bool QelFloatRect::contains(const QelFloatRect& r) const {
  return r.minx >= minx && r.maxx <= maxx && r.miny >= miny && r.maxy <= maxy;
}

bool QelFloatRect::intersects(const QelFloatRect& r) const {
  return minx <= r.maxx && r.minx <= maxx && miny <= r.maxy && r.miny <= maxy;
}
