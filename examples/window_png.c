#include "examples/window_png.h"

#include <X11/Xutil.h>
#include <png.h>
#include <stdint.h>
#include <stdlib.h>

/* One masked channel of a TrueColor pixel, scaled to 8 bits. */
static uint8_t channel(unsigned long pixel, unsigned long mask) {
  if (!mask) return 0;
  int shift = 0;
  while (!((mask >> shift) & 1)) ++shift;
  return (uint8_t)(((pixel & mask) >> shift) * 255 / (mask >> shift));
}

/* Pixel values to 8-bit RGB: decoded from the masks on TrueColor; on the other visuals every
 * colormap entry is asked for once, and a pixel beyond them (DirectColor) on its own. */
typedef struct PixelDecoder {
  Display* display;
  Colormap colormap;
  const Visual* visual;
  XColor* colors; /* map_entries of them, or null on TrueColor */
  int colorCount;
} PixelDecoder;

static int openDecoder(PixelDecoder* decoder, Display* display, const XWindowAttributes* a) {
  decoder->display = display;
  decoder->colormap = a->colormap;
  decoder->visual = a->visual;
  decoder->colors = NULL;
  decoder->colorCount = 0;
  if (a->visual->class == TrueColor) return 1;
  int count = a->visual->map_entries;
  decoder->colors = calloc((size_t)count, sizeof(XColor));
  if (!decoder->colors) return 0;
  for (int i = 0; i < count; ++i) decoder->colors[i].pixel = (unsigned long)i;
  XQueryColors(display, a->colormap, decoder->colors, count);
  decoder->colorCount = count;
  return 1;
}

static void decode(const PixelDecoder* decoder, unsigned long pixel, uint8_t* rgb) {
  if (!decoder->colors) {
    rgb[0] = channel(pixel, decoder->visual->red_mask);
    rgb[1] = channel(pixel, decoder->visual->green_mask);
    rgb[2] = channel(pixel, decoder->visual->blue_mask);
    return;
  }
  XColor asked;
  const XColor* color = &asked;
  if (pixel < (unsigned long)decoder->colorCount) {
    color = &decoder->colors[pixel];
  } else {
    asked.pixel = pixel;
    XQueryColor(decoder->display, decoder->colormap, &asked);
  }
  rgb[0] = (uint8_t)(color->red >> 8);
  rgb[1] = (uint8_t)(color->green >> 8);
  rgb[2] = (uint8_t)(color->blue >> 8);
}

static int writeRgbPng(const uint8_t* rgb, unsigned width, unsigned height, const char* path) {
  png_image png = {0};
  png.version = PNG_IMAGE_VERSION;
  png.width = width;
  png.height = height;
  png.format = PNG_FORMAT_RGB;
  int written = png_image_write_to_file(&png, path, 0, rgb, 0, NULL) != 0;
  png_image_free(&png);
  return written;
}

int writeWindowPng(Display* display, Window window, const char* path) {
  XWindowAttributes attributes;
  if (!XGetWindowAttributes(display, window, &attributes)) return 0;
  const unsigned width = (unsigned)attributes.width, height = (unsigned)attributes.height;
  XImage* image = XGetImage(display, window, 0, 0, width, height, AllPlanes, ZPixmap);
  if (!image) return 0;
  uint8_t* rgb = malloc((size_t)width * height * 3);
  PixelDecoder decoder;
  int written = 0;
  if (rgb && openDecoder(&decoder, display, &attributes)) {
    for (unsigned y = 0; y < height; ++y)
      for (unsigned x = 0; x < width; ++x)
        decode(&decoder, XGetPixel(image, (int)x, (int)y), &rgb[((size_t)y * width + x) * 3]);
    free(decoder.colors);
    written = writeRgbPng(rgb, width, height, path);
  }
  free(rgb);
  XDestroyImage(image);
  return written;
}
