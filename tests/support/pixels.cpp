#include "tests/support/pixels.h"

#include <X11/Xutil.h>
#include <png.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <map>

namespace kestrel::test {

QelRect extentOf(const Image& image, uint32_t colour, const Image* mask) {
  QelRect box;
  for (int y = 0; y < image.height; ++y)
    for (int x = 0; x < image.width; ++x)
      if (image.at(x, y) == colour && !(mask && mask->at(x, y) == colour))
        box.add(QelRect(x, y, 1, 1));
  return box;
}

namespace {

// Scales a masked channel to 8 bits.
uint32_t channel(unsigned long pixel, unsigned long mask) {
  if (!mask) return 0;
  int shift = 0;
  while (!((mask >> shift) & 1)) ++shift;
  unsigned long max = mask >> shift;
  return uint32_t(((pixel & mask) >> shift) * 255 / max);
}

}  // namespace

void Image::fillRect(int x, int y, int w, int h, uint32_t color) {
  for (int row = std::max(y, 0); row < std::min(y + h, height); ++row)
    for (int col = std::max(x, 0); col < std::min(x + w, width); ++col) set(col, row, color);
}

size_t Image::count(uint32_t color) const {
  size_t n = 0;
  for (uint32_t c : rgb) n += c == color;
  return n;
}

Image readWindow(Display* display, Window window, int x, int y, unsigned width, unsigned height) {
  XWindowAttributes attributes;
  XGetWindowAttributes(display, window, &attributes);
  return readDrawable(display, window, attributes.visual, attributes.colormap, x, y, width, height);
}

Image readDrawable(Display* display, Drawable drawable, Visual* visual, Colormap colormap, int x,
                   int y, unsigned width, unsigned height) {
  Image image(int(width), int(height), 0);
  XImage* ximage = XGetImage(display, drawable, x, y, width, height, AllPlanes, ZPixmap);
  if (!ximage) return Image();
  bool trueColor = visual->c_class == TrueColor || visual->c_class == DirectColor;
  std::map<unsigned long, uint32_t> palette;  // pixel → rgb, for colormapped visuals
  for (unsigned row = 0; row < height; ++row) {
    for (unsigned col = 0; col < width; ++col) {
      unsigned long pixel = XGetPixel(ximage, int(col), int(row));
      uint32_t rgb;
      if (trueColor) {
        rgb = channel(pixel, visual->red_mask) << 16 | channel(pixel, visual->green_mask) << 8 |
              channel(pixel, visual->blue_mask);
      } else {
        auto known = palette.find(pixel);
        if (known == palette.end()) {
          XColor color;
          color.pixel = pixel;
          XQueryColor(display, colormap, &color);
          known = palette
                      .emplace(pixel, uint32_t(color.red >> 8) << 16 |
                                          uint32_t(color.green >> 8) << 8 | (color.blue >> 8))
                      .first;
        }
        rgb = known->second;
      }
      image.set(int(col), int(row), rgb);
    }
  }
  XDestroyImage(ximage);
  return image;
}

Image readPng(const std::string& path) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&png, path.c_str())) return Image();
  png.format = PNG_FORMAT_RGB;
  std::vector<uint8_t> bytes(PNG_IMAGE_SIZE(png));
  Image image(int(png.width), int(png.height), 0);
  if (!png_image_finish_read(&png, nullptr, bytes.data(), 0, nullptr)) return Image();
  for (size_t i = 0; i < image.rgb.size(); ++i)
    image.rgb[i] =
        uint32_t(bytes[i * 3]) << 16 | uint32_t(bytes[i * 3 + 1]) << 8 | bytes[i * 3 + 2];
  return image;
}

bool writePng(const Image& image, const std::string& path) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = png_uint_32(image.width), png.height = png_uint_32(image.height);
  png.format = PNG_FORMAT_RGB;
  std::vector<uint8_t> bytes;
  for (uint32_t c : image.rgb)
    bytes.insert(bytes.end(), {uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c)});
  return png_image_write_to_file(&png, path.c_str(), 0, bytes.data(), 0, nullptr) != 0;
}

std::string outputDirectory() {
  std::string directory = KESTREL_TEST_OUTPUT_DIR;
  mkdir(directory.c_str(), 0755);
  return directory;
}

::testing::AssertionResult pixelsAre(const Image& image, const std::vector<ExpectedPixel>& pixels) {
  std::string wrong;
  for (const ExpectedPixel& p : pixels) {
    const bool inside = p.x >= 0 && p.y >= 0 && p.x < image.width && p.y < image.height;
    char line[80];
    std::snprintf(line, sizeof line, "\n  (%d, %d) is %06x, expected %06x%s", p.x, p.y,
                  inside ? image.at(p.x, p.y) : 0u, p.rgb, inside ? "" : " (outside)");
    if (!inside || image.at(p.x, p.y) != p.rgb) wrong += line;
  }
  if (wrong.empty()) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "pixels differ:" << wrong;
}

::testing::AssertionResult imagesMatch(const Image& actual, const Image& expected,
                                       const std::string& name) {
  if (actual.width != expected.width || actual.height != expected.height)
    return ::testing::AssertionFailure()
           << name << ": size " << actual.width << "x" << actual.height << ", expected "
           << expected.width << "x" << expected.height;
  Image diff(actual.width, actual.height, 0xffffff);
  for (size_t i = 0; i < actual.rgb.size(); ++i)
    if (actual.rgb[i] != expected.rgb[i]) diff.rgb[i] = 0xff0000;
  const size_t differing = diff.count(0xff0000);
  if (!differing) return ::testing::AssertionSuccess();
  std::string base = outputDirectory() + "/" + name;
  writePng(actual, base + "-actual.png");
  writePng(expected, base + "-expected.png");
  writePng(diff, base + "-diff.png");
  return ::testing::AssertionFailure()
         << name << ": " << differing << " pixels differ (see " << base << "-diff.png)";
}

}  // namespace kestrel::test
