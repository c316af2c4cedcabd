// The affine map from object coordinates to device coordinates, in double precision.
// A null transformer wherever one is accepted means the identity.
#pragma once

#include <cstdint>

#include "graphics/geometry.h"

// Rounds a device coordinate to the nearest pixel under the current rounding mode (ties to even
// by default). Values beyond the 32-bit range saturate and NaN becomes 0, so no input can
// produce an undefined conversion.
int32_t QelRoundToPixel(double v);

class QelTransformer {
 public:
  QelTransformer() = default;
  QelTransformer(float m11, float m12, float m21, float m22, float x0, float y0);
  explicit QelTransformer(const QelPoint& translation);
  // Scales by (sx, sy); with `fixedPoint` the scaling keeps that point where it is.
  QelTransformer(double sx, double sy, const QelPoint* fixedPoint = nullptr);
  // Rotates by `angle` degrees about `center`.
  QelTransformer(const QelPoint& center, double angle);

  void updateFlags();

  void apply(QelPoint& p) const;
  void apply(QelFloatPoint& p) const;
  // Maps only the two corners (x, y) and (right, bottom); under a rotation the result is the box
  // of those two images, not of all four corners.
  void apply(QelRect& r) const;
  void apply(uint32_t count, QelPoint* points) const;
  // The linear part only, for vectors and sizes.
  void deltaApply(QelPoint& p) const;

  // Each warns, leaves its argument unchanged and returns false when the map cannot be inverted.
  bool inverse(QelPoint& p) const;
  bool inverse(QelFloatPoint& p) const;
  bool inverse(QelRect& r) const;
  bool computeInverse(QelTransformer& out) const;

  // This map followed by `t`.
  void compose(const QelTransformer& t);
  void translate(double dx, double dy);
  // Scales about the source point (cx, cy): its image does not move.
  void scale(double cx, double cy, double sx, double sy);
  // Rotates the output by `angle` degrees about the output point (cx, cy).
  void rotate(double cx, double cy, double angle);

  void getValues(float& m11, float& m12, float& m21, float& m22) const;
  void getValues(float& m11, float& m12, float& m21, float& m22, float& x0, float& y0) const;
  void getValues(float& x0, float& y0) const;
  void setValues(float m11, float m12, float m21, float m22);
  void setValues(float m11, float m12, float m21, float m22, float x0, float y0);
  void setValues(float x0, float y0);

  double getDeterminant() const { return _det; }
  bool isTranslationOnly() const { return _translationOnly; }
  bool hasNoRotation() const { return _noRotation; }
  bool isIdentity() const;
  bool isBad() const;

 private:
  void map(double x, double y, double& ox, double& oy) const;
  bool unmap(double x, double y, double& ox, double& oy) const;

  double _m11 = 1, _m12 = 0, _m21 = 0, _m22 = 1, _x0 = 0, _y0 = 0;
  double _det = 1;
  int32_t _translationOnly = 1;
  int32_t _noRotation = 1;
};
