#include "graphics/point_array.h"

#include <algorithm>
#include <vector>

#include "graphics/line_geometry.h"
#include "graphics/transformer.h"

namespace {

QelRect boxOf(uint32_t count, const QelPoint* points) {
  if (count == 0) return QelRect();
  int64_t minx = points[0].x, maxx = minx, miny = points[0].y, maxy = miny;
  for (uint32_t i = 1; i < count; ++i) {
    minx = std::min<int64_t>(minx, points[i].x), maxx = std::max<int64_t>(maxx, points[i].x);
    miny = std::min<int64_t>(miny, points[i].y), maxy = std::max<int64_t>(maxy, points[i].y);
  }
  // Points are pixels: the box reaches one past the largest coordinate (saturating).
  auto extent = [](int64_t lo, int64_t hi) {
    return uint32_t(std::min<int64_t>(hi - lo + 1, UINT32_MAX));
  };
  return QelRect(int32_t(minx), int32_t(miny), extent(minx, maxx), extent(miny, maxy));
}

// The shoelace sum in wrapping 32-bit arithmetic.
int32_t shoelace(uint32_t count, const QelPoint* points) {
  uint32_t sum = 0;
  const QelPoint* prev = &points[count - 1];
  for (uint32_t i = 0; i < count; ++i) {
    sum += uint32_t(prev->x) * uint32_t(points[i].y) - uint32_t(points[i].x) * uint32_t(prev->y);
    prev = &points[i];
  }
  return int32_t(sum);
}

}  // namespace

QelPointArray::QelPointArray(uint32_t count, QelPoint* points, int copy) {
  setPoints(count, points, copy);
}

QelPointArray::QelPointArray(const QelPointArray& other) {
  *this = other;
}

QelPointArray& QelPointArray::operator=(const QelPointArray& other) {
  if (this != &other) setPoints(other._count, other._points, 1);
  return *this;
}

QelPointArray::~QelPointArray() {
  delete[] _points;
}

void QelPointArray::setPoints(uint32_t count, QelPoint* points, int copy) {
  if (points == _points && !copy) {
    _count = count;
  } else {
    QelPoint* kept = points;
    if (copy || !points) {
      kept = count ? new QelPoint[count] : nullptr;
      if (points) std::copy(points, points + count, kept);
    }
    delete[] _points;
    _points = kept;
    _count = kept ? count : 0;
  }
  computeBBox();
}

void QelPointArray::computeBBox() {
  _bbox = boxOf(_count, _points);
}

void QelPointArray::boundingBox(QelRect& rect, const QelTransformer* t) const {
  if (!t) {
    rect = _bbox;
    return;
  }
  std::vector<QelPoint> mapped(_points, _points + _count);
  t->apply(_count, mapped.data());
  rect = boxOf(_count, mapped.data());
}

void QelPointArray::applyTransform(const QelTransformer* t) {
  if (!t) return;
  t->apply(_count, _points);
  computeBBox();
}

bool QelPointArray::outlineContains(const QelPoint& p) const {
  if (_count == 0) return false;
  if (_count == 1) return QelPointInLine(p, _points[0], _points[0]) != 0;
  for (uint32_t i = 1; i < _count; ++i)
    if (QelPointInLine(p, _points[i - 1], _points[i])) return true;
  return QelPointInLine(p, _points[_count - 1], _points[0]) != 0;
}

uint32_t QelPointArray::nbHorizontalIntersect(const QelPoint& p) const {
  if (_count < 2) return 0;
  uint32_t crossings = 0;
  for (uint32_t i = 1; i < _count; ++i)
    crossings += QelIntersectHorizontal(p, _points[i - 1], _points[i]) != 0;
  return crossings + (QelIntersectHorizontal(p, _points[_count - 1], _points[0]) != 0);
}

void QelPointArray::movePoint(const QelPoint& p, uint32_t index) {
  if (index >= _count) return;
  _points[index] = p;
  computeBBox();
}

void QelPointArray::addPoints(uint32_t count, const QelPoint* points, uint32_t index) {
  if (count == 0 || !points || count > UINT32_MAX - _count) return;
  index = std::min(index, _count);
  QelPoint* larger = new QelPoint[_count + count];
  std::copy(_points, _points + index, larger);
  std::copy(points, points + count, larger + index);
  std::copy(_points + index, _points + _count, larger + index + count);
  delete[] _points;
  _points = larger;
  _count += count;
  computeBBox();
}

void QelPointArray::removePoints(uint32_t index, uint32_t count) {
  if (index >= _count || count == 0) return;
  count = std::min(count, _count - index);
  std::copy(_points + index + count, _points + _count, _points + index);
  _count -= count;
  computeBBox();
}

int32_t QelPointArray::area(const QelTransformer* t) const {
  if (_count < 3) return 0;
  std::vector<QelPoint> points(_points, _points + _count);
  if (t) t->apply(_count, points.data());
  return shoelace(_count, points.data()) / 2;
}

int QelPointArray::orientation() const {
  if (_count < 3) return 0;
  // Summed in 128 bits so that any polygon keeps its true sign.
  __int128 sum = 0;
  const QelPoint* prev = &_points[_count - 1];
  for (uint32_t i = 0; i < _count; ++i) {
    sum += __int128(int64_t(prev->x) * _points[i].y) - __int128(int64_t(_points[i].x) * prev->y);
    prev = &_points[i];
  }
  return (sum > 0) - (sum < 0);
}
