#include "gadgets/gadget.h"

#include <algorithm>
#include <istream>
#include <limits>
#include <ostream>

#include "base/module_init.h"
#include "display/color.h"
#include "display/container.h"
#include "display/display.h"
#include "display/palette.h"
#include "display/pattern.h"
#include "gadgets/look_and_feel.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/transformer.h"

namespace {

QelGraphicClassInfo* gadgetClass = nullptr;
int gadgetModuleState = 0;

const QelGadget* asGadget(const QelGraphic* obj) {
  return obj && obj->getClassInfo() && obj->getClassInfo()->isSubtypeOf(gadgetClass)
             ? static_cast<const QelGadget*>(obj)
             : nullptr;
}

// The container's questions about gadgets: an insensitive gadget takes no events, and one
// without an interactor of its own handles them itself. The pressed object holds the keyboard.
const QelGadgetSupport gadgetSupport = {
    [](const QelGraphic* obj) { return asGadget(obj) != nullptr; },
    [](const QelGraphic* obj) { return obj->isSensitive(); },
    [](QelGraphic* obj, QelEvent& event, QelContainer* container) {
      auto* gadget = const_cast<QelGadget*>(asGadget(obj));
      return gadget ? gadget->handleEvent(event, container) : 0;
    },
    [](QelGraphic* before, QelGraphic* after) {
      if (auto* gadget = const_cast<QelGadget*>(asGadget(before))) gadget->focusChanged(false);
      if (auto* gadget = const_cast<QelGadget*>(asGadget(after))) gadget->focusChanged(true);
    },
};

void initializeGadgetModule() {
  // Only the gadget kinds are ever made and read.
  static QelGraphicClassInfo gadget("QelGadget", QelSimpleGraphic::ClassInfo(), nullptr);
  gadgetClass = &gadget;
  QelContainer::SetGadgetSupport(&gadgetSupport);
}

// A shade of `color` towards white (factor above 1) or black (below 1), as Motif derives its
// relief colours from a widget's background.
QelColor* shade(QelDisplay* display, const QelColor* color, float factor) {
  unsigned short rgb[3] = {0, 0, 0};
  if (color) color->getRGB(rgb[0], rgb[1], rgb[2]);
  for (unsigned short& c : rgb) {
    float v = factor >= 1 ? c + (65535.0f - c) * (factor - 1) : c * factor;
    c = (unsigned short)std::clamp(v, 0.0f, 65535.0f);
  }
  return display->getColor(rgb[0], rgb[1], rgb[2]);
}

}  // namespace

int QelGadgetModuleInit() {
  QelGraphicModuleInit();
  return QelInitializeOnce(gadgetModuleState, initializeGadgetModule);
}

QelGadgetLookHandler::~QelGadgetLookHandler() = default;

void QelGadgetLookHandler::draw(const QelGadget& gadget, QelPort* port, const QelTransformer* t,
                                const QelRegion* clip) const {
  QelDisplay* display = gadget.getDisplay();
  if (!display || !gadget.getBackgroundPalette()) return;
  QelRect rect;
  gadget.boundingBox(rect, t);
  QelGadgetClips scopes({gadget.getBackgroundPalette(), gadget.getTopShadowPalette(),
                         gadget.getBottomShadowPalette()},
                        clip);
  display->drawReliefRectangle(port, gadget.getBackgroundPalette(), gadget.getTopShadowPalette(),
                               gadget.getBottomShadowPalette(), rect, gadget.getThickness());
  if (gadget.hasFocus()) drawFocus(gadget, port, t, clip);
}

void QelGadgetLookHandler::drawFocus(const QelGadget& gadget, QelPort* port,
                                     const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = gadget.getPalette();
  QelDisplay* display = gadget.getDisplay();
  if (!display || !palette) return;
  QelRect rect;
  gadget.boundingBox(rect, t);
  QelPaletteClip scope(palette, clip);
  display->drawRectangle(port, palette, rect);
}

// --- QelGadget ---------------------------------------------------------------------------------

QelGadget::QelGadget(QelDisplay* display, const QelRect& rect, uint16_t thickness,
                     QelPalette* palette)
    : QelSimpleGraphic(display, palette), _rect(rect), _thickness(thickness) {
  computePalettes();
}

QelGadget::QelGadget(QelInputFile& file, QelPalette* palette)
    : QelSimpleGraphic(file.getDisplay(), palette), _thickness(0) {
  std::istream& in = file.getStream();
  constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int64_t kMaxExtent = std::numeric_limits<uint32_t>::max();
  int64_t x, y, w, h, thickness, sensitive;
  if (QelReadInteger(in, kMin, kMax, x) && QelReadInteger(in, kMin, kMax, y) &&
      QelReadInteger(in, 0, kMaxExtent, w) && QelReadInteger(in, 0, kMaxExtent, h) &&
      QelReadInteger(in, 0, UINT16_MAX, thickness) && QelReadInteger(in, 0, 1, sensitive)) {
    _rect = QelRect(int32_t(x), int32_t(y), uint32_t(w), uint32_t(h));
    _thickness = uint16_t(thickness);
    setSensitive(sensitive != 0);
  }
  computePalettes();
}

QelGadget::~QelGadget() {
  releasePalettes();
}

void QelGadget::releasePalettes() {
  for (QelPalette** p :
       {&_backgroundPalette, &_topShadowPalette, &_bottomShadowPalette, &_selectPalette}) {
    if (*p) (*p)->unLock();
    *p = nullptr;
  }
}

void QelGadget::computePalettes() {
  releasePalettes();
  QelPalette* palette = getPalette();
  QelDisplay* display = getDisplay();
  if (!palette || !display || !display->getXDisplay()) return;
  QelColor* face = palette->getBackground();
  auto derived = [&](QelColor* color) {
    QelPalette* made =
        display->getPalette(face, color ? color : face, nullptr, nullptr, palette->getFont());
    if (made) made->lock();
    return made;
  };
  _backgroundPalette = derived(face);
  _topShadowPalette = derived(shade(display, face, 1.6f));
  _bottomShadowPalette = derived(shade(display, face, 0.5f));
  _selectPalette = derived(shade(display, face, 0.85f));
}

void QelGadget::setPalette(QelPalette* palette) {
  QelPalette* before = getPalette();
  QelSimpleGraphic::setPalette(palette);
  if (getPalette() != before) computePalettes();
}

void QelGadget::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  QelGadgetLookHandler* handler = getLookHandler();
  if (!handler || !canDrawWith(drawingPalette())) return;
  handler->draw(*this, port, t, clip);
  if (!isSensitive()) drawInsensitive(port, t, clip);
}

void QelGadget::drawInsensitive(QelPort* port, const QelTransformer* t,
                                const QelRegion* clip) const {
  // Half the pixels take the face colour again, so the gadget looks greyed out.
  QelDisplay* display = getDisplay();
  QelPattern* gray = display->getPattern("gray50");
  if (!gray) {
    static const unsigned char bits[] = {0x55, 0xaa, 0x55, 0xaa, 0x55, 0xaa, 0x55, 0xaa};
    gray = new QelPattern(display, 8, 8, bits, "gray50");
    gray->lock();  // kept by the display for every later gadget
  }
  QelPalette* stipple = display->getPalette(nullptr, getPalette()->getBackground(), gray, nullptr,
                                            nullptr, nullptr, 0, QelFillMaskPattern);
  if (!stipple) return;
  QelRect rect;
  boundingBox(rect, t);
  QelPaletteClip scope(stipple, clip);
  display->fillRectangle(port, stipple, rect);
}

bool QelGadget::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  QelRect rect;
  boundingBox(rect, t);
  return rect.containsClosed(tp);
}

void QelGadget::boundingBox(QelRect& rect, const QelTransformer* t) const {
  rect = _rect;
  if (t) t->apply(rect);
}

void QelGadget::applyTransform(const QelTransformer* t) {
  if (!t) return;
  t->apply(_rect);
  _rect.w = std::max(_rect.w, 1u);
  _rect.h = std::max(_rect.h, 1u);
}

void QelGadget::write(QelOutputFile& file) const {
  file.getStream() << _rect.x << ' ' << _rect.y << ' ' << _rect.w << ' ' << _rect.h << ' '
                   << _thickness << ' ' << (isSensitive() ? 1 : 0);
}

int QelGadget::handleEvent(QelEvent&, QelContainer*) {
  return 0;
}

void QelGadget::focusChanged(bool focus) {
  if (focus == hasFocus()) return;
  setFocus(focus);
  reDraw();
}

QelGadgetLookHandler* QelGadget::getLookHandler() const {
  return QelLookAndFeel::HandlerFor(getDisplay(), getClassInfo());
}

QelContainer* QelGadget::getContainer() const {
  return dynamic_cast<QelContainer*>(getHolder());
}

void QelGadget::reDraw() const {
  if (QelContainer* container = getContainer()) container->reDrawObj(const_cast<QelGadget*>(this));
}

QelClassInfo* QelGadget::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelGadget::ClassInfo() {
  QelGadgetModuleInit();
  return gadgetClass;
}
