#include "graphics/rectangle.h"

#include <cstdint>
#include <istream>
#include <limits>
#include <ostream>

#include "base/module_init.h"
#include "display/display.h"
#include "display/palette.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/line_geometry.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

QelGraphicClassInfo* rectangleClass = nullptr;
QelGraphicClassInfo* filledRectangleClass = nullptr;
int rectangleModuleState = 0;

void initializeRectangleModule() {
  static QelGraphicClassInfo rectangle("QelRectangle", QelSimpleGraphic::ClassInfo(),
                                       QelReadGraphic<QelRectangle>);
  static QelGraphicClassInfo filled("QelFilledRectangle", &rectangle,
                                    QelReadGraphic<QelFilledRectangle>);
  rectangleClass = &rectangle;
  filledRectangleClass = &filled;
}

// "x y w h", each within its field's range: read through 64 bits so that "-1" cannot wrap into a
// width of four billion pixels.
QelRect readRect(std::istream& in) {
  constexpr int64_t kMinCoord = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMaxCoord = std::numeric_limits<int32_t>::max();
  constexpr int64_t kMaxExtent = std::numeric_limits<uint32_t>::max();
  int64_t x, y, w, h;
  if (QelReadInteger(in, kMinCoord, kMaxCoord, x) && QelReadInteger(in, kMinCoord, kMaxCoord, y) &&
      QelReadInteger(in, 0, kMaxExtent, w) && QelReadInteger(in, 0, kMaxExtent, h))
    return QelRect(int32_t(x), int32_t(y), uint32_t(w), uint32_t(h));
  return QelRect();
}

QelRect transformed(const QelRect& rect, const QelTransformer* t) {
  QelRect r = rect;
  if (t) t->apply(r);
  return r;
}

}  // namespace

int QelRectangleModuleInit() {
  QelGraphicModuleInit();
  return QelInitializeOnce(rectangleModuleState, initializeRectangleModule);
}

// --- QelRectangle -----------------------------------------------------------------------------

QelRectangle::QelRectangle(QelDisplay* display, const QelRect& rect, QelPalette* palette)
    : QelSimpleGraphic(display, palette), _rect(rect) {}

QelRectangle::QelRectangle(QelInputFile& file, QelPalette* palette)
    : QelSimpleGraphic(file.getDisplay(), palette), _rect(readRect(file.getStream())) {}

void QelRectangle::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (!canDrawWith(palette)) return;
  QelPaletteClip scope(palette, clip);
  palette->getDisplay()->drawRectangle(port, palette, transformed(_rect, t));
}

bool QelRectangle::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  QelRect r = transformed(_rect, t);
  if (!r.containsClosed(tp)) return false;
  const QelPoint topLeft(r.x, r.y), topRight(r.right(), r.y), bottomRight(r.right(), r.bottom()),
      bottomLeft(r.x, r.bottom());
  return QelPointInLine(tp, topLeft, topRight) || QelPointInLine(tp, topRight, bottomRight) ||
         QelPointInLine(tp, bottomRight, bottomLeft) || QelPointInLine(tp, bottomLeft, topLeft);
}

void QelRectangle::boundingBox(QelRect& rect, const QelTransformer* t) const {
  rect = transformed(_rect, t);
}

void QelRectangle::applyTransform(const QelTransformer* t) {
  if (!t) return;
  t->apply(_rect);
  if (!_rect.w) _rect.w = 1;
  if (!_rect.h) _rect.h = 1;
}

QelGraphic* QelRectangle::copy() const {
  return new QelRectangle(getDisplay(), _rect, getPalette());
}

void QelRectangle::write(QelOutputFile& file) const {
  file.getStream() << _rect.x << ' ' << _rect.y << ' ' << _rect.w << ' ' << _rect.h;
}

QelClassInfo* QelRectangle::ClassInfo() {
  QelRectangleModuleInit();
  return rectangleClass;
}

QelClassInfo* QelRectangle::getClassInfo() const {
  return ClassInfo();
}

// --- QelFilledRectangle -----------------------------------------------------------------------

QelFilledRectangle::QelFilledRectangle(QelDisplay* display, const QelRect& rect,
                                       QelPalette* palette)
    : QelRectangle(display, rect, palette) {}

QelFilledRectangle::QelFilledRectangle(QelInputFile& file, QelPalette* palette)
    : QelRectangle(file, palette) {}

void QelFilledRectangle::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (!canDrawWith(palette)) return;
  QelPaletteClip scope(palette, clip);
  palette->getDisplay()->fillRectangle(port, palette, transformed(_rect, t));
}

bool QelFilledRectangle::contains(const QelPoint&, const QelPoint& tp,
                                  const QelTransformer* t) const {
  return transformed(_rect, t).containsClosed(tp);
}

QelGraphic* QelFilledRectangle::copy() const {
  return new QelFilledRectangle(getDisplay(), _rect, getPalette());
}

QelClassInfo* QelFilledRectangle::ClassInfo() {
  QelRectangleModuleInit();
  return filledRectangleClass;
}

QelClassInfo* QelFilledRectangle::getClassInfo() const {
  return ClassInfo();
}
