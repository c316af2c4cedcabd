// A counted array of device points with a cached bounding rectangle, for polygons and
// polylines.
#pragma once

#include <cstdint>

#include "graphics/geometry.h"

class QelTransformer;

class QelPointArray {
 public:
  QelPointArray() = default;
  // Copies `points` when `copy` is non-zero; otherwise takes over the array, which must come
  // from new[].
  QelPointArray(uint32_t count, QelPoint* points, int copy);
  QelPointArray(const QelPointArray& other);
  QelPointArray& operator=(const QelPointArray& other);
  ~QelPointArray();

  void setPoints(uint32_t count, QelPoint* points, int copy);
  uint32_t getCount() const { return _count; }
  const QelPoint* getPoints() const { return _points; }

  // The smallest rectangle covering every point as a pixel (empty for no points).
  const QelRect& bbox() const { return _bbox; }
  void boundingBox(QelRect& rect, const QelTransformer* t) const;
  void applyTransform(const QelTransformer* t);

  // On one of the edges, the closing edge included (QelPointInLine's tolerance).
  bool outlineContains(const QelPoint& p) const;
  // How many edges the horizontal ray from `p` crosses, the closing edge included; the single
  // edge of a two-point array is therefore counted twice.
  uint32_t nbHorizontalIntersect(const QelPoint& p) const;

  void movePoint(const QelPoint& p, uint32_t index);
  // Inserts before `index` (at the end when it is past the last point).
  void addPoints(uint32_t count, const QelPoint* points, uint32_t index);
  // Removes up to `count` points from `index` on.
  void removePoints(uint32_t index, uint32_t count);

  // The signed shoelace area (in 32-bit arithmetic, halved toward zero) of the points mapped
  // by `t`; 0 below three points.
  int32_t area(const QelTransformer* t) const;
  // 1 when the polygon winds with positive area, -1 with negative, 0 when degenerate.
  int orientation() const;

 private:
  void computeBBox();

  uint32_t _count = 0;
  QelPoint* _points = nullptr;
  QelRect _bbox;
};
