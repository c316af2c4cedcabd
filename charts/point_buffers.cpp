#include "charts/point_buffers.h"

#include <cstdlib>
#include <limits>
#include <type_traits>

namespace {

// First made for the request plus two, then doubled until the request fits.
template <typename Point>
class ScratchBuffer {
 public:
  Point* get(size_t count) {
    if (_points && count <= _capacity) return _points;
    size_t capacity = _capacity;
    if (!_points) {
      if (count > kMaxPoints - 2) return nullptr;
      capacity = count + 2;
    }
    while (capacity < count) {
      if (capacity > kMaxPoints / 2) return nullptr;
      capacity *= 2;
    }
    void* grown = std::realloc(_points, capacity * sizeof(Point));
    if (!grown) return nullptr;
    _points = static_cast<Point*>(grown);
    _capacity = capacity;
    return _points;
  }

 private:
  static constexpr size_t kMaxPoints = std::numeric_limits<size_t>::max() / sizeof(Point);
  Point* _points = nullptr;
  size_t _capacity = 0;
};

}  // namespace

// The points are trivially copyable: realloc may move them.
static_assert(std::is_trivially_copyable_v<QelFloatPoint> &&
              std::is_trivially_copyable_v<QelPoint>);

QelFloatPoint* QelAllocFloatPoints(size_t count) {
  static ScratchBuffer<QelFloatPoint> buffer;
  return buffer.get(count);
}

QelPoint* QelAllocPoints(size_t count) {
  static ScratchBuffer<QelPoint> buffer;
  return buffer.get(count);
}

QelPoint* QelAllocInternalPoints(size_t count) {
  static ScratchBuffer<QelPoint> buffer;
  return buffer.get(count);
}
