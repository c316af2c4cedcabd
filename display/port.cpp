#include "display/port.h"

#include "display/display.h"

namespace {

// The largest pixmap side X accepts.
constexpr uint32_t kMaxPixmapSide = 32767;

bool validSize(uint32_t width, uint32_t height) {
  return width && height && width <= kMaxPixmapSide && height <= kMaxPixmapSide;
}

// Creates a pixmap and waits for the server's answer, one round trip: a refused pixmap (out of
// memory, bad depth) must be known now, not as an asynchronous error later.
Pixmap createPixmap(QelDisplay* display, uint32_t width, uint32_t height, uint16_t depth,
                    const unsigned char* bits) {
  Display* x = display->getXDisplay();
  if (!x || !validSize(width, height)) return 0;
  display->trapXErrors();
  Pixmap pixmap = bits ? XCreateBitmapFromData(x, display->getGCDrawable(),
                                               reinterpret_cast<const char*>(bits), width, height)
                       : XCreatePixmap(x, display->getGCDrawable(), width, height, depth);
  if (display->untrapXErrors() && pixmap) {
    display->trapXErrors();  // the id was never made: freeing it only draws a BadPixmap
    XFreePixmap(x, pixmap);
    display->untrapXErrors();
    return 0;
  }
  return pixmap;
}

}  // namespace

QelPort::QelPort(QelDisplay* display, Drawable drawable, uint32_t width, uint32_t height)
    : _display(display), _drawable(drawable), _width(width), _height(height) {}

QelPort::~QelPort() = default;

uint16_t QelPort::depth() const {
  return _display ? _display->depth() : 0;
}

QelBitmap::QelBitmap(QelDisplay* display, uint32_t width, uint32_t height, uint16_t depth,
                     const char* name)
    : QelPort(display, createPixmap(display, width, height, depth, nullptr), width, height),
      _depth(depth) {
  setName(name);
}

QelBitmap::QelBitmap(QelDisplay* display, uint32_t width, uint32_t height,
                     const unsigned char* bits, const char* name)
    : QelPort(display, createPixmap(display, width, height, 1, bits), width, height), _depth(1) {
  setName(name);
}

QelBitmap::QelBitmap(QelDisplay* display, Drawable drawable, uint32_t width, uint32_t height,
                     uint16_t depth, const char* name)
    : QelPort(display, drawable, width, height), _depth(depth), _owned(false) {
  setName(name);
}

QelBitmap::~QelBitmap() {
  delete _mask;
  if (!getDisplay()) return;
  getDisplay()->removeBitmap(this);
  getDisplay()->freeBitmap(this);
}

void QelBitmap::setName(const char* name) {
  _named = name != nullptr;
  _name = name ? name : "";
}

void QelBitmap::setMask(QelBitmap* mask) {
  if (mask == _mask) return;
  delete _mask;
  _mask = mask;
}

void QelBitmap::unLock() {
  if (_lockCount && --_lockCount == 0) delete this;
}
