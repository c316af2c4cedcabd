// The palette-to-GC operations: each changes a palette's X graphics context in place.
#include <algorithm>
#include <limits>
#include <vector>

#include "display/color.h"
#include "display/display.h"
#include "display/drawing_scope.h"
#include "display/dump_device.h"
#include "display/font.h"
#include "display/line_style.h"
#include "display/pattern.h"
#include "display/port.h"
#include "graphics/region.h"

namespace {

// X clip rectangles are 16-bit: a member is cut to what X can express, and one that is empty
// (or wholly beyond that range) is left out.
bool toXRectangle(const QelRect& r, XRectangle& out) {
  constexpr int64_t lo = std::numeric_limits<short>::min(), hi = std::numeric_limits<short>::max();
  int64_t x0 = std::max<int64_t>(r.x, lo), y0 = std::max<int64_t>(r.y, lo);
  int64_t x1 = std::min<int64_t>(r.right64(), hi + 1), y1 = std::min<int64_t>(r.bottom64(), hi + 1);
  if (x1 <= x0 || y1 <= y0) return false;
  out.x = short(x0), out.y = short(y0);
  out.width = (unsigned short)std::min<int64_t>(x1 - x0, 65535);
  out.height = (unsigned short)std::min<int64_t>(y1 - y0, 65535);
  return true;
}

}  // namespace

// Each change first sends the figures queued with the context: they were drawn with its old
// state.

void QelDisplay::setForeground(const QelPalette* palette, const QelColor* color) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (palette && QelCanDraw(this, nullptr, palette) && color)
    XSetForeground(_xDisplay, palette->getGC(), color->getIndex());
}

void QelDisplay::setBackground(const QelPalette* palette, const QelColor* color) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (palette && QelCanDraw(this, nullptr, palette) && color)
    XSetBackground(_xDisplay, palette->getGC(), color->getIndex());
}

void QelDisplay::setFont(const QelPalette* palette, const QelFont* font) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (palette && QelCanDraw(this, nullptr, palette) && font && !font->isFontSet() &&
      font->getXFontStruct())
    XSetFont(_xDisplay, palette->getGC(), font->getXFontStruct()->fid);
}

void QelDisplay::setLineStyle(const QelPalette* palette, const QelLineStyle* style,
                              uint16_t width) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  bool solid = !style || style->isSolid();
  XSetLineAttributes(_xDisplay, palette->getGC(), width, solid ? LineSolid : LineOnOffDash, CapButt,
                     JoinMiter);
  if (!solid)
    XSetDashes(_xDisplay, palette->getGC(), style->getOffset(),
               reinterpret_cast<const char*>(style->getDashes()), style->getCount());
}

void QelDisplay::setPattern(const QelPalette* palette, const QelPattern* pattern) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  if (pattern && pattern->getBitmap()->isValid())
    XSetStipple(_xDisplay, palette->getGC(), pattern->getBitmap()->getPixmap());
  setFillStyle(palette, palette->getFillStyle());
}

void QelDisplay::setColorPattern(const QelPalette* palette, const QelColorPattern* pattern) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  if (pattern && pattern->getBitmap()->isValid())
    XSetTile(_xDisplay, palette->getGC(), pattern->getBitmap()->getPixmap());
  setFillStyle(palette, palette->getFillStyle());
}

void QelDisplay::setFillStyle(const QelPalette* palette, QelFillStyle style) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  QelPaletteAttributes attributes = palette->getAttributes();
  attributes.fillStyle = style;
  XSetFillStyle(_xDisplay, palette->getGC(), QelXFillStyleOf(attributes, _solidPattern));
}

void QelDisplay::setMode(const QelPalette* palette, QelDrawMode mode) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  XGCValues values;
  values.function = QelXFunctionOfMode(mode);
  XChangeGC(_xDisplay, palette->getGC(), GCFunction, &values);
}

void QelDisplay::setArcMode(const QelPalette* palette, QelArcMode mode) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (palette && QelCanDraw(this, nullptr, palette))
    XSetArcMode(_xDisplay, palette->getGC(), mode == QelArcPie ? ArcPieSlice : ArcChord);
}

void QelDisplay::setFillRule(const QelPalette* palette, QelFillRule rule) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (palette && QelCanDraw(this, nullptr, palette))
    XSetFillRule(_xDisplay, palette->getGC(), rule == QelEvenOddRule ? EvenOddRule : WindingRule);
}

void QelDisplay::setOverwrite(const QelPalette* palette, int overwrite) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (palette && QelCanDraw(this, nullptr, palette))
    XSetSubwindowMode(_xDisplay, palette->getGC(), overwrite ? IncludeInferiors : ClipByChildren);
}

void QelDisplay::setPlaneMask(const QelPalette* palette, uint32_t mask) const {
  if (palette) _queue.sendFor(palette->getGC());
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  const_cast<QelPalette*>(palette)->_planeMask = palettePlaneMask() & mask;
  XSetPlaneMask(_xDisplay, palette->getGC(), palette->getPlaneMask());
}

void QelDisplay::setClip(const QelPalette* palette, const QelRect* rect) const {
  if (_dumpDevice) return _dumpDevice->setClip(palette, rect);
  if (!rect) {
    setClip(palette, static_cast<const QelRegion*>(nullptr));
    return;
  }
  QelRegion region(*rect);
  setClip(palette, &region);
}

// A region clip is only recorded: it reaches the context when the palette next draws, and not
// at all when it is put back before that.
void QelDisplay::setClip(const QelPalette* palette, const QelRegion* region) const {
  if (_dumpDevice) {
    _dumpDevice->setClip(palette, region);
    return;
  }
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  palette->_clipMask = None;
  palette->_clipOrigin = QelPoint();
  palette->_hasClip = region != nullptr;
  if (region)
    palette->_clip = *region;
  else
    palette->_clip.clear();
  using Sent = QelPalette::SentClip;
  palette->_clipPending =
      region ? !(palette->_sentClip == Sent::Rectangles && palette->_sentOrigin == QelPoint() &&
                 palette->_sentRegion.sameRectangles(*region))
             : palette->_sentClip != Sent::Unclipped;
}

void QelDisplay::setClip(const QelPalette* palette, int32_t x, int32_t y,
                         const QelBitmap* mask) const {
  if (_dumpDevice) return _dumpDevice->setClip(palette, x, y, mask);
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  palette->_hasClip = mask != nullptr;
  palette->_clip.clear();
  palette->_clipMask = mask && mask->isValid() ? mask->getPixmap() : None;
  palette->_clipOrigin = QelPoint(x, y);
  // A mask goes at once: its bitmap may be gone by the time the palette next draws.
  sendClip(palette);
}

void QelDisplay::setClipOrigin(const QelPalette* palette, int32_t x, int32_t y) const {
  if (_dumpDevice) return _dumpDevice->setClipOrigin(palette, x, y);
  if (!palette || !QelCanDraw(this, nullptr, palette)) return;
  palette->_clipOrigin = QelPoint(x, y);
  sendClip(palette);
}

GC QelDisplay::drawingGC(const QelPalette* palette) const {
  if (palette->_clipPending) sendClip(palette);
  return palette->getGC();
}

void QelDisplay::sendClip(const QelPalette* palette) const {
  using Sent = QelPalette::SentClip;
  GC gc = palette->getGC();
  _queue.sendFor(gc);
  palette->_clipPending = false;
  const QelPoint& origin = palette->_clipOrigin;
  if (!palette->_hasClip || palette->_clipMask != None) {
    if (palette->_hasClip) XSetClipOrigin(_xDisplay, gc, origin.x, origin.y);
    XSetClipMask(_xDisplay, gc, palette->_clipMask);
    palette->_sentClip = palette->_hasClip ? Sent::Other : Sent::Unclipped;
    return;
  }
  const QelRegion& region = palette->_clip;
  std::vector<XRectangle> rectangles;
  rectangles.reserve(region.getCount());
  for (uint16_t i = 0; i < region.getCount(); ++i) {
    XRectangle r;
    if (toXRectangle(region.getRect(i), r)) rectangles.push_back(r);
  }
  XSetClipRectangles(_xDisplay, gc, origin.x, origin.y, rectangles.data(), int(rectangles.size()),
                     Unsorted);
  palette->_sentClip = Sent::Rectangles;
  palette->_sentRegion = region;
  palette->_sentOrigin = origin;
}
