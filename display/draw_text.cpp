// Text drawing: 8-bit, multibyte (font sets) and 16-bit strings, labels with mnemonics.
//
// Anchoring (the `position` bits of drawString and drawIString): horizontally QelLeft starts
// the text at the anchor, QelRight ends it there and QelCenter centres it on it; vertically
// QelTop puts the top of the font's ascent at the anchor, QelBottom the bottom of its descent
// and QelCenter the middle of the two. Left wins over right and top over bottom; centre applies
// only to a direction with no other bit, so QelCenter alone centres both ways. With no bits the
// anchor is the start of the baseline.
#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "display/display.h"
#include "display/drawing_scope.h"
#include "display/dump_device.h"
#include "display/font.h"
#include "display/port.h"
#include "graphics/transformer.h"

namespace {

constexpr int64_t kShortMin = SHRT_MIN, kShortMax = SHRT_MAX;
// How far glyph ink may reach beyond a character's cell; text farther out is not visible.
constexpr int64_t kInkMargin = 256;
// The protocol's limit of characters in one image-text request.
constexpr int kImageTextChunk = 255;

// -1 measures up to the terminator; any other negative length means nothing. A length never
// reaches past the terminator, so a short string with a long length is only read as far as it
// goes.
template <typename Char>
int resolveLength(const Char* text, int length) {
  if (!text || length < -1) return 0;
  size_t limit = length == -1 ? size_t(INT_MAX) : size_t(length);
  size_t n = 0;
  while (n < limit && text[n]) ++n;
  return int(n);
}

// The font a palette draws text with, when X has it.
const QelFont* usableFont(const QelDisplay* display, const QelPort* port,
                          const QelPalette* palette) {
  if (!port || !palette || !QelCanDraw(display, port, palette)) return nullptr;
  const QelFont* font = palette->getFont();
  return font && font->isValid() ? font : nullptr;
}

// Bytes of the character at `text` in the font's encoding (font sets follow the locale).
int characterBytes(const QelFont* font, const char* text, int remaining) {
  if (!font->isFontSet()) return 1;
  std::mbstate_t state{};
  size_t n = std::mbrlen(text, size_t(remaining), &state);
  return n == 0 || n > size_t(remaining) ? 1 : int(n);
}

// The part of a text that can show: X takes 16-bit origins, so characters far outside the
// port are dropped and the origin moved past them, rather than wrapping around onto it.
struct Span {
  int first = 0;
  int count = 0;
  int64_t x = 0;
};

// `step(offset, remaining, width)` gives the units and width of the character at `offset`.
template <typename Step>
bool visibleSpan(int64_t x, int64_t width, int length, int64_t right, Step step, Span& span) {
  span = {0, length, x};
  if (x + width <= -kInkMargin || x >= right + kInkMargin) return false;
  while (span.x < -kInkMargin && span.count > 0) {
    int32_t w = 0;
    int n = step(span.first, span.count, w);
    if (span.x + w > -kInkMargin) break;
    span.x += w, span.first += n, span.count -= n;
  }
  if (x + width > right + kInkMargin) {
    int64_t origin = span.x;
    int kept = 0;
    while (kept < span.count && origin < right + kInkMargin) {
      int32_t w = 0;
      kept += step(span.first + kept, span.count - kept, w);
      origin += w;
    }
    span.count = std::min(kept, span.count);
  }
  return span.count > 0 && span.x >= kShortMin && span.x <= kShortMax;
}

bool verticallyVisible(int64_t baseline, const QelFont* font, const QelPort* port) {
  int64_t bottom = std::min<int64_t>(port->height(), kShortMax);
  return baseline - font->ascent() < bottom + kInkMargin &&
         baseline + font->descent() > -kInkMargin && baseline >= kShortMin && baseline <= kShortMax;
}

int64_t portRight(const QelPort* port) {
  return std::min<int64_t>(port->width(), kShortMax);
}

// Baseline start of a text `width` wide anchored at `point` (see the file comment).
void anchor(const QelPoint& point, int64_t width, const QelFont* font, unsigned int position,
            int64_t& x, int64_t& y) {
  x = point.x;
  if (position & QelLeft)
    x = point.x;
  else if (position & QelRight)
    x = point.x - width;
  else if (position & QelCenter)
    x = point.x - width / 2;
  y = point.y;
  if (position & QelTop)
    y = int64_t(point.y) + font->ascent();
  else if (position & QelBottom)
    y = int64_t(point.y) - font->descent();
  else if (position & QelCenter)
    y = int64_t(point.y) + (font->ascent() - font->descent()) / 2;
}

void drawText(const QelDisplay* display, QelPort* port, const QelPalette* palette,
              const QelPoint& point, const char* text, int length, unsigned int position,
              bool image) {
  const QelFont* font = usableFont(display, port, palette);
  length = resolveLength(text, length);
  if (!font || length <= 0) return;
  int64_t width = font->textWidth(text, length);
  int64_t x, y;
  anchor(point, width, font, position, x, y);
  auto step = [&](int offset, int remaining, int32_t& w) {
    int n = characterBytes(font, text + offset, remaining);
    w = font->textWidth(text + offset, n);
    return n;
  };
  Span span;
  if (!verticallyVisible(y, font, port) ||
      !visibleSpan(x, width, length, portRight(port), step, span))
    return;

  QelDrawingScope scope(display, port);
  Display* xd = display->getXDisplay();
  Drawable d = port->getDrawable();
  GC gc = display->drawingGC(palette);
  const char* s = text + span.first;
  if (font->isFontSet()) {
    if (image)
      XmbDrawImageString(xd, d, font->getFontSet(), gc, int(span.x), int(y), s, span.count);
    else
      XmbDrawString(xd, d, font->getFontSet(), gc, int(span.x), int(y), s, span.count);
  } else if (!image) {
    XDrawString(xd, d, gc, int(span.x), int(y), s, span.count);
  } else {
    int64_t origin = span.x;
    for (int done = 0; done < span.count && origin <= kShortMax;) {
      int n = std::min(kImageTextChunk, span.count - done);
      XDrawImageString(xd, d, gc, int(origin), int(y), s + done, n);
      origin += font->textWidth(s + done, n);
      done += n;
    }
  }
}

void drawText16(const QelDisplay* display, QelPort* port, const QelPalette* palette,
                const QelPoint& point, const uint16_t* text, int length, bool image) {
  const QelFont* font = usableFont(display, port, palette);
  length = resolveLength(text, length);
  if (!font || length <= 0) return;

  std::vector<XChar2b> bytes;
  std::vector<wchar_t> wide;
  if (font->isFontSet()) {
    wide.assign(text, text + length);
  } else {
    bytes.resize(size_t(length));
    for (int i = 0; i < length; ++i)
      bytes[i] = {static_cast<unsigned char>(text[i] >> 8), static_cast<unsigned char>(text[i])};
  }
  auto width = [&](int offset, int count) -> int32_t {
    return font->isFontSet() ? XwcTextEscapement(font->getFontSet(), wide.data() + offset, count)
                             : XTextWidth16(font->getXFontStruct(), bytes.data() + offset, count);
  };
  auto step = [&](int offset, int, int32_t& w) {
    w = width(offset, 1);
    return 1;
  };
  Span span;
  if (!verticallyVisible(point.y, font, port) ||
      !visibleSpan(point.x, width(0, length), length, portRight(port), step, span))
    return;

  QelDrawingScope scope(display, port);
  Display* xd = display->getXDisplay();
  Drawable d = port->getDrawable();
  GC gc = display->drawingGC(palette);
  if (font->isFontSet()) {
    const wchar_t* s = wide.data() + span.first;
    if (image)
      XwcDrawImageString(xd, d, font->getFontSet(), gc, int(span.x), point.y, s, span.count);
    else
      XwcDrawString(xd, d, font->getFontSet(), gc, int(span.x), point.y, s, span.count);
  } else if (!image) {
    XDrawString16(xd, d, gc, int(span.x), point.y, bytes.data() + span.first, span.count);
  } else {
    int64_t origin = span.x;
    for (int done = 0; done < span.count && origin <= kShortMax;) {
      int n = std::min(kImageTextChunk, span.count - done);
      XDrawImageString16(xd, d, gc, int(origin), point.y, bytes.data() + span.first + done, n);
      origin += width(span.first + done, n);
      done += n;
    }
  }
}

// A label line as drawn: markers removed, and where its mnemonic is (-1 for none).
struct LabelLine {
  std::string text;
  int mnemonic = -1;
};

// "&x" marks x as the mnemonic (only the first one is underlined), "&&" is a literal '&', and a
// '&' with nothing after it on the line is dropped.
std::vector<LabelLine> splitLabel(const char* label) {
  std::vector<LabelLine> lines(1);
  bool marked = false;
  for (const char* p = label; *p; ++p) {
    if (*p == '\n') {
      lines.emplace_back();
    } else if (*p != '&') {
      lines.back().text += *p;
    } else if (p[1] == '&') {
      lines.back().text += *++p;
    } else if (p[1] && p[1] != '\n' && !marked) {
      lines.back().mnemonic = int(lines.back().text.size());
      marked = true;
    }
  }
  return lines;
}

}  // namespace

void QelDisplay::drawString(QelPort* port, const QelPalette* palette, const QelPoint& point,
                            const char* text, int length, unsigned int position) const {
  if (!port || !palette || !text) return;
  if (_dumpDevice) {
    _dumpDevice->drawString(port, palette, point, text, length, position);
    return;
  }
  QelTraceDrawing("drawString", port, "%d %d %d %u", point.x, point.y, length, position);
  drawText(this, port, palette, point, text, length, position, false);
}

void QelDisplay::drawIString(QelPort* port, const QelPalette* palette, const QelPoint& point,
                             const char* text, int length, unsigned int position) const {
  if (!port || !palette || !text) return;
  if (_dumpDevice) {
    _dumpDevice->drawIString(port, palette, point, text, length, position);
    return;
  }
  QelTraceDrawing("drawIString", port, "%d %d %d %u", point.x, point.y, length, position);
  drawText(this, port, palette, point, text, length, position, true);
}

void QelDisplay::drawWChar(QelPort* port, const QelPalette* palette, const QelPoint& point,
                           const uint16_t* text, int length) const {
  if (!port || !palette || !text) return;
  if (_dumpDevice) {
    _dumpDevice->drawWChar(port, palette, point, text, length);
    return;
  }
  QelTraceDrawing("drawWChar", port, "%d %d %d", point.x, point.y, length);
  drawText16(this, port, palette, point, text, length, false);
}

void QelDisplay::drawIWChar(QelPort* port, const QelPalette* palette, const QelPoint& point,
                            const uint16_t* text, int length) const {
  if (!port || !palette || !text) return;
  if (_dumpDevice) {
    _dumpDevice->drawIWChar(port, palette, point, text, length);
    return;
  }
  QelTraceDrawing("drawIWChar", port, "%d %d %d", point.x, point.y, length);
  drawText16(this, port, palette, point, text, length, true);
}

// Only the anchor moves: X draws glyphs upright, so rotated or scaled text keeps its glyphs.
void QelDisplay::drawTransformedString(QelPort* port, const QelPalette* palette,
                                       const QelPoint& point, const char* text, int length,
                                       const QelTransformer* t) const {
  if (!port || !palette || !text) return;
  if (_dumpDevice) return _dumpDevice->drawTransformedString(port, palette, point, text, length, t);
  QelPoint mapped = point;
  if (t) t->apply(mapped);
  drawString(port, palette, mapped, text, length, 0);
}

// Each line is placed on its own: left, right or centred in the rectangle (centred without a
// horizontal bit); the block of lines at the top, the bottom or centred (without a vertical
// bit).
void QelDisplay::drawLabel(QelPort* port, const QelPalette* palette, const char* label,
                           const QelRect& rect, unsigned int position) const {
  if (!port || !palette || !label || !*label) return;
  if (_dumpDevice) return _dumpDevice->drawLabel(port, palette, label, rect, position);
  if (!usableFont(this, port, palette)) return;
  QelTraceDrawing("drawLabel", port, "%d %d %u %u %u", rect.x, rect.y, rect.w, rect.h, position);
  const QelFont* font = palette->getFont();
  std::vector<LabelLine> lines = splitLabel(label);
  int64_t lineHeight = font->height();
  int64_t total = lineHeight * int64_t(lines.size());
  int64_t top = rect.y;
  if (position & QelTop)
    top = rect.y;
  else if (position & QelBottom)
    top = rect.bottom64() - total;
  else
    top = rect.y + (int64_t(rect.h) - total) / 2;

  QelDrawingScope scope(this, port);
  for (size_t i = 0; i < lines.size(); ++i) {
    const LabelLine& line = lines[i];
    int length = int(std::min<size_t>(line.text.size(), INT_MAX));
    int64_t width = font->textWidth(line.text.c_str(), length);
    int64_t x = rect.x + (int64_t(rect.w) - width) / 2;
    if (position & QelLeft)
      x = rect.x;
    else if (position & QelRight)
      x = rect.right64() - width;
    int64_t baseline = top + int64_t(i) * lineHeight + font->ascent();
    drawString(port, palette, QelPoint(QelClampToInt32(x), QelClampToInt32(baseline)),
               line.text.c_str(), length, 0);
    if (line.mnemonic < 0) continue;
    const char* mark = line.text.c_str() + line.mnemonic;
    int bytes = characterBytes(font, mark, length - line.mnemonic);
    int64_t ux = x + font->textWidth(line.text.c_str(), line.mnemonic);
    int64_t row = baseline + (font->descent() >= 2 ? 1 : 0);
    int32_t uw = font->textWidth(mark, bytes);
    if (uw > 0)
      fillRectangle(port, palette,
                    QelRect(QelClampToInt32(ux), QelClampToInt32(row), uint32_t(uw), 1));
  }
}

void QelDisplay::labelSize(const QelPalette* palette, const char* label, uint32_t& width,
                           uint32_t& height) const {
  width = height = 0;
  const QelFont* font = palette ? palette->getFont() : nullptr;
  if (!font || !label || !*label) return;
  std::vector<LabelLine> lines = splitLabel(label);
  int64_t widest = 0;
  for (const LabelLine& line : lines)
    widest = std::max<int64_t>(
        widest,
        font->textWidth(line.text.c_str(), int(std::min<size_t>(line.text.size(), INT_MAX))));
  width = uint32_t(std::min<int64_t>(widest, UINT32_MAX));
  height = uint32_t(std::min<int64_t>(int64_t(font->height()) * int64_t(lines.size()), UINT32_MAX));
}
