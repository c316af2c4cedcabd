// The scroll bar: a value between `min` and `max - sliderSize`, moved by its arrows (one
// increment), its trough (one page) and its slider, like the Motif widget beside it. Where the
// arrows, trough and slider lie is the look's business (QelScrollBarLookHandler::layout).
//
// Data-file form, after the gadget's fields ("x y w h thickness sensitive"): orientation, min,
// max, value, slider size, increment, decrement, page increment, page decrement.
#pragma once

#include <cstdint>
#include <memory>

#include "gadgets/gadget.h"

class QelScrollBar;
class QelTimer;

// Where a look puts the parts of a scroll bar, in view coordinates.
struct QelScrollBarLayout {
  QelRect decrementArrow;  // left or top
  QelRect incrementArrow;  // right or bottom
  QelRect trough;          // between the arrows
  QelRect slider;
  // The span the slider's leading edge travels along the bar's axis: from trackStart (the
  // value min) over trackLength pixels (the value max - sliderSize).
  int64_t trackStart = 0;
  int64_t trackLength = 0;
};

class QelScrollBarLookHandler : public QelGadgetLookHandler {
 public:
  virtual QelScrollBarLayout layout(const QelScrollBar& bar, const QelTransformer* t) const = 0;
  // The thickness across the orientation that the look gives a scroll bar.
  virtual uint16_t getDefaultSize(QelDisplay* display, unsigned int orientation) const = 0;
};

class QelScrollBar : public QelGadget {
 public:
  // Flag bit 0 of every gadget word marks a scroll bar.
  static constexpr uint32_t kScrollBarFlag = 1;
  // Motif's timing of a held arrow or trough: the first repeat, then the rate, in milliseconds.
  static constexpr int kInitialDelay = 250;
  static constexpr int kRepeatDelay = 50;

  QelScrollBar(QelDisplay* display, const QelRect& rect, unsigned int orientation = QelHorizontal,
               uint16_t thickness = 2, QelPalette* palette = nullptr);
  QelScrollBar(QelInputFile& file, QelPalette* palette);
  ~QelScrollBar() override;

  QelGraphic* copy() const override;
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;
  bool queryValue(QelValue& value) const override;
  bool applyValue(const QelValue& value) override;
  int handleEvent(QelEvent& event, QelContainer* container) override;

  // Swaps reversed bounds, makes equal ones one apart, keeps the slider within 1 .. max - min
  // and the value within min .. max - sliderSize. No redraw, no callback.
  void setValues(int32_t min, int32_t max, int32_t value, int32_t sliderSize);
  // Clamps as setValues does; redraws (when asked, held and changed) but calls nothing.
  void setValue(int32_t value, int redraw);
  // The value whose slider starts at `p` along the bar's axis; 0 for a track under a pixel.
  int32_t positionToValue(const QelPoint& p, const QelTransformer* t) const;
  // The main callbacks, then the value attribute "QelScrollBarValueAttribute".
  void valueChanged();
  // The drag callbacks, while the slider moves under the pointer.
  void drag();
  // Takes the look's thickness across the orientation (and back to the saved one when off).
  void useDefaultSize(int on);

  int32_t getMin() const { return _min; }
  int32_t getMax() const { return _max; }
  int32_t getValue() const { return _value; }
  int32_t getSliderSize() const { return _sliderSize; }
  unsigned int getOrientation() const { return _orientation; }
  QelScrollBarLayout layout(const QelTransformer* t) const;
  // Whether an arrow is held down (a look draws it pressed in).
  bool isArrowPressed(bool incrementArrow) const;

  static QelClassInfo* ClassInfo();
  // The callback type of drag(); the main type is QelGraphic's.
  static const QelSymbol* DragCallbackSymbol();
  // What the bar tells an observer its holder provides, in place of valueChanged().
  static const QelSymbol* ValueChangedSymbol();

  // Fields the job chart sets directly.
  int32_t increment = 1;
  int32_t pageIncrement = 10;
  int32_t pageDecrement = 10;
  int32_t decrement = 1;

 private:
  enum class Part { Nothing, DecrementArrow, IncrementArrow, TroughBefore, TroughAfter, Slider };
  Part partAt(const QelPoint& p, const QelTransformer* t) const;
  // One step of the held part; false when the slider has reached the pointer or an end.
  bool step();
  void startRepeat(int delay);
  void stopRepeat();
  void notifyChanged();
  int32_t along(const QelPoint& p) const;

  int32_t _min = 0;
  int32_t _max = 100;
  int32_t _value = 50;
  int32_t _sliderSize = 10;
  unsigned int _orientation;
  uint32_t _savedThickness;
  uint32_t _word = 0;

  // The interaction in progress: the part held, the pointer, the slider's grab offset.
  Part _held = Part::Nothing;
  QelPoint _pointer;
  int64_t _grabOffset = 0;
  int32_t _pressValue = 0;
  QelContainer* _heldContainer = nullptr;
  std::unique_ptr<QelTimer> _repeat;
};

// Registers QelScrollBar; safe to call many times.
int QelScrollBarModuleInit();
