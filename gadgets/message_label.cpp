#include "gadgets/message_label.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <limits>
#include <ostream>
#include <string>

#include "base/module_init.h"
#include "display/display.h"
#include "display/font.h"
#include "display/palette.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/transformer.h"

namespace {

QelGraphicClassInfo* messageLabelClass = nullptr;
int messageLabelModuleState = 0;

void initializeMessageLabelModule() {
  static QelGraphicClassInfo label("QelMessageLabel", QelGadget::ClassInfo(),
                                   QelReadGraphic<QelMessageLabel>);
  messageLabelClass = &label;
}

}  // namespace

int QelMessageLabelModuleInit() {
  QelGadgetModuleInit();
  return QelInitializeOnce(messageLabelModuleState, initializeMessageLabelModule);
}

// --- QelMessageString --------------------------------------------------------------------------

QelMessageString::QelMessageString(const char* name, unsigned int alignment, int copy)
    : _alignment(alignment) {
  setName(name, copy);
}

QelMessageString::~QelMessageString() {
  std::free(_name);
}

void QelMessageString::setName(const char* name, int copy) {
  if (name == _name && !copy) return;  // handing back the string it already owns
  char* kept = copy ? strdup(name ? name : "") : const_cast<char*>(name);
  std::free(_name);
  _name = kept;
}

const char* QelMessageString::getText(QelDisplay* display) const {
  if (!_name) return "";
  const char* text = display ? display->getMessage(_name) : _name;
  return text ? text : "";
}

char QelMessageString::getMnemonic(QelDisplay* display) const {
  for (const char* c = getText(display); *c; ++c) {
    if (*c != '&') continue;
    if (c[1] != '&') return c[1];
    ++c;  // "&&" is a plain '&'
  }
  return 0;
}

// --- QelMessageLabel ---------------------------------------------------------------------------

QelMessageLabel::QelMessageLabel(QelDisplay* display, const char* label, const QelRect& rect,
                                 unsigned int alignment, uint16_t thickness, QelPalette* palette,
                                 int copy)
    : QelGadget(display, rect, thickness, palette), _message(label, alignment, copy) {}

QelMessageLabel::QelMessageLabel(QelDisplay* display, const QelPoint& point, const char* label,
                                 unsigned int alignment, uint16_t thickness, QelPalette* palette,
                                 int copy)
    : QelGadget(display, QelRect(point.x, point.y, 1, 1), thickness, palette),
      _message(label, alignment, copy),
      _sizedToContents(true) {
  fitToContents();
}

QelMessageLabel::QelMessageLabel(QelInputFile& file, QelPalette* palette)
    : QelGadget(file, palette), _message(nullptr, QelCenter, 1) {
  std::istream& in = file.getStream();
  int64_t alignment = 0, opaque = 0;
  std::string name;
  if (!QelReadInteger(in, 0, QelLeft | QelRight | QelTop | QelBottom | QelCenter, alignment) ||
      !QelReadInteger(in, 0, 1, opaque) || !file.readString(name)) {
    in.setstate(std::ios_base::failbit);
    return;
  }
  _message.setAlignment(unsigned(alignment));
  _message.setName(name.c_str(), 1);
  _opaque = int(opaque);
}

QelGraphic* QelMessageLabel::copy() const {
  auto* label = new QelMessageLabel(getDisplay(), _message.getName(), _rect,
                                    _message.getAlignment(), _thickness, getPalette(), 1);
  label->_opaque = _opaque;
  return label;
}

void QelMessageLabel::write(QelOutputFile& file) const {
  QelGadget::write(file);
  file.getStream() << ' ' << _message.getAlignment() << ' ' << _opaque << ' ';
  file.writeString(_message.getName());
}

uint32_t QelMessageLabel::horizontalMargin() const {
  const QelPalette* palette = getPalette();
  const QelFont* font = palette ? palette->getFont() : nullptr;
  return font && font->isValid() ? uint32_t(std::max(font->textWidth(" ", 1), 0)) : 0;
}

void QelMessageLabel::computeSize(const QelPalette* palette, uint32_t& width,
                                  uint32_t& height) const {
  width = height = 0;
  const QelFont* font = palette ? palette->getFont() : nullptr;
  QelDisplay* display = getDisplay();
  if (!font || !display) return;
  std::string text = getText();
  uint64_t lines = 1, widest = 0;
  size_t start = 0;
  for (;;) {
    size_t end = text.find('\n', start);
    std::string line = text.substr(start, end == std::string::npos ? end : end - start);
    uint32_t w = 0, h = 0;
    display->labelSize(palette, line.c_str(), w, h);
    widest = std::max<uint64_t>(widest, w);
    if (end == std::string::npos) break;
    ++lines;
    start = end + 1;
  }
  width = uint32_t(widest);
  height = uint32_t(std::min<uint64_t>(
      lines * uint64_t(std::max(font->ascent() + font->descent(), 0)) + 3, UINT32_MAX));
}

void QelMessageLabel::fitToContents() {
  uint32_t width = 0, height = 0;
  computeSize(getPalette(), width, height);
  _rect.w = std::max<uint32_t>(width, 1);
  _rect.h = std::max<uint32_t>(height, 1);
}

void QelMessageLabel::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  QelDisplay* display = getDisplay();
  auto* handler = dynamic_cast<QelMessageLabelLookHandler*>(getLookHandler());
  if (!display || !handler || !canDrawWith(drawingPalette())) return;
  // A label sized to its contents follows a new look's fonts.
  if (_laidOutFor != display->getLookChanges()) {
    _laidOutFor = display->getLookChanges();
    if (_sizedToContents) const_cast<QelMessageLabel*>(this)->fitToContents();
  }
  QelRect rect;
  boundingBox(rect, t);
  if (_opaque && _thickness) {
    QelGadgetClips scopes({getBackgroundPalette(), getTopShadowPalette(), getBottomShadowPalette()},
                          clip);
    display->drawReliefRectangle(port, getBackgroundPalette(), getTopShadowPalette(),
                                 getBottomShadowPalette(), rect, _thickness);
    int64_t inset = int64_t(horizontalMargin()) + _thickness;
    if (int64_t(rect.w) < 2 * inset || int64_t(rect.h) < 2 * inset) return;
    rect.expand(-int32_t(inset), -int32_t(inset));
  } else if (_opaque) {
    QelPaletteClip scope(getBackgroundPalette(), clip);
    display->fillRectangle(port, getBackgroundPalette(), rect);
  }
  handler->drawText(*this, port, rect, clip);
  if (!isSensitive()) drawInsensitive(port, t, clip);
}

QelClassInfo* QelMessageLabel::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelMessageLabel::ClassInfo() {
  QelMessageLabelModuleInit();
  return messageLabelClass;
}
