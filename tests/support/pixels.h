// Reading pixels back from the X server and comparing them with expected images.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// gtest before Xlib: Xlib's macros (None, Bool) would break gtest's declarations.
#include <gtest/gtest.h>

#include <X11/Xlib.h>

#include "graphics/geometry.h"

namespace kestrel::test {

// An image as 0xRRGGBB values, row by row, whatever the server's depth and visual.
struct Image {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> rgb;

  Image() = default;
  Image(int w, int h, uint32_t fill) : width(w), height(h), rgb(size_t(w) * h, fill) {}
  uint32_t at(int x, int y) const { return rgb[size_t(y) * width + x]; }
  void set(int x, int y, uint32_t color) { rgb[size_t(y) * width + x] = color; }
  void fillRect(int x, int y, int w, int h, uint32_t color);
  // How many pixels have `color`.
  size_t count(uint32_t color) const;
};

// Reads a rectangle of a window, converting through the window's visual and colormap.
Image readWindow(Display* display, Window window, int x, int y, unsigned width, unsigned height);
// Reads a rectangle of any drawable whose pixels use `visual` and `colormap`.
Image readDrawable(Display* display, Drawable drawable, Visual* visual, Colormap colormap, int x,
                   int y, unsigned width, unsigned height);

// The box of the pixels of `colour` (leaving out those that `mask` has in that colour too);
// empty when there are none.
QelRect extentOf(const Image& image, uint32_t colour, const Image* mask = nullptr);

// A pixel a test expects: at (x, y), that colour.
struct ExpectedPixel {
  int x, y;
  uint32_t rgb;
};
// Succeeds when every listed pixel has its colour; otherwise names each one that differs (or lies
// outside the image).
::testing::AssertionResult pixelsAre(const Image& image, const std::vector<ExpectedPixel>& pixels);

// Writes an 8-bit RGB PNG; returns false when the file cannot be written.
bool writePng(const Image& image, const std::string& path);
// Reads a PNG file as RGB; an empty image when it cannot be read.
Image readPng(const std::string& path);

// Where tests leave their failure images (created on demand, inside the build tree).
std::string outputDirectory();

// Succeeds when the images are equal. Otherwise reports the number of differing pixels and
// writes NAME-actual.png, NAME-expected.png and NAME-diff.png (differences in red).
::testing::AssertionResult imagesMatch(const Image& actual, const Image& expected,
                                       const std::string& name);

}  // namespace kestrel::test
