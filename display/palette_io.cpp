#include "display/palette_io.h"

#include <cctype>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "display/color.h"
#include "display/display.h"
#include "display/font.h"
#include "display/line_style.h"
#include "display/palette.h"
#include "display/pattern.h"

namespace {

constexpr size_t kMaxNameLength = 4096;
constexpr size_t kMaxDashes = 256;

void writeName(std::ostream& out, const char* name) {
  if (!name) {
    out << '-';
    return;
  }
  out << '"';
  for (const char* c = name; *c; ++c) {
    if (*c == '"' || *c == '\\') out << '\\';
    out << *c;
  }
  out << '"';
}

// Reads tokens of one palette line; every read fails once the text is malformed.
class Reader {
 public:
  explicit Reader(std::istream& in) : _in(in) {}
  bool ok() const { return _ok; }

  // A quoted name, or "-" (empty result, `present` false).
  std::string name(bool& present) {
    present = false;
    if (!skipBlanks()) return fail();
    int c = _in.get();
    if (c == '-') return {};
    if (c != '"') return fail();
    std::string text;
    while ((c = _in.get()) != '"') {
      if (c == '\\') c = _in.get();
      if (c == EOF || c == '\n' || text.size() >= kMaxNameLength) return fail();
      text += char(c);
    }
    present = true;
    return text;
  }

  uint32_t number(uint32_t max) {
    if (!skipBlanks()) return fail(), 0;
    std::string digits;
    while (std::isdigit(_in.peek()) && digits.size() < 11) digits += char(_in.get());
    uint32_t value = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size() ||
        value > max)
      return fail(), 0;
    return value;
  }

  bool peekIs(char c) { return skipBlanks() && _in.peek() == c; }
  void take() { _in.get(); }

 private:
  bool skipBlanks() {
    while (_ok && (_in.peek() == ' ' || _in.peek() == '\t')) _in.get();
    return _ok && _in.good();
  }
  std::string fail() {
    _ok = false;
    return {};
  }

  std::istream& _in;
  bool _ok = true;
};

}  // namespace

void QelWritePalette(std::ostream& out, const QelPalette& palette) {
  const QelPaletteAttributes& a = palette.getAttributes();
  QelDisplay* display = palette.getDisplay();
  writeName(out, a.background->getName());
  out << ' ';
  writeName(out, a.foreground->getName());
  out << ' ';
  writeName(out, a.font ? a.font->getName() : nullptr);
  out << ' ';
  if (a.lineStyle->getName()) {
    writeName(out, a.lineStyle->getName());
  } else {
    out << '[' << a.lineStyle->getOffset();
    for (uint16_t i = 0; i < a.lineStyle->getCount(); ++i)
      out << ' ' << unsigned(a.lineStyle->getDashes()[i]);
    out << ']';
  }
  out << ' ' << a.lineWidth << ' ' << int(a.fillStyle) << ' ' << int(a.arcMode) << ' '
      << int(a.fillRule) << ' ' << int(a.mode) << ' ' << (a.overwrite ? 1 : 0) << ' ' << a.planeMask
      << ' ';
  writeName(out, a.pattern == display->solidPattern() ? nullptr : a.pattern->getName());
  out << '\n';
}

QelPalette* QelReadPalette(QelDisplay& display, std::istream& in) {
  // The whole line is read before any name is looked up, so that a malformed line leaves
  // nothing behind in the display's caches.
  Reader reader(in);
  bool hasBackground, hasForeground, hasFont, hasStyle = false, hasPattern;
  std::string background = reader.name(hasBackground);
  std::string foreground = reader.name(hasForeground);
  std::string font = reader.name(hasFont);
  std::string style;
  bool dashList = reader.peekIs('[');
  uint16_t offset = 0;
  std::vector<uint8_t> dashes;
  if (dashList) {
    reader.take();
    offset = uint16_t(reader.number(UINT16_MAX));
    while (reader.ok() && !reader.peekIs(']') && dashes.size() <= kMaxDashes)
      dashes.push_back(uint8_t(reader.number(255)));
    if (!reader.peekIs(']') || dashes.size() > kMaxDashes) return nullptr;
    reader.take();
  } else {
    style = reader.name(hasStyle);
  }
  QelPaletteAttributes a;
  a.lineWidth = uint16_t(reader.number(UINT16_MAX));
  a.fillStyle = QelFillStyle(reader.number(QelFillColorPattern));
  a.arcMode = QelArcMode(reader.number(1));
  a.fillRule = QelFillRule(reader.number(1));
  a.mode = QelDrawMode(reader.number(QelDrawModeEquivalent));
  a.overwrite = int(reader.number(1));
  a.planeMask = reader.number(UINT32_MAX);
  std::string pattern = reader.name(hasPattern);
  if (!reader.ok()) return nullptr;
  in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');

  if (dashList) {
    a.lineStyle = display.getLineStyle(uint16_t(dashes.size()), dashes.data(), offset);
    if (!a.lineStyle) return nullptr;  // a dash list X refuses
  } else if (hasStyle) {
    a.lineStyle = display.getLineStyle(style.c_str());
  }
  if (hasBackground) a.background = display.getColor(background.c_str());
  if (hasForeground) a.foreground = display.getColor(foreground.c_str());
  if (hasPattern) a.pattern = display.getPattern(pattern.c_str());
  if (hasFont) {
    a.font = display.getFont(font.c_str());
    // A font that cannot be loaded draws with the default. The failed one is the display's:
    // another caller may hold it.
    if (a.font && !a.font->isValid()) a.font = nullptr;
  }
  return display.getPalette(a);
}
