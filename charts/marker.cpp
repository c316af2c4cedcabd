#include "charts/marker.h"

#include <algorithm>
#include <cstdint>
#include <istream>
#include <limits>
#include <ostream>

#include "charts/chart.h"
#include "display/display.h"
#include "display/palette.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/transformer.h"

namespace {

QelGraphicClassInfo* markerClass = nullptr;

}  // namespace

void QelRegisterMarker() {
  static QelGraphicClassInfo marker("QelMarker", QelSimpleGraphic::ClassInfo(),
                                    QelReadGraphic<QelMarker>);
  markerClass = &marker;
}

QelMarker::QelMarker(QelDisplay* display, const QelPoint& point, unsigned int type, uint16_t size,
                     QelPalette* palette)
    : QelSimpleGraphic(display, palette), _point(point), _type(type), _size(size) {}

QelMarker::QelMarker(const QelMarker& other)
    : QelSimpleGraphic(other.getDisplay(), other.getPalette()),
      _point(other._point),
      _type(other._type),
      _size(other._size) {}

QelMarker::QelMarker(QelInputFile& file, QelPalette* palette)
    : QelSimpleGraphic(file.getDisplay(), palette), _type(QelMarkerSquare), _size(kDefaultSize) {
  std::istream& in = file.getStream();
  constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  int64_t x, y, type, size;
  if (QelReadInteger(in, kMin, kMax, x) && QelReadInteger(in, kMin, kMax, y) &&
      QelReadInteger(in, 0, QelAllMarkerBits, type) &&
      QelReadInteger(in, 0, std::numeric_limits<uint16_t>::max(), size)) {
    _point = QelPoint(int32_t(x), int32_t(y));
    _type = unsigned(type);
    _size = uint16_t(size);
  }
}

void QelMarker::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (!canDrawWith(palette)) return;
  QelPoint p = _point;
  if (t) t->apply(p);
  QelPaletteClip scope(palette, clip);
  palette->getDisplay()->drawMarker(port, palette, p, _type, _size);
}

bool QelMarker::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  return box.contains(tp);
}

void QelMarker::boundingBox(QelRect& rect, const QelTransformer* t) const {
  QelPoint p = _point;
  if (t) t->apply(p);
  // Outlines reach x + size inclusive: one pixel more than twice the size.
  rect = QelRect(QelClampToInt32(int64_t(p.x) - _size), QelClampToInt32(int64_t(p.y) - _size),
                 2 * uint32_t(_size) + 1, 2 * uint32_t(_size) + 1);
}

void QelMarker::applyTransform(const QelTransformer* t) {
  if (t) t->apply(_point);
}

void QelMarker::move(int32_t x, int32_t y) {
  _point = QelPoint(QelClampToInt32(int64_t(x) + _size), QelClampToInt32(int64_t(y) + _size));
}

void QelMarker::write(QelOutputFile& file) const {
  file.getStream() << _point.x << ' ' << _point.y << ' ' << _type << ' ' << _size;
}

QelClassInfo* QelMarker::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelMarker::ClassInfo() {
  QelChartModuleInit();
  return markerClass;
}
