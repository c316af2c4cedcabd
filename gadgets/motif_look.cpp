#include "gadgets/motif_look.h"

#include <algorithm>

#include "base/module_init.h"
#include "display/display.h"
#include "display/palette.h"
#include "gadgets/look_and_feel.h"
#include "gadgets/message_label.h"
#include "gadgets/scroll_bar.h"

namespace {

constexpr const char* kLook = "motif";
// Motif's shortest slider, and the width it gives a scroll bar across its orientation.
constexpr int64_t kMinSliderLength = 6;
constexpr uint16_t kScrollBarWidth = 19;

class MotifGadgetHandler : public QelGadgetLookHandler {};

class MotifScrollBarHandler : public QelScrollBarLookHandler {
 public:
  QelScrollBarLayout layout(const QelScrollBar& bar, const QelTransformer* t) const override {
    QelScrollBarLayout parts;
    QelRect r;
    bar.boundingBox(r, t);
    const bool horizontal = bar.getOrientation() == QelHorizontal;
    const int64_t shadow = std::min<int64_t>(bar.getThickness(), std::min(r.w, r.h) / 2);
    // Along and across the bar, inside the sunken frame.
    const int64_t start = (horizontal ? r.x : r.y) + shadow;
    const int64_t length = int64_t(horizontal ? r.w : r.h) - 2 * shadow;
    const int64_t side = (horizontal ? r.y : r.x) + shadow;
    const int64_t across = int64_t(horizontal ? r.h : r.w) - 2 * shadow;
    auto box = [&](int64_t from, int64_t size) {
      return horizontal ? QelRectBetween(from, side, from + size, side + across)
                        : QelRectBetween(side, from, side + across, from + size);
    };
    // Square arrow buttons at both ends, smaller when the bar is too short for two squares.
    const int64_t arrow = std::max<int64_t>(0, std::min(across, length / 2));
    parts.decrementArrow = box(start, arrow);
    parts.incrementArrow = box(start + length - arrow, arrow);
    const int64_t troughStart = start + arrow,
                  troughLength = std::max<int64_t>(0, length - 2 * arrow);
    parts.trough = box(troughStart, troughLength);
    // The slider is as long against the trough as its size against the range.
    const int64_t range = int64_t(bar.getMax()) - bar.getMin();
    int64_t slider = range > 0 ? troughLength * bar.getSliderSize() / range : troughLength;
    slider = std::min(std::max(slider, kMinSliderLength), troughLength);
    parts.trackStart = troughStart;
    parts.trackLength = troughLength - slider;
    const int64_t span = range - bar.getSliderSize();
    // Rounded up, so that positionToValue reads the slider's own value back where pixels are
    // finer than values.
    const int64_t offset =
        span > 0 ? ((int64_t(bar.getValue()) - bar.getMin()) * parts.trackLength + span - 1) / span
                 : 0;
    parts.slider = box(troughStart + offset, slider);
    return parts;
  }

  uint16_t getDefaultSize(QelDisplay*, unsigned int) const override { return kScrollBarWidth; }

  void draw(const QelGadget& gadget, QelPort* port, const QelTransformer* t,
            const QelRegion* clip) const override {
    const auto& bar = static_cast<const QelScrollBar&>(gadget);
    QelDisplay* display = bar.getDisplay();
    const QelPalette *face = bar.getBackgroundPalette(), *light = bar.getTopShadowPalette(),
                     *dark = bar.getBottomShadowPalette(), *trough = bar.getSelectPalette();
    if (!display || !face || !light || !dark || !trough) return;
    QelGadgetClips scopes({face, light, dark, trough}, clip);
    QelRect r;
    bar.boundingBox(r, t);
    QelScrollBarLayout parts = layout(bar, t);
    const uint16_t shadow = bar.getThickness();
    // The sunken trough: lit from below, shaded above.
    display->fillRectangle(port, trough, r);
    display->drawShadowRectangle(port, dark, light, r, shadow);
    display->drawReliefRectangle(port, face, light, dark, parts.slider, shadow);
    const bool horizontal = bar.getOrientation() == QelHorizontal;
    drawArrow(display, port, face, light, dark, parts.decrementArrow, horizontal ? QelLeft : QelTop,
              bar.isArrowPressed(false));
    drawArrow(display, port, face, light, dark, parts.incrementArrow,
              horizontal ? QelRight : QelBottom, bar.isArrowPressed(true));
    if (bar.hasFocus()) drawFocus(bar, port, t, clip);
  }

 private:
  // A triangle in the face colour with a lit and a shaded side; held, the two swap and the
  // arrow looks pressed in.
  static void drawArrow(QelDisplay* display, QelPort* port, const QelPalette* face,
                        const QelPalette* light, const QelPalette* dark, const QelRect& box,
                        unsigned int direction, bool pressed) {
    if (box.w < 3 || box.h < 3) return;
    QelRect r = box;
    r.expand(-1, -1);
    display->drawArrow(port, face, r, direction);
    if (pressed) std::swap(light, dark);
    const int32_t x0 = r.x, y0 = r.y, x1 = QelClampToInt32(r.right64() - 1),
                  y1 = QelClampToInt32(r.bottom64() - 1);
    const int32_t cx = QelClampToInt32(r.x + int64_t(r.w) / 2),
                  cy = QelClampToInt32(r.y + int64_t(r.h) / 2);
    switch (direction) {
      case QelLeft:
        display->drawLine(port, light, QelPoint(x0, cy), QelPoint(x1, y0));
        display->drawLine(port, dark, QelPoint(x0, cy), QelPoint(x1, y1));
        display->drawLine(port, dark, QelPoint(x1, y0), QelPoint(x1, y1));
        break;
      case QelRight:
        display->drawLine(port, light, QelPoint(x0, y0), QelPoint(x1, cy));
        display->drawLine(port, light, QelPoint(x0, y0), QelPoint(x0, y1));
        display->drawLine(port, dark, QelPoint(x0, y1), QelPoint(x1, cy));
        break;
      case QelTop:
        display->drawLine(port, light, QelPoint(cx, y0), QelPoint(x0, y1));
        display->drawLine(port, dark, QelPoint(cx, y0), QelPoint(x1, y1));
        display->drawLine(port, dark, QelPoint(x0, y1), QelPoint(x1, y1));
        break;
      default:
        display->drawLine(port, light, QelPoint(x0, y0), QelPoint(x1, y0));
        display->drawLine(port, light, QelPoint(x0, y0), QelPoint(cx, y1));
        display->drawLine(port, dark, QelPoint(x1, y0), QelPoint(cx, y1));
        break;
    }
  }
};

class MotifMessageLabelHandler : public QelMessageLabelLookHandler {
 public:
  // The label draws its own face and relief; the look adds the text.
  void drawText(const QelMessageLabel& label, QelPort* port, const QelRect& rect,
                const QelRegion* clip) const override {
    QelDisplay* display = label.getDisplay();
    const QelPalette* palette = label.getPalette();
    if (!display || !palette) return;
    QelPaletteClip scope(palette, clip);
    display->drawLabel(port, palette, label.getText(), rect, label.getMessage().getAlignment());
  }
};

int motifGadgetState = 0, motifScrollBarState = 0, motifMessageLabelState = 0;

}  // namespace

int QelMotifGadgetModuleInit() {
  QelGadgetModuleInit();
  return QelInitializeOnce(motifGadgetState, [] {
    QelLookAndFeel::RegisterHandler(kLook, "QelGadget", [](QelDisplay*) -> QelGadgetLookHandler* {
      return new MotifGadgetHandler;
    });
    QelDisplay::SetDefaultLookAndFeelFactory([](QelDisplay* display) -> QelLookAndFeelHandler* {
      return new QelLookAndFeel(display, kLook);
    });
  });
}

int QelMotifScrollBarModuleInit() {
  QelScrollBarModuleInit();
  QelMotifGadgetModuleInit();
  return QelInitializeOnce(motifScrollBarState, [] {
    QelLookAndFeel::RegisterHandler(
        kLook, "QelScrollBar",
        [](QelDisplay*) -> QelGadgetLookHandler* { return new MotifScrollBarHandler; });
  });
}

int QelMotifMessageLabelModuleInit() {
  QelMessageLabelModuleInit();
  QelMotifGadgetModuleInit();
  return QelInitializeOnce(motifMessageLabelState, [] {
    QelLookAndFeel::RegisterHandler(
        kLook, "QelMessageLabel",
        [](QelDisplay*) -> QelGadgetLookHandler* { return new MotifMessageLabelHandler; });
  });
}
