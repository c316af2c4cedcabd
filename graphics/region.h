// A clip and damage region: a bounding box and a list of rectangles that may overlap. The list is
// never split or merged; a rectangle that another one contains is dropped instead.
#pragma once

#include <cstdint>

#include "graphics/geometry.h"

class QelTransformer;

class QelRegion {
 public:
  static constexpr uint16_t kInlineSlots = 8;

  explicit QelRegion(uint16_t capacity = kInlineSlots);
  QelRegion(const QelRect& rect, uint16_t capacity = kInlineSlots);
  QelRegion(const QelRegion& other);
  QelRegion& operator=(const QelRegion& other);
  ~QelRegion();

  QelRegion* copy() const { return new QelRegion(*this); }

  const QelRect& getBBox() const { return _bbox; }
  uint16_t getCount() const { return _count; }
  uint16_t getCapacity() const { return _capacity; }
  bool isEmpty() const { return _count == 0; }
  const QelRect& getRect(uint16_t index) const { return slots()[index]; }
  void clear();
  // The same rectangles in the same order.
  bool sameRectangles(const QelRegion& other) const;

  // Closed test: a point on the right or bottom edge of a member is inside.
  bool contains(const QelPoint& p) const;
  // Inside one single member (a rectangle covered only by several members is not contained).
  bool contains(const QelRect& r) const;
  // The half-open overlap test against the bounding box, then against each member.
  bool intersects(const QelRect& r) const;

  void add(const QelRect& rect);
  void translate(int32_t dx, int32_t dy);
  // Adds to the extent of every member and of the box; each result stays at least 0.
  void grow(int32_t dw, int32_t dh);
  // Clips every member and the box to `rect`; members that become empty stay in the list.
  void intersection(const QelRect& rect);
  // Maps every member and the box through `t` (null: nothing).
  void apply(const QelTransformer* t);
  void inverse(const QelTransformer* t);

 private:
  QelRect* slots() { return _capacity > kInlineSlots ? _heap : _inline; }
  const QelRect* slots() const { return _capacity > kInlineSlots ? _heap : _inline; }
  void append(const QelRect& rect);
  void growStorage();
  void removeAt(uint16_t index);

  QelRect _bbox;
  uint16_t _capacity;
  uint16_t _count = 0;
  QelRect _inline[kInlineSlots];
  QelRect* _heap = nullptr;
};
