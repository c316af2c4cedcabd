#include "display/pattern.h"

#include "display/display.h"
#include "display/port.h"

QelPattern::QelPattern(QelDisplay* display, uint16_t width, uint16_t height,
                       const unsigned char* bits, const char* name)
    : QelResource(display, name), _bitmap(new QelBitmap(display, width, height, bits)) {
  display->addPattern(this);
}

QelPattern::~QelPattern() {
  getDisplay()->removePattern(this);
  delete _bitmap;
}

QelColorPattern::QelColorPattern(QelDisplay* display, QelBitmap* bitmap, const char* name)
    : QelResource(display, name), _bitmap(bitmap) {
  display->addColorPattern(this);
}

QelColorPattern::~QelColorPattern() {
  getDisplay()->removeColorPattern(this);
  delete _bitmap;
}

QelCursor::QelCursor(QelDisplay* display, unsigned int shape, const char* name)
    : QelResource(display, name), _cursor(0) {
  if (display->getXDisplay()) _cursor = XCreateFontCursor(display->getXDisplay(), shape);
}

QelCursor::~QelCursor() {
  getDisplay()->removeCursor(this);
  getDisplay()->freeCursor(this);
}
