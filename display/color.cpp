#include "display/color.h"

#include <algorithm>
#include <cmath>

#include "display/display.h"

QelXColormap::QelXColormap(Display* display, Colormap colormap, Visual* visual, bool owned)
    : _display(display), _colormap(colormap), _visual(visual), _owned(owned) {}

QelXColormap::~QelXColormap() {
  if (_owned && _display) XFreeColormap(_display, _colormap);
}

QelColor::QelColor(QelDisplay* display, QelXColormap* colormap, const char* name,
                   const char* description, int isMutable)
    : QelResource(display, name), _mutable(isMutable), _colormap(colormap) {
  XColor parsed;
  if (!display->getXDisplay() || !description ||
      !XParseColor(display->getXDisplay(), colormap->getColormap(), description, &parsed))
    return;
  _red = parsed.red, _green = parsed.green, _blue = parsed.blue;
  allocate();
}

QelColor::QelColor(QelDisplay* display, QelXColormap* colormap, const char* name,
                   unsigned short red, unsigned short green, unsigned short blue, int isMutable)
    : QelResource(display, name),
      _mutable(isMutable),
      _red(red),
      _green(green),
      _blue(blue),
      _colormap(colormap) {
  if (display->getXDisplay()) allocate();
}

void QelColor::allocate() {
  Display* x = getDisplay()->getXDisplay();
  XColor cell;
  cell.red = _red, cell.green = _green, cell.blue = _blue;
  cell.flags = DoRed | DoGreen | DoBlue;
  if (!_mutable) {
    if (!XAllocColor(x, _colormap->getColormap(), &cell)) return;
  } else {
    unsigned long planes;
    if (!XAllocColorCells(x, _colormap->getColormap(), False, &planes, 0, &cell.pixel, 1)) return;
    XStoreColor(x, _colormap->getColormap(), &cell);
  }
  _pixel = cell.pixel;
  _allocated = 1;
}

QelColor::~QelColor() {
  getDisplay()->removeColor(this);
  getDisplay()->freeColor(this);
}

void QelColor::getRGB(unsigned short& red, unsigned short& green, unsigned short& blue) const {
  red = _red, green = _green, blue = _blue;
}

void QelColor::setRGB(unsigned short red, unsigned short green, unsigned short blue) {
  if (!_mutable || !_allocated) return;
  _red = red, _green = green, _blue = blue;
  XColor cell;
  cell.pixel = _pixel;
  cell.red = red, cell.green = green, cell.blue = blue;
  cell.flags = DoRed | DoGreen | DoBlue;
  XStoreColor(getDisplay()->getXDisplay(), _colormap->getColormap(), &cell);
}

void QelHSVToRGB(float h, float s, float v, unsigned short& red, unsigned short& green,
                 unsigned short& blue) {
  auto unit = [](float x) { return std::isnan(x) ? 0.0f : std::clamp(x, 0.0f, 1.0f); };
  s = unit(s), v = unit(v);
  float hue = std::isfinite(h) ? h - std::floor(h) : 0.0f;  // the hue wraps around
  float sector = hue * 6;
  int i = std::min(int(sector), 5);
  float f = sector - float(i);
  float p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
  float r, g, b;
  switch (i) {
    case 0:
      r = v, g = t, b = p;
      break;
    case 1:
      r = q, g = v, b = p;
      break;
    case 2:
      r = p, g = v, b = t;
      break;
    case 3:
      r = p, g = q, b = v;
      break;
    case 4:
      r = t, g = p, b = v;
      break;
    default:
      r = v, g = p, b = q;
      break;
  }
  auto scale = [](float x) { return (unsigned short)std::lround(x * 65535.0f); };
  red = scale(r), green = scale(g), blue = scale(b);
}
