// The display's font cache: toolkit and raw X font names, loading, aliases and the predefined
// fonts. Font names come from X resources and data files, so any text must be safe here.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "base/messages.h"
#include "display/display.h"
#include "display/font.h"

namespace {

// X logical font names are at most 255 bytes; longer ones never reach the server.
bool sendable(const std::string& xName) {
  return !xName.empty() && xName.size() <= QelMaxXFontNameLength;
}

// Xlib widens each name of a font set with a charset ("-*-ISO8859-1" and the like) before it
// asks the server, and frees the caller's text when the name is nothing but blanks. Names that
// leave no room for the charset, or hold no visible character, are loaded as core fonts only.
constexpr size_t kCharsetRoom = 64;

bool fontSetCandidate(const std::string& xName) {
  return xName.size() <= QelMaxXFontNameLength - kCharsetRoom &&
         std::any_of(xName.begin(), xName.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

// Bitmap fonts come in 75 and 100 dots per inch. The screen's resolution picks one, so that a
// point on the screen is about a point on paper, and core fonts and font sets (which Xlib
// matches on its own) agree on the design.
unsigned fontResolution(Display* x, int screen) {
  int millimetres = DisplayWidthMM(x, screen);
  if (millimetres <= 0) return 75;
  double dpi = DisplayWidth(x, screen) * 25.4 / millimetres;
  return dpi >= 87.5 ? 100 : 75;
}

bool fontExists(Display* x, const std::string& xName) {
  if (!sendable(xName)) return false;
  int count = 0;
  char** names = XListFonts(x, xName.c_str(), 1, &count);
  if (names) XFreeFontNames(names);
  return count > 0;
}

}  // namespace

QelFont* QelDisplay::findFont(const char* name) const {
  if (!name) return nullptr;
  auto font = _fonts.find(name);
  if (font != _fonts.end()) return font->second;
  auto alias = _fontAliases.find(name);
  return alias == _fontAliases.end() ? nullptr : alias->second;
}

// An empty name names nothing (null). Every other name gives a font, whose handle is null when
// X does not know it. Only loaded fonts enter the font table, so a name that failed is tried (and
// reported) again the next time it is asked for.
QelFont* QelDisplay::getFont(const char* name) {
  if (!_xDisplay || !name || !*name) return nullptr;
  std::string copy = name;
  // Wildcards would let a toolkit name match fonts it does not describe.
  if (copy[0] == '%')
    for (char& c : copy)
      if (c == '*' || c == '?') c = ' ';
  if (QelFont* font = findFont(copy.c_str())) return font;
  QelFontDescription description;
  if (!QelParseFontName(copy.c_str(), description)) return createSystemFont(copy.c_str());
  if (QelFont* font = findFont(QelNormalizeFontName(description).c_str())) return font;
  return createFont(description.family.c_str(), description.size, description.style,
                    description.foundry.c_str());
}

// Fonts that could not be loaded are kept aside, out of the font table: the display frees them
// with itself, and asking for the name again retries with the same object.
QelFont* QelDisplay::failedFont(const std::string& name) const {
  for (QelFont* font : _failedFonts)
    if (font->getName() && name == font->getName()) return font;
  return nullptr;
}

QelFont* QelDisplay::createSystemFont(const char* xName) {
  if (!_xDisplay || !xName || !*xName) return nullptr;
  auto cached = _fonts.find(xName);
  if (cached != _fonts.end()) return cached->second;
  QelFont* font = failedFont(xName);
  if (!font) font = new QelFont(this, xName);
  makeFont(font, xName);
  return font;
}

QelFont* QelDisplay::getSystemFont(const char* xName) {
  if (!_xDisplay || !xName || !*xName) return nullptr;
  for (const auto* table : {&_fonts, &_fontAliases})
    for (const auto& entry : *table)
      if (entry.second->isSystemFont() && entry.second->getXName() == xName) return entry.second;
  return createSystemFont(xName);
}

QelFont* QelDisplay::createFont(const char* family, uint16_t size, uint32_t style,
                                const char* foundry) {
  if (!_xDisplay || !family || !*family || size < 1 || size > 200) return nullptr;
  QelFontDescription description;
  description.family = family;
  description.size = size;
  description.style = style & (QelFontStyleBold | QelFontStyleItalic | QelFontStyleUnderlined);
  description.foundry = foundry ? foundry : "";
  std::string name = QelNormalizeFontName(description);
  auto cached = _fonts.find(name);
  if (cached != _fonts.end()) return cached->second;

  // Italic designs are "i" in some families and "o" (oblique) in others.
  unsigned resolution = fontResolution(_xDisplay, _screen);
  std::string xName = QelComposeXFontName(
      description, description.style & QelFontStyleItalic ? "i" : "r", resolution);
  if ((description.style & QelFontStyleItalic) && !fontExists(_xDisplay, xName)) {
    std::string oblique = QelComposeXFontName(description, "o", resolution);
    if (fontExists(_xDisplay, oblique)) xName = oblique;
  }
  QelFont* font = failedFont(name);
  if (!font) font = new QelFont(this, name.c_str(), description);
  makeFont(font, xName.c_str());
  return font;
}

bool QelDisplay::makeFont(QelFont* font, const char* xName) {
  const char* name = xName ? xName : font->getName();
  font->release();
  font->_xName = name ? name : "";
  font->_isFontSet = 0;
  font->_ascent = font->_descent = font->_minWidth = font->_maxWidth = 0;
  bool loaded = false;
  if (!_xDisplay || !sendable(font->_xName))
    QelFatalError("Creating Font: Invalid Font %s", font->_xName.c_str());
  else
    loaded = loadFont(font);
  // Only a loaded font is filed under its name. An alias lives in the alias table only; the
  // font table keeps the font it copies.
  auto failed = std::find(_failedFonts.begin(), _failedFonts.end(), font);
  if (loaded && failed != _failedFonts.end()) _failedFonts.erase(failed);
  if (!loaded && failed == _failedFonts.end() && !font->_alias) _failedFonts.push_back(font);
  if (loaded && !font->_alias && font->getName()) _fonts[font->getName()] = font;
  return loaded;
}

bool QelDisplay::loadFont(QelFont* font) {
  const char* name = font->_xName.c_str();
  XFontSet set = nullptr;
  if (fontSetCandidate(font->_xName)) {
    char** missing = nullptr;
    int missingCount = 0;
    char* defaultText = nullptr;
    set = XCreateFontSet(_xDisplay, name, &missing, &missingCount, &defaultText);
    if (missing) XFreeStringList(missing);
  }

  if (!set) {
    XFontStruct* loaded = XLoadQueryFont(_xDisplay, name);
    if (!loaded) {
      QelFatalError("Creating Font: Invalid Font %s", name);
      return false;
    }
    font->_fontStruct = loaded;
    font->_ascent = loaded->ascent;
    font->_descent = loaded->descent;
    font->_minWidth = loaded->min_bounds.width;
    font->_maxWidth = loaded->max_bounds.width;
    return true;
  }

  font->_fontSet = set;
  font->_isFontSet = 1;
  if (XFontSetExtents* extents = XExtentsOfFontSet(set)) {
    const XRectangle& logical = extents->max_logical_extent;
    font->_ascent = -logical.y;
    font->_descent = logical.y + logical.height;
    font->_minWidth = font->_maxWidth = logical.width;
  } else {
    QelWarning("QelDisplay::makeFont: FontSet %s has no extents", name);
  }
  XFontStruct** structs = nullptr;
  char** names = nullptr;
  int count = XFontsOfFontSet(set, &structs, &names);
  for (int i = 0; i < count; ++i) {
    if (i == 0 || structs[i]->min_bounds.width < font->_minWidth)
      font->_minWidth = structs[i]->min_bounds.width;
    if (i == 0 || structs[i]->max_bounds.width > font->_maxWidth)
      font->_maxWidth = structs[i]->max_bounds.width;
  }
  return true;
}

QelFont* QelDisplay::dupFont(QelFont* font, const char* alias) {
  if (!font || !alias) return nullptr;
  if (_fontAliases.count(alias)) {
    QelWarning("QelDisplay::dupFont: font alias %s already used", alias);
    return nullptr;
  }
  if (!font->_alias && font->getLockCount() == 0) {
    auto filed = font->getName() ? _fonts.find(font->getName()) : _fonts.end();
    if (filed != _fonts.end() && filed->second == font) _fonts.erase(filed);
    _failedFonts.erase(std::remove(_failedFonts.begin(), _failedFonts.end(), font),
                       _failedFonts.end());
    font->setName(alias);
    font->_alias = 1;
    _fontAliases[alias] = font;
    return font;
  }
  QelFont* copy = font->isSystemFont() ? new QelFont(this, font->getXName().c_str())
                                       : new QelFont(this, alias, font->getDescription());
  copy->setName(alias);
  copy->_alias = 1;
  makeFont(copy, font->getXName().c_str());
  _fontAliases[alias] = copy;
  return copy;
}

void QelDisplay::removeFont(QelFont* font) {
  if (!font) return;
  for (auto* table : {&_fonts, &_fontAliases})
    for (auto it = table->begin(); it != table->end();)
      it = it->second == font ? table->erase(it) : std::next(it);
  _failedFonts.erase(std::remove(_failedFonts.begin(), _failedFonts.end(), font),
                     _failedFonts.end());
  if (_defaultFont == font) _defaultFont = nullptr;
}

// The display's own names for fonts ("default", "bold", "button", ...) are aliases of the very
// font they stand for, locked once per name: the font stays in the font table under its own
// name, so asking for that name later finds it instead of loading it a second time.
QelFont* QelDisplay::registerAlias(QelFont* font, const char* alias) {
  if (_fontAliases.count(alias)) {
    QelWarning("QelDisplay::dupFont: font alias %s already used", alias);
    return findFont(alias);
  }
  font->_alias = 1;
  font->lock();
  _fontAliases[alias] = font;
  return font;
}

// A font named by a resource that cannot be loaded is reported, and the built-in choice is
// tried. A default font with no usable fallback is fatal; any other predefined font that still
// fails stands in with the default font.
QelFont* QelDisplay::predefinedFont(const char* alias, const char* resource, const char* fallback) {
  bool isDefault = std::strcmp(alias, "default") == 0;
  bool warned = false;
  QelFont* font = nullptr;
  const char* configured = getResource(resource, nullptr);
  if (configured && std::strcmp(configured, fallback) != 0) {
    font = getFont(configured);
    if (!font || !font->isValid()) {
      QelWarning("QelDisplay::initFont: cannot create %s font", alias);
      warned = true;
      font = nullptr;
    }
  }
  if (!font) font = getFont(fallback);
  if (!font || !font->isValid()) {
    if (isDefault) {
      QelFatalError("QelDisplay: cannot find default font %s", fallback);
    } else {
      if (!warned) QelWarning("QelDisplay::initFont: cannot create %s font", alias);
      if (_defaultFont) font = _defaultFont;
    }
  }
  return font ? registerAlias(font, alias) : nullptr;
}

void QelDisplay::initFonts() {
  _defaultFont = predefinedFont("default", "font", "fixed");
  predefinedFont("normal", "normalfont", "%helvetica-12-");
  predefinedFont("bold", "boldfont", "%helvetica-12-B");
  predefinedFont("italic", "italicfont", "%helvetica-12-I");
  predefinedFont("large", "largefont", "%helvetica-18-B");
  predefinedFont("monospace", "monospacefont", "fixed");
}
