#include "display/palette.h"

#include <functional>

#include "display/color.h"
#include "display/display.h"
#include "display/font.h"
#include "display/line_style.h"
#include "display/pattern.h"
#include "display/port.h"

int QelXFunctionOfMode(int mode) {
  switch (mode) {
    case QelDrawModeOr:
      return GXor;
    case QelDrawModeAnd:
      return GXand;
    case QelDrawModeXor:
      return GXxor;
    case QelDrawModeInvert:
      return GXinvert;
    case QelDrawModeCopyInverted:
      return GXcopyInverted;
    case QelDrawModeOrInverted:
      return GXorInverted;
    case QelDrawModeAndInverted:
      return GXandInverted;
    case QelDrawModeEquivalent:
      return GXequiv;
    default:
      return GXcopy;
  }
}

bool QelPaletteAttributes::operator==(const QelPaletteAttributes& o) const {
  return background == o.background && foreground == o.foreground && pattern == o.pattern &&
         colorPattern == o.colorPattern && font == o.font && lineStyle == o.lineStyle &&
         lineWidth == o.lineWidth && fillStyle == o.fillStyle && arcMode == o.arcMode &&
         fillRule == o.fillRule && mode == o.mode && overwrite == o.overwrite &&
         planeMask == o.planeMask;
}

size_t QelPaletteAttributes::hash() const {
  size_t h = 0;
  auto mix = [&h](size_t v) { h ^= v + 0x9e3779b97f4a7c15ull + (h << 6) + (h >> 2); };
  std::hash<const void*> pointer;
  mix(pointer(background)), mix(pointer(foreground)), mix(pointer(pattern));
  mix(pointer(colorPattern)), mix(pointer(font)), mix(pointer(lineStyle));
  mix(lineWidth), mix(size_t(fillStyle)), mix(size_t(arcMode)), mix(size_t(fillRule));
  mix(size_t(mode)), mix(size_t(overwrite)), mix(planeMask);
  return h;
}

namespace {

template <typename Resource>
void lockIf(Resource* resource) {
  if (resource) resource->lock();
}

template <typename Resource>
void unLockIf(Resource* resource) {
  if (resource) resource->unLock();
}

}  // namespace

QelPalette::QelPalette(QelDisplay* display, int shared)
    : QelPalette(display, QelPaletteAttributes(), shared) {}

namespace {

QelPaletteAttributes attributesOf(QelColor* background, QelColor* foreground, QelFont* font,
                                  QelPattern* pattern, QelColorPattern* colorPattern,
                                  QelLineStyle* lineStyle, uint16_t lineWidth, int overwrite,
                                  QelFillStyle fillStyle, QelArcMode arcMode,
                                  QelFillRule fillRule) {
  QelPaletteAttributes a;
  a.background = background, a.foreground = foreground, a.font = font;
  a.pattern = pattern, a.colorPattern = colorPattern, a.lineStyle = lineStyle;
  a.lineWidth = lineWidth, a.overwrite = overwrite, a.fillStyle = fillStyle;
  a.arcMode = arcMode, a.fillRule = fillRule;
  return a;
}

}  // namespace

QelPalette::QelPalette(QelDisplay* display, QelColor* background, QelColor* foreground,
                       QelFont* font, QelPattern* pattern, QelColorPattern* colorPattern,
                       QelLineStyle* lineStyle, uint16_t lineWidth, int overwrite,
                       QelFillStyle fillStyle, QelArcMode arcMode, QelFillRule fillRule)
    : QelPalette(display,
                 attributesOf(background, foreground, font, pattern, colorPattern, lineStyle,
                              lineWidth, overwrite, fillStyle, arcMode, fillRule),
                 0) {}

QelPalette::QelPalette(QelDisplay* display, const QelPaletteAttributes& attributes, int shared)
    : QelResource(display), _shared(shared), _attributes(attributes), _clip(8) {
  display->normalize(_attributes);
  lockIf(_attributes.background);
  lockIf(_attributes.foreground);
  lockIf(_attributes.font);
  lockIf(_attributes.lineStyle);
  makePalette();
}

QelPalette::~QelPalette() {
  getDisplay()->removePalette(this);
  getDisplay()->freePalette(this);
  unLockIf(_attributes.lineStyle);
  unLockIf(_attributes.font);
  unLockIf(_attributes.foreground);
  unLockIf(_attributes.background);
}

void QelPalette::unLock() {
  if (release() && _shared) delete this;
}

int QelXFillStyleOf(const QelPaletteAttributes& a, const QelPattern* solid) {
  if (a.fillStyle == QelFillColorPattern && a.colorPattern) return FillTiled;
  if (a.fillStyle == QelFillMaskPattern) return FillStippled;
  return a.pattern == solid || !a.pattern ? FillSolid : FillOpaqueStippled;
}

void QelPalette::makePalette() {
  QelDisplay* display = getDisplay();
  Display* x = display->getXDisplay();
  if (!x) return;
  const QelPaletteAttributes& a = _attributes;
  XGCValues values;
  unsigned long mask = GCFunction | GCPlaneMask | GCForeground | GCBackground | GCLineWidth |
                       GCLineStyle | GCFillStyle | GCFillRule | GCArcMode | GCSubwindowMode |
                       GCGraphicsExposures;
  values.function = QelXFunctionOfMode(a.mode);
  _planeMask = display->palettePlaneMask() & a.planeMask;
  values.plane_mask = _planeMask;
  values.foreground = a.foreground->getIndex();
  values.background = a.background->getIndex();
  values.line_width = a.lineWidth;
  bool solidLine = !a.lineStyle || a.lineStyle->isSolid();
  values.line_style = solidLine ? LineSolid : LineOnOffDash;
  values.fill_style = QelXFillStyleOf(a, display->solidPattern());
  values.fill_rule = a.fillRule == QelEvenOddRule ? EvenOddRule : WindingRule;
  values.arc_mode = a.arcMode == QelArcPie ? ArcPieSlice : ArcChord;
  if (a.colorPattern && a.colorPattern->getBitmap()->isValid()) {
    values.tile = a.colorPattern->getBitmap()->getPixmap();
    mask |= GCTile;
  }
  if (a.pattern && a.pattern->getBitmap()->isValid()) {
    values.stipple = a.pattern->getBitmap()->getPixmap();
    mask |= GCStipple;
  }
  if (a.font && !a.font->isFontSet() && a.font->getXFontStruct()) {
    values.font = a.font->getXFontStruct()->fid;
    mask |= GCFont;
  }
  values.subwindow_mode = a.overwrite ? IncludeInferiors : ClipByChildren;
  values.graphics_exposures = True;
  _gc = XCreateGC(x, display->getGCDrawable(), mask, &values);
  if (!solidLine)
    XSetDashes(x, _gc, a.lineStyle->getOffset(),
               reinterpret_cast<const char*>(a.lineStyle->getDashes()), a.lineStyle->getCount());
  if (_shared) display->filePalette(this);
}

template <typename Resource>
void QelPalette::replace(Resource*& field, Resource* value) {
  Resource* old = field;
  lockIf(value);
  field = value;
  unLockIf(old);  // after the GC stopped using it
}

template <typename Field, typename ToGC>
void QelPalette::setPlain(Field& field, Field value, ToGC toGC) {
  if (value == field) return;
  QelPaletteAttributes before = _attributes;
  field = value;
  toGC();
  attributesChanged(before);
}

void QelPalette::attributesChanged(const QelPaletteAttributes& before) {
  if (!_shared || before == _attributes) return;
  getDisplay()->unfilePalette(this, before);
  getDisplay()->filePalette(this);
}

void QelPalette::setForeground(QelColor* color) {
  if (!color || color == _attributes.foreground) return;
  QelPaletteAttributes before = _attributes;
  getDisplay()->setForeground(this, color);
  replace(_attributes.foreground, color);
  attributesChanged(before);
}

void QelPalette::setBackground(QelColor* color) {
  if (!color || color == _attributes.background) return;
  QelPaletteAttributes before = _attributes;
  getDisplay()->setBackground(this, color);
  replace(_attributes.background, color);
  attributesChanged(before);
}

void QelPalette::setFont(QelFont* font) {
  if (!font || font == _attributes.font) return;
  QelPaletteAttributes before = _attributes;
  getDisplay()->setFont(this, font);
  replace(_attributes.font, font);
  attributesChanged(before);
}

void QelPalette::setLineStyle(QelLineStyle* style) {
  if (!style || style == _attributes.lineStyle) return;
  QelPaletteAttributes before = _attributes;
  getDisplay()->setLineStyle(this, style, _attributes.lineWidth);
  replace(_attributes.lineStyle, style);
  attributesChanged(before);
}

void QelPalette::setLineWidth(uint16_t width) {
  setPlain(_attributes.lineWidth, width,
           [&] { getDisplay()->setLineStyle(this, _attributes.lineStyle, width); });
}

// Patterns belong to the display's pattern lists, not to the palettes using them: a named
// pattern stays for the next palette that asks for it.
void QelPalette::setPattern(QelPattern* pattern) {
  if (!pattern) pattern = getDisplay()->solidPattern();
  setPlain(_attributes.pattern, pattern, [&] { getDisplay()->setPattern(this, pattern); });
}

void QelPalette::setColorPattern(QelColorPattern* pattern) {
  setPlain(_attributes.colorPattern, pattern,
           [&] { getDisplay()->setColorPattern(this, pattern); });
}

void QelPalette::setMode(QelDrawMode mode) {
  setPlain(_attributes.mode, mode, [&] { getDisplay()->setMode(this, mode); });
}

void QelPalette::setFillStyle(QelFillStyle style) {
  setPlain(_attributes.fillStyle, style, [&] { getDisplay()->setFillStyle(this, style); });
}

void QelPalette::setArcMode(QelArcMode mode) {
  setPlain(_attributes.arcMode, mode, [&] { getDisplay()->setArcMode(this, mode); });
}

void QelPalette::setFillRule(QelFillRule rule) {
  setPlain(_attributes.fillRule, rule, [&] { getDisplay()->setFillRule(this, rule); });
}

void QelPalette::setOverwrite(int overwrite) {
  setPlain(_attributes.overwrite, overwrite, [&] { getDisplay()->setOverwrite(this, overwrite); });
}

void QelPalette::setPlaneMask(uint32_t mask) {
  setPlain(_attributes.planeMask, mask, [&] { getDisplay()->setPlaneMask(this, mask); });
}

void QelPalette::setClip(const QelRect* rect) {
  getDisplay()->setClip(this, rect);
}

void QelPalette::setClip(const QelRegion* region) {
  getDisplay()->setClip(this, region);
}

QelPaletteClip::QelPaletteClip(const QelPalette* palette, const QelRegion* clip)
    : _palette(palette), _clip(palette && palette->getDisplay() ? clip : nullptr) {
  if (!_clip) return;
  // Already clipped so (a chart's scope, then its marker's): nothing to set or put back. A dump
  // device records every clip it is given, so it still gets this one.
  if (_palette->_hasClip && _palette->_clipMask == None && _palette->_clipOrigin == QelPoint() &&
      _palette->_clip.sameRectangles(*_clip) && !_palette->getDisplay()->getDumpDevice()) {
    _clip = nullptr;
    return;
  }
  _hadClip = _palette->hasClip();
  if (_hadClip) {
    _previous = _palette->getClip();
    _previousMask = _palette->getClipMask();
    _previousOrigin = _palette->getClipOrigin();
  }
  _palette->getDisplay()->setClip(_palette, _clip);
}

// Scopes nest (a chart clips its palette, and the graphic it draws clips it again), so the end
// of one puts back whatever clip the palette had when it began.
QelPaletteClip::~QelPaletteClip() {
  if (!_clip) return;
  QelDisplay* display = _palette->getDisplay();
  if (!_hadClip) {
    display->setClip(_palette, static_cast<const QelRegion*>(nullptr));
  } else if (_previousMask == None) {
    display->setClip(_palette, &_previous);
    if (!(_previousOrigin == QelPoint()))
      display->setClipOrigin(_palette, _previousOrigin.x, _previousOrigin.y);
  } else if (display->getXDisplay() && _palette->getGC() && !display->getDumpDevice()) {
    // A mask clip: the mask bitmap is its owner's, and still there while the palette uses it.
    _palette->_hasClip = true;
    _palette->_clip.clear();
    _palette->_clipMask = _previousMask;
    _palette->_clipOrigin = _previousOrigin;
    display->sendClip(_palette);
  }
}
