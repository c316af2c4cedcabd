#include "examples/window_png.h"

#include <X11/Xutil.h>
#include <png.h>

#include <cstdint>
#include <map>
#include <vector>

namespace {

// One masked channel of a TrueColor pixel, scaled to 8 bits.
uint8_t channel(unsigned long pixel, unsigned long mask) {
  if (!mask) return 0;
  int shift = 0;
  while (!((mask >> shift) & 1)) ++shift;
  return uint8_t(((pixel & mask) >> shift) * 255 / (mask >> shift));
}

// Pixel values to 8-bit RGB: decoded from the masks on TrueColor, asked of the colormap (once
// per value) on the other visuals.
class PixelDecoder {
 public:
  PixelDecoder(Display* display, const XWindowAttributes& attributes)
      : _display(display), _visual(attributes.visual), _colormap(attributes.colormap) {}

  void decode(unsigned long pixel, uint8_t* rgb) {
    if (_visual->c_class == TrueColor) {
      rgb[0] = channel(pixel, _visual->red_mask);
      rgb[1] = channel(pixel, _visual->green_mask);
      rgb[2] = channel(pixel, _visual->blue_mask);
      return;
    }
    auto known = _colors.find(pixel);
    if (known == _colors.end()) {
      XColor color;
      color.pixel = pixel;
      XQueryColor(_display, _colormap, &color);
      known = _colors.emplace(pixel, color).first;
    }
    rgb[0] = uint8_t(known->second.red >> 8);
    rgb[1] = uint8_t(known->second.green >> 8);
    rgb[2] = uint8_t(known->second.blue >> 8);
  }

 private:
  Display* _display;
  const Visual* _visual;
  Colormap _colormap;
  std::map<unsigned long, XColor> _colors;
};

bool writeRgbPng(const std::vector<uint8_t>& rgb, unsigned width, unsigned height,
                 const char* path) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = width;
  png.height = height;
  png.format = PNG_FORMAT_RGB;
  bool written = png_image_write_to_file(&png, path, 0, rgb.data(), 0, nullptr) != 0;
  png_image_free(&png);
  return written;
}

}  // namespace

bool writeWindowPng(Display* display, Window window, const char* path) {
  XWindowAttributes attributes;
  if (!XGetWindowAttributes(display, window, &attributes)) return false;
  const unsigned width = unsigned(attributes.width), height = unsigned(attributes.height);
  XImage* image = XGetImage(display, window, 0, 0, width, height, AllPlanes, ZPixmap);
  if (!image) return false;
  std::vector<uint8_t> rgb(size_t(width) * height * 3);
  PixelDecoder decoder(display, attributes);
  for (unsigned y = 0; y < height; ++y)
    for (unsigned x = 0; x < width; ++x)
      decoder.decode(XGetPixel(image, int(x), int(y)), &rgb[(size_t(y) * width + x) * 3]);
  XDestroyImage(image);
  return writeRgbPng(rgb, width, height, path);
}
