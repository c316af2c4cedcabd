// Fonts: toolkit font names ("%family-size-style[-foundry]"), raw X font names, font sets and
// aliases. Every font is made and cached by the display.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <string>

#include "display/resource.h"

enum QelFontStyle : uint32_t {
  QelFontStyleBold = 1,
  QelFontStyleUnderlined = 2,
  QelFontStyleItalic = 4,
  QelFontStyleSystem = 0x1000,  // made from a raw X font name
};

// A toolkit font name taken apart.
struct QelFontDescription {
  std::string family;
  uint16_t size = 0;  // in points
  uint32_t style = 0;
  std::string foundry;  // empty when none was given
};

// Parses "%family-size-style[-foundry]" where size is 1 to 200 and style is any of the letters
// B, I, U in either case. False for anything else (which is then a raw X font name).
bool QelParseFontName(const char* name, QelFontDescription& description);
// The one spelling of a description: "%family-size-" then B, I, U as set, then "-", then
// "-foundry" when there is one.
std::string QelNormalizeFontName(const QelFontDescription& description);
// The X font name that stands for a description, using `slant` ("r", "i" or "o"), at
// `resolution` dots per inch (0: any).
std::string QelComposeXFontName(const QelFontDescription& description, const char* slant,
                                unsigned resolution = 0);

// The longest font name the toolkit sends to the server (the X logical font description limit).
constexpr size_t QelMaxXFontNameLength = 255;

class QelFont : public QelResource {
 public:
  // A toolkit font; the display loads it (makeFont).
  QelFont(QelDisplay* display, const char* name, const QelFontDescription& description);
  // A system font from a raw X font name.
  QelFont(QelDisplay* display, const char* xName);
  ~QelFont() override;

  // Null handles mean the font could not be loaded.
  bool isValid() const { return _fontStruct || _fontSet; }
  XFontStruct* getXFontStruct() const { return _fontStruct; }
  XFontSet getFontSet() const { return _fontSet; }
  int isFontSet() const { return _isFontSet; }

  int32_t ascent() const { return _ascent; }
  int32_t descent() const { return _descent; }
  int32_t height() const { return _ascent + _descent; }
  int32_t minWidth() const { return _minWidth; }
  int32_t maxWidth() const { return _maxWidth; }
  // The point size of a toolkit font (0 for a system font).
  uint16_t getSize() const { return _size; }
  uint32_t getStyle() const { return _style; }
  bool isSystemFont() const { return _style & QelFontStyleSystem; }
  int isAlias() const { return _alias; }
  const QelFontDescription& getDescription() const { return _description; }
  // The X name it was loaded from (the composed one for toolkit fonts).
  const std::string& getXName() const { return _xName; }

  // Pixel width of `length` bytes of `text` (a negative length measures up to the NUL).
  int32_t textWidth(const char* text, int length) const;
  // The advance width of `text` (up to its NUL) and the ascent and descent of its ink; zeros
  // for an empty text or a font that did not load.
  struct InkExtents {
    uint32_t width = 0, ascent = 0, descent = 0;
  };
  InkExtents inkExtents(const char* text) const;

 private:
  friend class QelDisplay;  // makeFont fills in the X side, dupFont marks aliases
  void release();

  int32_t _ascent = 0, _descent = 0, _minWidth = 0, _maxWidth = 0;
  uint16_t _size = 0;
  uint32_t _style = 0;
  int _alias = 0;
  int _isFontSet = 0;
  XFontStruct* _fontStruct = nullptr;
  XFontSet _fontSet = nullptr;
  QelFontDescription _description;
  std::string _xName;
};
