#include "graphics/simple_graphic.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/symbol.h"
#include "display/color.h"
#include "display/display.h"
#include "display/font.h"
#include "display/line_style.h"
#include "display/palette.h"
#include "display/pattern.h"

QelClassInfo* QelSimpleGraphicClassInfo();

QelSimpleGraphic::QelSimpleGraphic(QelDisplay* display, QelPalette* palette) {
  initialize(palette ? palette : display ? display->defaultPalette() : nullptr);
}

QelSimpleGraphic::~QelSimpleGraphic() {
  if (_palette) _palette->unLock();
}

bool QelSimpleGraphic::canDrawWith(const QelPalette* palette) {
  return palette && palette->getDisplay();
}

QelDisplay* QelSimpleGraphic::getDisplay() const {
  return _palette ? _palette->getDisplay() : nullptr;
}

void QelSimpleGraphic::initialize(QelPalette* palette) {
  if (palette) palette->lock();
  if (_palette) _palette->unLock();
  _palette = palette;
}

QelClassInfo* QelSimpleGraphic::ClassInfo() {
  return QelSimpleGraphicClassInfo();
}
QelClassInfo* QelSimpleGraphic::getClassInfo() const {
  return ClassInfo();
}

template <typename Change>
void QelSimpleGraphic::changePalette(Change change) {
  if (!_palette) return;
  QelPaletteAttributes attributes = _palette->getAttributes();
  if (!change(attributes)) return;  // the palette already has that value
  setPalette(_palette->getDisplay()->getPalette(attributes));
}

void QelSimpleGraphic::setPalette(QelPalette* palette) {
  if (!palette || palette == _palette) return;
  initialize(palette);
}

namespace {

template <typename Field, typename Value>
bool assign(Field& field, Value value) {
  if (field == Field(value)) return false;
  field = Field(value);
  return true;
}

}  // namespace

void QelSimpleGraphic::setBackground(QelColor* color) {
  if (color)
    changePalette([color](QelPaletteAttributes& a) { return assign(a.background, color); });
}
void QelSimpleGraphic::setForeground(QelColor* color) {
  if (color)
    changePalette([color](QelPaletteAttributes& a) { return assign(a.foreground, color); });
}
void QelSimpleGraphic::setFont(QelFont* font) {
  if (font) changePalette([font](QelPaletteAttributes& a) { return assign(a.font, font); });
}
void QelSimpleGraphic::setColorPattern(QelColorPattern* pattern) {
  changePalette([pattern](QelPaletteAttributes& a) { return assign(a.colorPattern, pattern); });
}
void QelSimpleGraphic::setPattern(QelPattern* pattern) {
  changePalette(
      [pattern](QelPaletteAttributes& a) { return pattern && assign(a.pattern, pattern); });
}
void QelSimpleGraphic::setOverwrite(int overwrite) {
  changePalette(
      [overwrite](QelPaletteAttributes& a) { return assign(a.overwrite, overwrite != 0); });
}
void QelSimpleGraphic::setMode(int mode) {
  changePalette([mode](QelPaletteAttributes& a) { return assign(a.mode, mode); });
}
void QelSimpleGraphic::setFillStyle(int style) {
  changePalette([style](QelPaletteAttributes& a) { return assign(a.fillStyle, style); });
}
void QelSimpleGraphic::setLineStyle(QelLineStyle* style) {
  if (style) changePalette([style](QelPaletteAttributes& a) { return assign(a.lineStyle, style); });
}
void QelSimpleGraphic::setLineWidth(uint16_t width) {
  changePalette([width](QelPaletteAttributes& a) { return assign(a.lineWidth, width); });
}
void QelSimpleGraphic::setPlaneMask(uint32_t mask) {
  changePalette([mask](QelPaletteAttributes& a) { return assign(a.planeMask, mask); });
}
void QelSimpleGraphic::setArcMode(int mode) {
  changePalette([mode](QelPaletteAttributes& a) { return assign(a.arcMode, mode != 0); });
}
void QelSimpleGraphic::setFillRule(int rule) {
  changePalette([rule](QelPaletteAttributes& a) { return assign(a.fillRule, rule != 0); });
}

void QelSimpleGraphic::invert(int on) {
  if (bool(on) == _inverted) return;
  _inverted = bool(on);
  changePalette([](QelPaletteAttributes& a) {
    std::swap(a.foreground, a.background);
    return a.foreground != a.background;
  });
}

void QelSimpleGraphic::drawPalette(const QelPalette* palette, QelPort* port,
                                   const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* previous = _lent;
  _lent = palette;
  draw(port, t, clip);
  _lent = previous;
}

void QelSimpleGraphic::applyResources(QelDisplay* display, const char* objectName,
                                      const char* objectClass) {
  if (!display) return;
  if (const char* name = display->getResource("foreground", objectName, objectClass))
    setForeground(display->getColor(name));
  if (const char* name = display->getResource("background", objectName, objectClass))
    setBackground(display->getColor(name));
  if (const char* name = display->getResource("font", objectName, objectClass)) {
    QelFont* font = display->getFont(name);
    if (font && font->isValid()) setFont(font);
  }
  if (const char* width = display->getResource("lineWidth", objectName, objectClass)) {
    char* end;
    long value = std::strtol(width, &end, 10);
    if (*width && !*end && value >= 0 && value <= 0xffff) setLineWidth(uint16_t(value));
  }
}

namespace {

const QelSymbol* name(const char* text) {
  return QelSymbol::Get(text);
}

}  // namespace

bool QelSimpleGraphic::queryValue(QelValue& value) const {
  if (!_palette) return QelGraphic::queryValue(value);
  const QelPaletteAttributes& a = _palette->getAttributes();
  const QelSymbol* n = value.getName();
  if (n == name("foreground"))
    value.set(static_cast<void*>(a.foreground));
  else if (n == name("background"))
    value.set(static_cast<void*>(a.background));
  else if (n == name("font"))
    value.set(static_cast<void*>(a.font));
  else if (n == name("pattern"))
    value.set(static_cast<void*>(a.pattern));
  else if (n == name("colorPattern"))
    value.set(static_cast<void*>(a.colorPattern));
  else if (n == name("lineStyle"))
    value.set(static_cast<void*>(a.lineStyle));
  else if (n == name("fillStyle"))
    value.set(int32_t(a.fillStyle));
  else if (n == name("fillRule"))
    value.set(int32_t(a.fillRule));
  else if (n == name("lineWidth"))
    value.set(uint32_t(a.lineWidth));
  else if (n == name("arcMode"))
    value.set(int32_t(a.arcMode));
  else
    return QelGraphic::queryValue(value);
  return true;
}

bool QelSimpleGraphic::applyValue(const QelValue& value) {
  const QelSymbol* n = value.getName();
  void* pointer = value.asPointer();
  if (n == name("foreground"))
    setForeground(static_cast<QelColor*>(pointer));
  else if (n == name("background"))
    setBackground(static_cast<QelColor*>(pointer));
  else if (n == name("font"))
    setFont(static_cast<QelFont*>(pointer));
  else if (n == name("pattern"))
    setPattern(static_cast<QelPattern*>(pointer));
  else if (n == name("colorPattern"))
    setColorPattern(static_cast<QelColorPattern*>(pointer));
  else if (n == name("lineStyle"))
    setLineStyle(static_cast<QelLineStyle*>(pointer));
  else if (n == name("fillStyle"))
    setFillStyle(value.asInt());
  else if (n == name("fillRule"))
    setFillRule(value.asInt());
  else if (n == name("lineWidth"))
    setLineWidth(uint16_t(std::min<uint32_t>(value.asUInt(), 0xffff)));
  else if (n == name("arcMode"))
    setArcMode(value.asInt());
  else
    return QelGraphic::applyValue(value);
  return true;
}

void QelSimpleGraphic::getAccessors(const QelSymbol* const** names, const QelValueType** types,
                                    uint32_t& count) const {
  static const QelSymbol* accessorNames[] = {
      name("width"),      name("height"),    name("sensitive"), name("foreground"),
      name("background"), name("font"),      name("pattern"),   name("colorPattern"),
      name("lineStyle"),  name("fillStyle"), name("fillRule"),  name("lineWidth"),
      name("arcMode")};
  static const QelValueType accessorTypes[] = {
      QelValueUInt,    QelValueUInt,    QelValueInt,     QelValuePointer, QelValuePointer,
      QelValuePointer, QelValuePointer, QelValuePointer, QelValuePointer, QelValueInt,
      QelValueInt,     QelValueUInt,    QelValueInt};
  if (names) *names = accessorNames;
  if (types) *types = accessorTypes;
  count = sizeof accessorTypes / sizeof accessorTypes[0];
}
