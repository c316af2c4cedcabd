// Copies between ports, bitmaps drawn into ports, and clearing. Areas are cut to both ports in
// wide arithmetic first, so nothing beyond X's 16-bit coordinates goes out; parts of a copy that
// lie outside its source are left untouched.
#include <algorithm>
#include <cstdint>

#include "display/color.h"
#include "display/display.h"
#include "display/drawing_scope.h"
#include "display/dump_device.h"
#include "display/port.h"
#include "graphics/region.h"

namespace {

// A copy cut to its source and destination: `width` by `height` pixels from (sx, sy) to (dx, dy).
struct Copy {
  int sx, sy, dx, dy;
  unsigned width, height;
};

// Cuts [left, right) so that it lies within [0, size) and, shifted by `offset`, within
// [0, limit).
bool cutSpan(int64_t& left, int64_t& right, int64_t size, int64_t offset, int64_t limit) {
  left = std::max({left, int64_t(0), -offset});
  right = std::min({right, size, limit - offset});
  return left < right;
}

bool cutCopy(const QelPort* destination, const QelPort* source, const QelRect& rect,
             const QelPoint& to, Copy& copy) {
  int64_t left = rect.x, right = rect.right64(), top = rect.y, bottom = rect.bottom64();
  int64_t offsetX = int64_t(to.x) - rect.x, offsetY = int64_t(to.y) - rect.y;
  if (!cutSpan(left, right, source->width(), offsetX, destination->width()) ||
      !cutSpan(top, bottom, source->height(), offsetY, destination->height()))
    return false;
  // X sizes and positions are 16-bit.
  right = std::min(right, left + 32767), bottom = std::min(bottom, top + 32767);
  if (left > 32767 || top > 32767 || left + offsetX > 32767 || top + offsetY > 32767) return false;
  copy = {int(left),
          int(top),
          int(left + offsetX),
          int(top + offsetY),
          unsigned(right - left),
          unsigned(bottom - top)};
  return true;
}

void copyPixels(Display* x, Drawable from, Drawable to, GC gc, bool plane, const Copy& c) {
  if (plane)
    XCopyPlane(x, from, to, gc, c.sx, c.sy, c.width, c.height, c.dx, c.dy, 1);
  else
    XCopyArea(x, from, to, gc, c.sx, c.sy, c.width, c.height, c.dx, c.dy);
}

// A copy from a window reports the parts it could not read (GraphicsExpose) so they can be
// redrawn; a copy from a bitmap cannot miss anything, and with exposures off X does not answer
// every copy with a NoExpose event either.
void copyOpaque(Display* x, GC gc, const QelPort* destination, const QelPort* source,
                const Copy& c) {
  XGCValues saved;
  XGetGCValues(x, gc, GCGraphicsExposures, &saved);
  Bool wanted = source->isABitmap() ? False : True;
  if (saved.graphics_exposures != wanted) XSetGraphicsExposures(x, gc, wanted);
  copyPixels(x, source->getDrawable(), destination->getDrawable(), gc, source->depth() == 1, c);
  if (saved.graphics_exposures != wanted) XSetGraphicsExposures(x, gc, saved.graphics_exposures);
}

// Copies only where `mask` is set. X has one clip per GC, so the palette's own clip region is
// honoured by copying each of its rectangles separately; the GC's clip is put back after.
void copyThroughMask(const QelDisplay* display, const QelPalette* palette,
                     const QelPort* destination, const QelPort* source, Pixmap mask,
                     const Copy& c) {
  Display* x = display->getXDisplay();
  GC gc = display->drawingGC(palette);
  XGCValues saved;
  XGetGCValues(x, gc, GCClipXOrigin | GCClipYOrigin | GCGraphicsExposures, &saved);
  XGCValues values;
  values.clip_mask = mask;
  values.clip_x_origin = c.dx - c.sx;
  values.clip_y_origin = c.dy - c.sy;
  values.graphics_exposures = False;
  XChangeGC(x, gc, GCClipMask | GCClipXOrigin | GCClipYOrigin | GCGraphicsExposures, &values);
  bool plane = source->depth() == 1;
  // A palette clipped by a mask cannot combine it with the source's: its mask is put back after.
  if (!palette->hasClip() || palette->getClipMask()) {
    copyPixels(x, source->getDrawable(), destination->getDrawable(), gc, plane, c);
  } else {
    const QelRegion& clip = palette->getClip();
    for (uint16_t i = 0; i < clip.getCount(); ++i) {
      const QelRect& r = clip.getRect(i);
      int64_t left = std::max<int64_t>(c.dx, r.x), top = std::max<int64_t>(c.dy, r.y);
      int64_t right = std::min<int64_t>(int64_t(c.dx) + c.width, r.right64());
      int64_t bottom = std::min<int64_t>(int64_t(c.dy) + c.height, r.bottom64());
      if (right <= left || bottom <= top) continue;
      Copy piece = {int(c.sx + left - c.dx), int(c.sy + top - c.dy), int(left), int(top),
                    unsigned(right - left),  unsigned(bottom - top)};
      copyPixels(x, source->getDrawable(), destination->getDrawable(), gc, plane, piece);
    }
  }
  display->sendClip(palette);
  XChangeGC(x, gc, GCClipXOrigin | GCClipYOrigin | GCGraphicsExposures, &saved);
}

// The mask that makes a copy from `source` transparent: its own mask, or itself when it is a
// depth-1 bitmap. 0 when every pixel is copied.
Pixmap transparencyMask(const QelPort* source) {
  if (!source->isABitmap()) return 0;
  const QelBitmap* bitmap = static_cast<const QelBitmap*>(source);
  if (bitmap->getMask() && bitmap->getMask()->isValid()) return bitmap->getMask()->getPixmap();
  return bitmap->depth() == 1 ? bitmap->getDrawable() : 0;
}

// Clears a rectangle of a port to its background: a window's own, or for a bitmap the default
// palette's background colour (0 in a depth-1 bitmap), filled with a GC of its own so that no
// palette's clip, pattern or mode gets in the way.
void clearRect(const QelDisplay* display, const QelPort* port, const QelRect& rect, int reDraw) {
  Display* x = display->getXDisplay();
  int64_t left = std::max<int64_t>(rect.x, 0), top = std::max<int64_t>(rect.y, 0);
  int64_t right = std::min<int64_t>({rect.right64(), port->width(), 32767});
  int64_t bottom = std::min<int64_t>({rect.bottom64(), port->height(), 32767});
  // XClearArea reads a zero width or height as "to the edge": an empty area must not reach it.
  if (right <= left || bottom <= top) return;
  int px = int(left), py = int(top);
  unsigned w = unsigned(right - left), h = unsigned(bottom - top);
  if (!port->isABitmap()) {
    XClearArea(x, port->getDrawable(), px, py, w, h, reDraw ? True : False);
    return;
  }
  XGCValues values;
  unsigned long mask = GCForeground;
  if (port->depth() == 1) {
    values.foreground = 0;
  } else {
    const QelPalette* defaults = display->defaultPalette();
    values.foreground = defaults->getBackground()->getIndex();
    values.plane_mask = defaults->getPlaneMask();
    mask |= GCPlaneMask;
  }
  GC gc = XCreateGC(x, port->getDrawable(), mask, &values);
  XFillRectangle(x, port->getDrawable(), gc, px, py, w, h);
  XFreeGC(x, gc);
}

}  // namespace

void QelDisplay::copyArea(QelPort* destination, const QelPalette* palette, QelPort* source,
                          const QelRect& rect, const QelPoint& to) const {
  if (!destination || !palette || !source) return;
  if (_dumpDevice) return _dumpDevice->copyArea(destination, palette, source, rect, to);
  QelTraceDrawing("copyArea", destination, "%p %d %d %u %u %d %d", static_cast<void*>(source),
                  rect.x, rect.y, rect.w, rect.h, to.x, to.y);
  Copy c;
  if (!QelCanDraw(this, destination, palette) || !source->getDrawable() ||
      !cutCopy(destination, source, rect, to, c))
    return;
  QelDrawingScope scope(this, destination);
  copyOpaque(_xDisplay, drawingGC(palette), destination, source, c);
}

void QelDisplay::copyTransparentArea(QelPort* destination, const QelPalette* palette,
                                     QelPort* source, const QelRect& rect,
                                     const QelPoint& to) const {
  if (!destination || !palette || !source) return;
  if (_dumpDevice) return _dumpDevice->copyTransparentArea(destination, palette, source, rect, to);
  QelTraceDrawing("copyTransparentArea", destination, "%p %d %d %u %u %d %d",
                  static_cast<void*>(source), rect.x, rect.y, rect.w, rect.h, to.x, to.y);
  Copy c;
  if (!QelCanDraw(this, destination, palette) || !source->getDrawable() ||
      !cutCopy(destination, source, rect, to, c))
    return;
  QelDrawingScope scope(this, destination);
  if (Pixmap mask = transparencyMask(source))
    copyThroughMask(this, palette, destination, source, mask, c);
  else
    copyOpaque(_xDisplay, drawingGC(palette), destination, source, c);
}

void QelDisplay::clearArea(QelPort* port, const QelRect& rect, int reDraw) const {
  if (!port) return;
  if (_dumpDevice) return _dumpDevice->clearArea(port, rect, reDraw);
  QelTraceDrawing("clearArea", port, "%d %d %u %u", rect.x, rect.y, rect.w, rect.h);
  if (!QelCanDraw(this, port, nullptr)) return;
  QelDrawingScope scope(this, port);
  clearRect(this, port, rect, reDraw);
}

void QelDisplay::clearArea(QelPort* port, const QelRegion& region, int reDraw) const {
  if (!port) return;
  if (_dumpDevice) return _dumpDevice->clearArea(port, region, reDraw);
  const QelRect& box = region.getBBox();
  QelTraceDrawing("clearArea", port, "%u [%d %d %u %u]", unsigned(region.getCount()), box.x, box.y,
                  box.w, box.h);
  if (!QelCanDraw(this, port, nullptr)) return;
  QelDrawingScope scope(this, port);
  for (uint16_t i = 0; i < region.getCount(); ++i) clearRect(this, port, region.getRect(i), reDraw);
}

void QelDisplay::drawBitmap(QelPort* port, const QelPalette* palette, const QelBitmap* bitmap,
                            const QelRect& rect) const {
  if (!port || !palette || !bitmap) return;
  if (_dumpDevice) return _dumpDevice->drawBitmap(port, palette, bitmap, rect);
  QelTraceDrawing("drawBitmap", port, "%p %d %d %u %u", static_cast<const void*>(bitmap), rect.x,
                  rect.y, rect.w, rect.h);
  // The bitmap's top-left corner goes to the rectangle's, and it is cut to the rectangle.
  QelRect from(0, 0, std::min(rect.w, bitmap->width()), std::min(rect.h, bitmap->height()));
  Copy c;
  if (!QelCanDraw(this, port, palette) || !bitmap->isValid() ||
      !cutCopy(port, bitmap, from, QelPoint(rect.x, rect.y), c))
    return;
  QelDrawingScope scope(this, port);
  // A depth-1 bitmap is drawn in the palette's foreground on its background, unless a mask
  // makes it transparent.
  const QelBitmap* mask = bitmap->getMask();
  if (mask && mask->isValid())
    copyThroughMask(this, palette, port, bitmap, mask->getPixmap(), c);
  else
    copyOpaque(_xDisplay, drawingGC(palette), port, bitmap, c);
}
