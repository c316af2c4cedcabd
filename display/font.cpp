#include "display/font.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "display/display.h"

QelFont::QelFont(QelDisplay* display, const char* name, const QelFontDescription& description)
    : QelResource(display, name),
      _size(description.size),
      _style(description.style & ~uint32_t(QelFontStyleSystem)),
      _description(description) {}

QelFont::QelFont(QelDisplay* display, const char* xName)
    : QelResource(display, xName), _style(QelFontStyleSystem), _xName(xName ? xName : "") {}

QelFont::~QelFont() {
  if (getDisplay()) {
    getDisplay()->removeFont(this);
    getDisplay()->freeFont(this);
  }
  release();
}

void QelFont::release() {
  Display* x = getDisplay() ? getDisplay()->getXDisplay() : nullptr;
  if (x && _fontSet) XFreeFontSet(x, _fontSet);
  if (x && _fontStruct) XFreeFont(x, _fontStruct);
  _fontSet = nullptr;
  _fontStruct = nullptr;
}

int32_t QelFont::textWidth(const char* text, int length) const {
  if (!text) return 0;
  if (length < 0) length = int(std::strlen(text));
  if (length == 0) return 0;
  if (_fontSet) return XmbTextEscapement(_fontSet, text, length);
  if (_fontStruct) return XTextWidth(_fontStruct, text, length);
  return 0;
}

QelFont::InkExtents QelFont::inkExtents(const char* text) const {
  if (!isValid() || !text || !*text) return {};
  const int length = int(std::min<size_t>(std::strlen(text), INT_MAX));
  InkExtents e;
  if (_fontSet) {
    XRectangle ink, logical;
    XmbTextExtents(_fontSet, text, length, &ink, &logical);
    e.width = uint32_t(std::max(0, XmbTextEscapement(_fontSet, text, length)));
    e.ascent = uint32_t(std::max(0, -int(ink.y)));
    e.descent = uint32_t(std::max(0, int(ink.y) + int(ink.height)));
  } else {
    int direction, fontAscent, fontDescent;
    XCharStruct overall{};
    XTextExtents(_fontStruct, text, length, &direction, &fontAscent, &fontDescent, &overall);
    e.width = uint32_t(std::max(0, int(overall.width)));
    e.ascent = uint32_t(std::max(0, int(overall.ascent)));
    e.descent = uint32_t(std::max(0, int(overall.descent)));
  }
  return e;
}

// --- Toolkit font names -------------------------------------------------------------------------

bool QelParseFontName(const char* name, QelFontDescription& description) {
  if (!name || name[0] != '%') return false;
  const char* p = name + 1;
  const char* dash = std::strchr(p, '-');
  if (!dash || dash == p) return false;
  std::string family(p, dash);

  p = dash + 1;
  unsigned size = 0;
  const char* digits = p;
  while (*p >= '0' && *p <= '9') {
    size = size * 10 + unsigned(*p++ - '0');
    if (size > 200) return false;  // also keeps long digit runs from overflowing
  }
  if (p == digits || size < 1 || *p != '-') return false;

  uint32_t style = 0;
  for (++p; *p && *p != '-'; ++p) {
    switch (*p) {
      case 'B':
      case 'b':
        style |= QelFontStyleBold;
        break;
      case 'I':
      case 'i':
        style |= QelFontStyleItalic;
        break;
      case 'U':
      case 'u':
        style |= QelFontStyleUnderlined;
        break;
      default:
        return false;
    }
  }

  // The foundry follows one dash, or two in the normalised spelling; an empty one is none.
  std::string foundry;
  if (*p == '-') {
    ++p;
    if (*p == '-') ++p;
    if (std::strchr(p, '-')) return false;
    foundry = p;
  }

  description.family = std::move(family);
  description.size = uint16_t(size);
  description.style = style;
  description.foundry = std::move(foundry);
  return true;
}

std::string QelNormalizeFontName(const QelFontDescription& description) {
  std::string name = "%" + description.family + "-" + std::to_string(description.size) + "-";
  if (description.style & QelFontStyleBold) name += 'B';
  if (description.style & QelFontStyleItalic) name += 'I';
  if (description.style & QelFontStyleUnderlined) name += 'U';
  name += '-';
  if (!description.foundry.empty()) name += "-" + description.foundry;
  return name;
}

// The size is a point size, in the name's tenths of a point; the pixel size is left to the
// server, which scales bitmap fonts when no design matches. Underlining has no X counterpart.
std::string QelComposeXFontName(const QelFontDescription& description, const char* slant,
                                unsigned resolution) {
  std::string name = "-";
  name += description.foundry.empty() ? "*" : description.foundry;
  name += "-" + description.family;
  name += (description.style & QelFontStyleBold) ? "-bold-" : "-medium-";
  name += slant ? slant : "r";
  std::string dpi = resolution ? std::to_string(resolution) : "*";
  name += "-normal--*-" + std::to_string(unsigned(description.size) * 10) + "-" + dpi + "-" + dpi;
  name += "-*-*-*-*";
  return name;
}
