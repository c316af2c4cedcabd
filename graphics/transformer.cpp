#include "graphics/transformer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "base/messages.h"

namespace {

constexpr double kZero = 1e-12;
constexpr double kUnitTolerance = 1e-4;

// Builds the half-open rectangle of two mapped corners.
void rectFromCorners(QelRect& r, const QelPoint& a, const QelPoint& b) {
  int64_t minx = std::min(a.x, b.x), maxx = std::max(a.x, b.x);
  int64_t miny = std::min(a.y, b.y), maxy = std::max(a.y, b.y);
  r = QelRect(int32_t(minx), int32_t(miny), uint32_t(maxx - minx), uint32_t(maxy - miny));
}

QelPoint farCorner(const QelRect& r) {
  return QelPoint(r.right(), r.bottom());
}

// Messages print the object's address as a 32-bit hex number.
unsigned addressOf(const void* p) {
  return unsigned(uintptr_t(p));
}

}  // namespace

int32_t QelRoundToPixel(double v) {
  if (std::isnan(v)) return 0;
  double rounded = std::nearbyint(v);
  if (rounded <= double(std::numeric_limits<int32_t>::min()))
    return std::numeric_limits<int32_t>::min();
  if (rounded >= double(std::numeric_limits<int32_t>::max()))
    return std::numeric_limits<int32_t>::max();
  return int32_t(rounded);
}

QelTransformer::QelTransformer(float m11, float m12, float m21, float m22, float x0, float y0)
    : _m11(m11), _m12(m12), _m21(m21), _m22(m22), _x0(x0), _y0(y0) {
  updateFlags();
}

QelTransformer::QelTransformer(const QelPoint& translation)
    : _x0(translation.x), _y0(translation.y) {
  updateFlags();
}

QelTransformer::QelTransformer(double sx, double sy, const QelPoint* fixedPoint)
    : _m11(sx), _m22(sy) {
  if (fixedPoint) {
    _x0 = fixedPoint->x - fixedPoint->x * sx;
    _y0 = fixedPoint->y - fixedPoint->y * sy;
  }
  updateFlags();
}

QelTransformer::QelTransformer(const QelPoint& center, double angle) {
  rotate(center.x, center.y, angle);
}

void QelTransformer::updateFlags() {
  _det = _m11 * _m22 - _m12 * _m21;
  _noRotation = std::fabs(_m12) <= kZero && std::fabs(_m21) <= kZero;
  _translationOnly =
      _noRotation && std::fabs(_m11 - 1) <= kUnitTolerance && std::fabs(_m22 - 1) <= kUnitTolerance;
}

void QelTransformer::map(double x, double y, double& ox, double& oy) const {
  if (_noRotation) {
    ox = _m11 * x + _x0;
    oy = _m22 * y + _y0;
  } else {
    ox = _m11 * x + _m12 * y + _x0;
    oy = _m21 * x + _m22 * y + _y0;
  }
}

void QelTransformer::apply(QelPoint& p) const {
  double x, y;
  map(p.x, p.y, x, y);
  p = QelPoint(QelRoundToPixel(x), QelRoundToPixel(y));
}

void QelTransformer::apply(QelFloatPoint& p) const {
  double x, y;
  map(p.x, p.y, x, y);
  p = QelFloatPoint(float(x), float(y));
}

void QelTransformer::apply(QelRect& r) const {
  QelPoint a(r.x, r.y), b = farCorner(r);
  apply(a);
  apply(b);
  rectFromCorners(r, a, b);
}

void QelTransformer::apply(uint32_t count, QelPoint* points) const {
  for (uint32_t i = 0; i < count; ++i) apply(points[i]);
}

void QelTransformer::deltaApply(QelPoint& p) const {
  double x = p.x, y = p.y;
  if (_noRotation)
    p = QelPoint(QelRoundToPixel(_m11 * x), QelRoundToPixel(_m22 * y));
  else
    p = QelPoint(QelRoundToPixel(_m11 * x + _m12 * y), QelRoundToPixel(_m21 * x + _m22 * y));
}

bool QelTransformer::unmap(double x, double y, double& ox, double& oy) const {
  if (isBad()) return false;
  double u = x - _x0, v = y - _y0;
  if (_noRotation) {
    ox = u * _m22 / _det;
    oy = v * _m11 / _det;
  } else {
    ox = (_m22 * u - _m12 * v) / _det;
    oy = (_m11 * v - _m21 * u) / _det;
  }
  return true;
}

bool QelTransformer::inverse(QelPoint& p) const {
  double x, y;
  if (!unmap(p.x, p.y, x, y)) {
    QelWarning("QelTransformer::inverse(QelPoint&): bad transformer %x", addressOf(this));
    return false;
  }
  p = QelPoint(QelRoundToPixel(x), QelRoundToPixel(y));
  return true;
}

bool QelTransformer::inverse(QelFloatPoint& p) const {
  double x, y;
  if (!unmap(p.x, p.y, x, y)) {
    QelWarning("QelTransformer::inverse(QelFloatPoint&): bad transformer %x", addressOf(this));
    return false;
  }
  p = QelFloatPoint(float(x), float(y));
  return true;
}

bool QelTransformer::inverse(QelRect& r) const {
  double ax, ay, bx, by;
  QelPoint b = farCorner(r);
  if (!unmap(r.x, r.y, ax, ay) || !unmap(b.x, b.y, bx, by)) {
    QelWarning("QelTransformer::inverse(QelRect&): bad transformer %x", addressOf(this));
    return false;
  }
  rectFromCorners(r, QelPoint(QelRoundToPixel(ax), QelRoundToPixel(ay)),
                  QelPoint(QelRoundToPixel(bx), QelRoundToPixel(by)));
  return true;
}

bool QelTransformer::computeInverse(QelTransformer& out) const {
  if (!(std::fabs(_det) >= kZero)) return false;
  double k = 1 / _det;
  // Built apart and assigned last: `out` may be this transformer itself.
  QelTransformer inverse;
  inverse._m11 = _m22 * k;
  inverse._m12 = -_m12 * k;
  inverse._m21 = -_m21 * k;
  inverse._m22 = _m11 * k;
  inverse._x0 = (_y0 * _m12 - _x0 * _m22) * k;
  inverse._y0 = (_x0 * _m21 - _y0 * _m11) * k;
  inverse.updateFlags();
  inverse._det = k;
  out = inverse;
  return true;
}

void QelTransformer::compose(const QelTransformer& t) {
  double m11 = t._m11 * _m11 + t._m12 * _m21;
  double m12 = t._m11 * _m12 + t._m12 * _m22;
  double m21 = t._m21 * _m11 + t._m22 * _m21;
  double m22 = t._m21 * _m12 + t._m22 * _m22;
  double x0 = t._m11 * _x0 + t._m12 * _y0 + t._x0;
  double y0 = t._m21 * _x0 + t._m22 * _y0 + t._y0;
  _m11 = m11, _m12 = m12, _m21 = m21, _m22 = m22, _x0 = x0, _y0 = y0;
  updateFlags();
}

void QelTransformer::translate(double dx, double dy) {
  _x0 += dx;
  _y0 += dy;
  updateFlags();
}

void QelTransformer::scale(double cx, double cy, double sx, double sy) {
  _x0 += (_m11 * cx + _m12 * cy) * (1 - sx);
  _y0 += (_m21 * cx + _m22 * cy) * (1 - sy);
  _m11 *= sx;
  _m12 *= sx;
  _m21 *= sy;
  _m22 *= sy;
  updateFlags();
}

void QelTransformer::rotate(double cx, double cy, double angle) {
  // The angle passes through a float on purpose: rotations must land on the same pixels as
  // the drawings saved with them.
  float radians = float(angle * 3.1415926535 / 180);
  double c = std::cos(double(radians)), s = std::sin(double(radians));
  double m11 = _m11 * c - _m21 * s, m12 = _m12 * c - _m22 * s;
  double m21 = _m11 * s + _m21 * c, m22 = _m12 * s + _m22 * c;
  double x0 = _x0 * c - _y0 * s + cx * (1 - c) + cy * s;
  double y0 = _x0 * s + _y0 * c + cy * (1 - c) - cx * s;
  _m11 = m11, _m12 = m12, _m21 = m21, _m22 = m22, _x0 = x0, _y0 = y0;
  updateFlags();
}

void QelTransformer::getValues(float& m11, float& m12, float& m21, float& m22) const {
  m11 = float(_m11), m12 = float(_m12), m21 = float(_m21), m22 = float(_m22);
}

void QelTransformer::getValues(float& m11, float& m12, float& m21, float& m22, float& x0,
                               float& y0) const {
  getValues(m11, m12, m21, m22);
  getValues(x0, y0);
}

void QelTransformer::getValues(float& x0, float& y0) const {
  x0 = float(_x0), y0 = float(_y0);
}

void QelTransformer::setValues(float m11, float m12, float m21, float m22) {
  _m11 = m11, _m12 = m12, _m21 = m21, _m22 = m22;
  updateFlags();
}

void QelTransformer::setValues(float m11, float m12, float m21, float m22, float x0, float y0) {
  _x0 = x0, _y0 = y0;
  setValues(m11, m12, m21, m22);
}

void QelTransformer::setValues(float x0, float y0) {
  _x0 = x0, _y0 = y0;
  updateFlags();
}

bool QelTransformer::isIdentity() const {
  return _translationOnly && std::fabs(_x0) <= kZero && std::fabs(_y0) <= kZero;
}

bool QelTransformer::isBad() const {
  return !(std::fabs(_det) > kZero);
}
