// Colours: shared read-only colour cells cached by name, and private mutable cells.
#pragma once

#include <X11/Xlib.h>

#include "display/resource.h"

// A colormap and the visual it belongs to; the display frees the colormaps it created.
class QelXColormap {
 public:
  QelXColormap(Display* display, Colormap colormap, Visual* visual, bool owned);
  ~QelXColormap();
  Colormap getColormap() const { return _colormap; }
  Visual* getVisual() const { return _visual; }

  QelXColormap(const QelXColormap&) = delete;
  QelXColormap& operator=(const QelXColormap&) = delete;

 private:
  Display* _display;
  Colormap _colormap;
  Visual* _visual;
  bool _owned;
};

class QelColor : public QelResource {
 public:
  // Parses `description` (an X colour name, or #RRRRGGGGBBBB after widening) in `colormap` and
  // allocates a cell: shared read-only, or a private one when `isMutable`. On failure the
  // pixel is (unsigned long)-1 and the display throws the colour away.
  QelColor(QelDisplay* display, QelXColormap* colormap, const char* name, const char* description,
           int isMutable);
  // Allocates the exact components.
  QelColor(QelDisplay* display, QelXColormap* colormap, const char* name, unsigned short red,
           unsigned short green, unsigned short blue, int isMutable);
  ~QelColor() override;

  unsigned long getIndex() const { return _pixel; }
  bool isAllocated() const { return _allocated; }
  int isMutable() const { return _mutable; }
  QelXColormap* getColormap() const { return _colormap; }
  void getRGB(unsigned short& red, unsigned short& green, unsigned short& blue) const;
  // Changes a mutable colour's cell in place (shared colours ignore it).
  void setRGB(unsigned short red, unsigned short green, unsigned short blue);

 private:
  friend class QelDisplay;  // freeColor releases the cell
  void allocate();

  int _mutable;
  unsigned short _red = 0, _green = 0, _blue = 0;
  QelXColormap* _colormap;
  int _allocated = 0;
  unsigned long _pixel = (unsigned long)-1;
};

// HSV (each 0..1, hue wrapping) to X's 16-bit RGB.
void QelHSVToRGB(float h, float s, float v, unsigned short& red, unsigned short& green,
                 unsigned short& blue);
