#include "graphics/region.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "graphics/transformer.h"

namespace {

bool inside(const QelRect& inner, const QelRect& outer) {
  return outer.contains(inner);
}

}  // namespace

QelRegion::QelRegion(uint16_t capacity) : _capacity(capacity) {
  if (_capacity > kInlineSlots) _heap = new QelRect[_capacity];
}

QelRegion::QelRegion(const QelRect& rect, uint16_t capacity) : QelRegion(capacity) {
  add(rect);
}

QelRegion::QelRegion(const QelRegion& other) : QelRegion(kInlineSlots) {
  *this = other;
}

QelRegion& QelRegion::operator=(const QelRegion& other) {
  if (this == &other) return *this;
  if (other._count <= kInlineSlots) {
    delete[] _heap;
    _heap = nullptr;
    _capacity = kInlineSlots;
  } else if (_capacity < other._count) {
    delete[] _heap;
    _heap = new QelRect[other._count];
    _capacity = other._count;
  }
  _bbox = other._bbox;
  _count = other._count;
  std::copy(other.slots(), other.slots() + other._count, slots());
  return *this;
}

QelRegion::~QelRegion() {
  delete[] _heap;
}

void QelRegion::clear() {
  _count = 0;
  _bbox = QelRect();
}

bool QelRegion::contains(const QelPoint& p) const {
  auto closedContains = [&p](const QelRect& r) { return r.containsClosed(p); };
  if (_count == 0 || !closedContains(_bbox)) return false;
  return std::any_of(slots(), slots() + _count, closedContains);
}

bool QelRegion::contains(const QelRect& r) const {
  if (_count == 0 || !inside(r, _bbox)) return false;
  return std::any_of(slots(), slots() + _count, [&r](const QelRect& m) { return inside(r, m); });
}

bool QelRegion::intersects(const QelRect& r) const {
  if (_count == 0 || !_bbox.intersects(r)) return false;
  return std::any_of(slots(), slots() + _count, [&r](const QelRect& m) { return m.intersects(r); });
}

// Storage grows by exactly one slot per call: regions stay small, and a region that would need
// more than 65535 slots merges the new rectangle into its last member instead (see append).
void QelRegion::growStorage() {
  if (_capacity < kInlineSlots) {
    ++_capacity;
    return;
  }
  QelRect* larger = new QelRect[_capacity + 1];
  std::copy(slots(), slots() + _count, larger);
  delete[] _heap;
  _heap = larger;
  ++_capacity;
}

void QelRegion::append(const QelRect& rect) {
  if (_count >= _capacity) {
    if (_capacity == std::numeric_limits<uint16_t>::max()) {
      slots()[_count - 1].add(rect);  // full for good: still cover what was added
      return;
    }
    growStorage();
  }
  slots()[_count++] = rect;
}

void QelRegion::removeAt(uint16_t index) {
  QelRect* members = slots();
  std::copy(members + index + 1, members + _count, members + index);
  --_count;
  if (_count == kInlineSlots && _capacity > kInlineSlots) {
    std::copy(_heap, _heap + kInlineSlots, _inline);
    delete[] _heap;
    _heap = nullptr;
    _capacity = kInlineSlots;
  }
}

void QelRegion::add(const QelRect& rect) {
  if (_count == 0) {
    _bbox = rect;
    append(rect);
    return;
  }
  if (intersects(rect)) {
    _bbox.add(rect);
    for (uint16_t i = 0; i < _count; ++i) {
      QelRect& member = slots()[i];
      if (inside(rect, member)) return;
      if (inside(member, rect)) {
        member = rect;
        for (uint16_t j = i + 1; j < _count;) {
          if (inside(slots()[j], rect))
            removeAt(j);
          else
            ++j;
        }
        return;
      }
    }
    append(rect);
    return;
  }
  _bbox.add(rect);
  append(rect);
}

void QelRegion::translate(int32_t dx, int32_t dy) {
  for (uint16_t i = 0; i < _count; ++i) slots()[i].translate(dx, dy);
  _bbox.translate(dx, dy);
}

void QelRegion::grow(int32_t dw, int32_t dh) {
  auto growRect = [dw, dh](QelRect& r) {
    r.w = uint32_t(std::clamp<int64_t>(int64_t(r.w) + dw, 0, std::numeric_limits<uint32_t>::max()));
    r.h = uint32_t(std::clamp<int64_t>(int64_t(r.h) + dh, 0, std::numeric_limits<uint32_t>::max()));
  };
  for (uint16_t i = 0; i < _count; ++i) growRect(slots()[i]);
  growRect(_bbox);
}

void QelRegion::intersection(const QelRect& rect) {
  if (_count == 0) return;
  for (uint16_t i = 0; i < _count; ++i) slots()[i].intersection(rect);
  _bbox.intersection(rect);
}

void QelRegion::apply(const QelTransformer* t) {
  if (!t) return;
  if (t->isTranslationOnly()) {
    float tx, ty;
    t->getValues(tx, ty);
    translate(QelRoundToPixel(tx), QelRoundToPixel(ty));
    return;
  }
  for (uint16_t i = 0; i < _count; ++i) t->apply(slots()[i]);
  t->apply(_bbox);
}

void QelRegion::inverse(const QelTransformer* t) {
  if (!t) return;
  for (uint16_t i = 0; i < _count; ++i) t->inverse(slots()[i]);
  t->inverse(_bbox);
}

bool QelRegion::sameRectangles(const QelRegion& other) const {
  if (_count != other._count) return false;
  for (uint16_t i = 0; i < _count; ++i)
    if (!(getRect(i) == other.getRect(i))) return false;
  return true;
}
