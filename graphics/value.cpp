#include "graphics/value.h"

#include <cmath>
#include <limits>

namespace {

template <typename Int>
Int saturate(double v) {
  if (std::isnan(v)) return 0;
  if (v <= double(std::numeric_limits<Int>::min())) return std::numeric_limits<Int>::min();
  if (v >= double(std::numeric_limits<Int>::max())) return std::numeric_limits<Int>::max();
  return Int(v);
}

}  // namespace

int32_t QelValue::asInt() const {
  switch (_type) {
    case QelValueInt:
      return _int;
    case QelValueUInt:
      return saturate<int32_t>(_uint);
    case QelValueFloat:
      return saturate<int32_t>(_float);
    default:
      return 0;
  }
}

uint32_t QelValue::asUInt() const {
  switch (_type) {
    case QelValueInt:
      return saturate<uint32_t>(_int);
    case QelValueUInt:
      return _uint;
    case QelValueFloat:
      return saturate<uint32_t>(_float);
    default:
      return 0;
  }
}

float QelValue::asFloat() const {
  switch (_type) {
    case QelValueInt:
      return float(_int);
    case QelValueUInt:
      return float(_uint);
    case QelValueFloat:
      return _float;
    default:
      return 0;
  }
}
