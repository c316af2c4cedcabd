// Colour and font names come from X resources and data files: any bytes must give a colour or
// null and a font (perhaps without a handle) or null, never a crash, a leak, or a name longer
// than X's 255-byte limit sent to the server.
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#include "tests/support/display_fixture.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/messages.h"
#include "display/color.h"
#include "display/display.h"
#include "display/font.h"

namespace {

constexpr size_t kLongestName = 255;

void checkName(const char* name) {
  if (name && std::strlen(name) > kLongestName) std::abort();
}

template <typename F>
F real(const char* symbol) {
  F function = reinterpret_cast<F>(dlsym(RTLD_NEXT, symbol));
  if (!function) std::abort();
  return function;
}

}  // namespace

// The X calls that take a name are wrapped here, so a long name reaching any of them stops the run.
extern "C" {

XFontStruct* XLoadQueryFont(Display* d, const char* name) {
  checkName(name);
  static auto next = real<XFontStruct* (*)(Display*, const char*)>("XLoadQueryFont");
  return next(d, name);
}

XFontSet XCreateFontSet(Display* d, const char* names, char*** missing, int* count, char** text) {
  checkName(names);
  static auto next =
      real<XFontSet (*)(Display*, const char*, char***, int*, char**)>("XCreateFontSet");
  return next(d, names, missing, count, text);
}

char** XListFonts(Display* d, const char* pattern, int max, int* count) {
  checkName(pattern);
  static auto next = real<char** (*)(Display*, const char*, int, int*)>("XListFonts");
  return next(d, pattern, max, count);
}

Status XParseColor(Display* d, Colormap map, const char* name, XColor* color) {
  checkName(name);
  static auto next = real<Status (*)(Display*, Colormap, const char*, XColor*)>("XParseColor");
  return next(d, map, name, color);
}

Status XLookupColor(Display* d, Colormap map, const char* name, XColor* exact, XColor* screen) {
  checkName(name);
  static auto next =
      real<Status (*)(Display*, Colormap, const char*, XColor*, XColor*)>("XLookupColor");
  return next(d, map, name, exact, screen);
}

Status XAllocNamedColor(Display* d, Colormap map, const char* name, XColor* screen, XColor* exact) {
  checkName(name);
  static auto next =
      real<Status (*)(Display*, Colormap, const char*, XColor*, XColor*)>("XAllocNamedColor");
  return next(d, map, name, screen, exact);
}

// Xlib's font-set code leaks a name of every one-pixel font it opens ("%helvetica-1-" asks for
// one). Xlib has no frame pointers, so allocations are unwound in full to tell its frames apart.
const char* __asan_default_options() {
  return "fast_unwind_on_malloc=0";
}
const char* __lsan_default_suppressions() {
  return "leak:XCreateOC\n";
}

}  // extern "C"

namespace {

// One private server, connection and display for the whole run, torn down at exit.
QelDisplay* theDisplay() {
  // Unknown names are reported by design: keep the run quiet.
  static const bool quiet = (QelSetErrorHandler(nullptr), true);
  static kestrel::test::PrivateDisplay session("kestrel-fuzz");
  if (!quiet || !session.display()) std::abort();
  return session.display();
}

// Lock and unlock: a resource nobody else holds goes, and with it its cache entry, so the
// caches do not grow from one input to the next.
void release(QelResource* resource) {
  if (!resource) return;
  resource->lock();
  resource->unLock();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  theDisplay();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  QelDisplay* display = theDisplay();
  std::string name(reinterpret_cast<const char*>(data), size);  // cut at the first NUL
  release(display->getColor(name.c_str()));
  release(display->getColor(name.c_str(), 1));

  QelFont* font = display->getFont(name.c_str());
  if (font && font->isValid()) {
    if (font->minWidth() > font->maxWidth()) std::abort();
    font->textWidth(name.c_str(), -1);  // the input as text in whatever font it named
  }
  release(font);
  return 0;
}
