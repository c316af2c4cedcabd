#include "graphics/line_geometry.h"

#include <algorithm>
#include <cmath>

int QelPointInLine(const QelPoint& p, const QelPoint& a, const QelPoint& b) {
  double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  double px = double(p.x) - a.x, py = double(p.y) - a.y;
  double lengthSquared = dx * dx + dy * dy;
  double t = lengthSquared > 0 ? std::clamp((px * dx + py * dy) / lengthSquared, 0.0, 1.0) : 0.0;
  double ex = px - t * dx, ey = py - t * dy;
  return ex * ex + ey * ey <= double(QelLineHitTolerance) * QelLineHitTolerance;
}

int QelIntersectHorizontal(const QelPoint& p, const QelPoint& a, const QelPoint& b) {
  if ((a.y > p.y) == (b.y > p.y)) return 0;
  // The x where the segment meets the ray's line, compared without dividing.
  int64_t dy = int64_t(b.y) - a.y;
  __int128 lhs = __int128(int64_t(p.x) - a.x) * dy;
  __int128 rhs = __int128(int64_t(b.x) - a.x) * (int64_t(p.y) - a.y);
  return dy > 0 ? lhs < rhs : lhs > rhs;
}

int QelClipLine(QelPoint& a, QelPoint& b, int32_t xmin, int32_t ymin, int32_t xmax, int32_t ymax) {
  if (xmin > xmax || ymin > ymax) return 0;
  // Liang-Barsky: the visible part is the parameter range [t0, t1] of a + t (b - a).
  double dx = double(b.x) - a.x, dy = double(b.y) - a.y;
  double t0 = 0, t1 = 1;
  const double p[4] = {-dx, dx, -dy, dy};
  const double q[4] = {double(a.x) - xmin, double(xmax) - a.x, double(a.y) - ymin,
                       double(ymax) - a.y};
  for (int i = 0; i < 4; ++i) {
    if (p[i] == 0) {
      if (q[i] < 0) return 0;
      continue;
    }
    double r = q[i] / p[i];
    if (p[i] < 0) {
      if (r > t1) return 0;
      t0 = std::max(t0, r);
    } else {
      if (r < t0) return 0;
      t1 = std::min(t1, r);
    }
  }
  // Rounding may leave a computed end one pixel past the box; the clamp keeps the promise.
  auto at = [&](double t) {
    return QelPoint(int32_t(std::clamp(std::nearbyint(a.x + t * dx), double(xmin), double(xmax))),
                    int32_t(std::clamp(std::nearbyint(a.y + t * dy), double(ymin), double(ymax))));
  };
  QelPoint from = t0 > 0 ? at(t0) : a, to = t1 < 1 ? at(t1) : b;
  a = from;
  b = to;
  return 1;
}
