#include "display/line_style.h"

#include <algorithm>

#include "display/display.h"

QelLineStyle::QelLineStyle(QelDisplay* display, uint16_t count, const uint8_t* dashes,
                           uint16_t offset, const char* name)
    : QelResource(display, name), _offset(offset) {
  if (dashes) _dashes.assign(dashes, dashes + count);
}

QelLineStyle::~QelLineStyle() {
  if (getDisplay()) getDisplay()->removeLineStyle(this);
}

bool QelLineStyle::equals(uint16_t count, const uint8_t* dashes, uint16_t offset) const {
  if (count != _dashes.size() || offset != _offset) return false;
  return count == 0 || (dashes && std::equal(_dashes.begin(), _dashes.end(), dashes));
}
