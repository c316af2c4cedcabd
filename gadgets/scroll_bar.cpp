#include "gadgets/scroll_bar.h"

#include <algorithm>
#include <istream>
#include <limits>
#include <ostream>

#include "base/module_init.h"
#include "base/symbol.h"
#include "display/container.h"
#include "display/event.h"
#include "display/main_loop.h"
#include "gadgets/look_and_feel.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/value.h"

namespace {

QelGraphicClassInfo* scrollBarClass = nullptr;
int scrollBarModuleState = 0;

void initializeScrollBarModule() {
  static QelGraphicClassInfo scrollBar("QelScrollBar", QelGadget::ClassInfo(),
                                       QelReadGraphic<QelScrollBar>);
  scrollBarClass = &scrollBar;
  QelScrollBar::DragCallbackSymbol();
}

int32_t clampTo32(int64_t v) {
  return QelClampToInt32(v);
}

// The named values, in the order of the fields.
enum Field {
  kMin,
  kMax,
  kValue,
  kSliderSize,
  kIncrement,
  kDecrement,
  kPageIncrement,
  kPageDecrement,
  kOrientation,
  kFieldCount
};
const char* const fieldNames[kFieldCount] = {"min",           "max",           "value",
                                             "sliderSize",    "increment",     "decrement",
                                             "pageIncrement", "pageDecrement", "orientation"};

int fieldOf(const QelSymbol* name) {
  for (int i = 0; i < kFieldCount; ++i)
    if (name == QelSymbol::Get(fieldNames[i])) return i;
  return -1;
}

const QelSymbol* valueAttribute() {
  static const QelSymbol* s = QelSymbol::Get("QelScrollBarValueAttribute");
  return s;
}

}  // namespace

int QelScrollBarModuleInit() {
  QelGadgetModuleInit();
  return QelInitializeOnce(scrollBarModuleState, initializeScrollBarModule);
}

const QelSymbol* QelScrollBar::DragCallbackSymbol() {
  static const QelSymbol* s = QelSymbol::Get("__QelDragCallback");
  return s;
}

const QelSymbol* QelScrollBar::ValueChangedSymbol() {
  return valueAttribute();
}

QelScrollBar::QelScrollBar(QelDisplay* display, const QelRect& rect, unsigned int orientation,
                           uint16_t thickness, QelPalette* palette)
    : QelGadget(display, rect, thickness, palette),
      _orientation(orientation == QelVertical ? QelVertical : QelHorizontal),
      _savedThickness(_orientation == QelHorizontal ? rect.h : rect.w) {
  setFlag(kScrollBarFlag);
}

QelScrollBar::QelScrollBar(QelInputFile& file, QelPalette* palette)
    : QelGadget(file, palette), _orientation(QelHorizontal), _savedThickness(_rect.h) {
  setFlag(kScrollBarFlag);
  std::istream& in = file.getStream();
  constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  int64_t orientation = 0, v[8] = {0};
  if (!QelReadInteger(in, QelHorizontal, QelVertical, orientation) ||
      (orientation != QelHorizontal && orientation != QelVertical)) {
    in.setstate(std::ios_base::failbit);
    return;
  }
  for (int64_t& field : v)
    if (!QelReadInteger(in, kMin, kMax, field)) return;
  _orientation = unsigned(orientation);
  _savedThickness = _orientation == QelHorizontal ? _rect.h : _rect.w;
  setValues(int32_t(v[0]), int32_t(v[1]), int32_t(v[2]), int32_t(v[3]));
  increment = int32_t(v[4]), decrement = int32_t(v[5]);
  pageIncrement = int32_t(v[6]), pageDecrement = int32_t(v[7]);
}

QelScrollBar::~QelScrollBar() = default;

QelGraphic* QelScrollBar::copy() const {
  auto* bar = new QelScrollBar(getDisplay(), _rect, _orientation, _thickness, getPalette());
  bar->setValues(_min, _max, _value, _sliderSize);
  bar->increment = increment, bar->decrement = decrement;
  bar->pageIncrement = pageIncrement, bar->pageDecrement = pageDecrement;
  return bar;
}

void QelScrollBar::write(QelOutputFile& file) const {
  QelGadget::write(file);
  file.getStream() << ' ' << _orientation << ' ' << _min << ' ' << _max << ' ' << _value << ' '
                   << _sliderSize << ' ' << increment << ' ' << decrement << ' ' << pageIncrement
                   << ' ' << pageDecrement;
}

QelClassInfo* QelScrollBar::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelScrollBar::ClassInfo() {
  QelScrollBarModuleInit();
  return scrollBarClass;
}

// --- Values ------------------------------------------------------------------------------------

void QelScrollBar::setValues(int32_t min, int32_t max, int32_t value, int32_t sliderSize) {
  if (min > max) std::swap(min, max);
  if (min == max) {
    if (max == std::numeric_limits<int32_t>::max()) --min;
    max = min + 1;
  }
  _min = min;
  _max = max;
  int64_t range = int64_t(max) - min;
  _sliderSize = clampTo32(std::max<int64_t>(std::min<int64_t>(sliderSize, range), 1));
  _value = clampTo32(std::min<int64_t>(std::max(value, min), int64_t(max) - _sliderSize));
}

void QelScrollBar::setValue(int32_t value, int redraw) {
  int32_t clamped =
      clampTo32(std::min<int64_t>(std::max(value, _min), int64_t(_max) - _sliderSize));
  if (clamped == _value) return;
  _value = clamped;
  if (redraw) reDraw();
}

int32_t QelScrollBar::along(const QelPoint& p) const {
  return _orientation == QelHorizontal ? p.x : p.y;
}

int32_t QelScrollBar::positionToValue(const QelPoint& p, const QelTransformer* t) const {
  QelScrollBarLayout parts = layout(t);
  if (parts.trackLength < 1) return 0;
  int64_t offset = std::max<int64_t>(0, along(p) - parts.trackStart);
  int64_t span = int64_t(_max) - _sliderSize - _min;
  return clampTo32(offset * span / parts.trackLength + _min);
}

void QelScrollBar::valueChanged() {
  callCallbacks(CallbackSymbol());
  applyValue(QelValue(valueAttribute(), _value));
}

void QelScrollBar::drag() {
  callCallbacks(DragCallbackSymbol());
}

void QelScrollBar::notifyChanged() {
  QelGraphicHolder* holder = getHolder();
  if (QelGraphicObserver* observer = holder ? holder->getObserver(this) : nullptr)
    observer->notify(this, ValueChangedSymbol());
  else
    valueChanged();
}

bool QelScrollBar::queryValue(QelValue& value) const {
  switch (fieldOf(value.getName())) {
    case kMin:
      value.set(_min);
      return true;
    case kMax:
      value.set(_max);
      return true;
    case kValue:
      value.set(_value);
      return true;
    case kSliderSize:
      value.set(_sliderSize);
      return true;
    case kIncrement:
      value.set(increment);
      return true;
    case kDecrement:
      value.set(decrement);
      return true;
    case kPageIncrement:
      value.set(pageIncrement);
      return true;
    case kPageDecrement:
      value.set(pageDecrement);
      return true;
    case kOrientation:
      value.set(uint32_t(_orientation));
      return true;
    default:
      return QelGadget::queryValue(value);
  }
}

bool QelScrollBar::applyValue(const QelValue& value) {
  if (value.getName() == valueAttribute()) {
    setValue(value.asInt(), 0);
    return true;
  }
  int32_t v = value.asInt();
  switch (fieldOf(value.getName())) {
    case kMin:
      setValues(v, _max, _value, _sliderSize);
      return true;
    case kMax:
      setValues(_min, v, _value, _sliderSize);
      return true;
    case kValue:
      setValue(v, 0);
      return true;
    case kSliderSize:
      setValues(_min, _max, _value, v);
      return true;
    case kIncrement:
      increment = v;
      return true;
    case kDecrement:
      decrement = v;
      return true;
    case kPageIncrement:
      pageIncrement = v;
      return true;
    case kPageDecrement:
      pageDecrement = v;
      return true;
    case kOrientation:
      if (v != QelHorizontal && v != QelVertical) return false;
      _orientation = unsigned(v);
      return true;
    default:
      return QelGadget::applyValue(value);
  }
}

QelScrollBarLayout QelScrollBar::layout(const QelTransformer* t) const {
  auto* handler = dynamic_cast<QelScrollBarLookHandler*>(getLookHandler());
  if (handler) return handler->layout(*this, t);
  QelScrollBarLayout none;
  boundingBox(none.trough, t);
  return none;
}

void QelScrollBar::useDefaultSize(int on) {
  auto* handler = dynamic_cast<QelScrollBarLookHandler*>(getLookHandler());
  QelRect before = _rect;
  uint32_t& across = _orientation == QelHorizontal ? _rect.h : _rect.w;
  if (on) {
    if (!handler) return;
    _savedThickness = across;
    across = std::max<uint32_t>(handler->getDefaultSize(getDisplay(), _orientation), 1);
  } else {
    across = std::max<uint32_t>(_savedThickness, 1);
  }
  if (QelContainer* container = getContainer()) {
    QelRegion damaged(before);
    damaged.add(_rect);
    container->reDraw(&damaged);
  }
}

// --- Interaction -------------------------------------------------------------------------------

QelScrollBar::Part QelScrollBar::partAt(const QelPoint& p, const QelTransformer* t) const {
  QelScrollBarLayout parts = layout(t);
  if (parts.decrementArrow.containsClosed(p)) return Part::DecrementArrow;
  if (parts.incrementArrow.containsClosed(p)) return Part::IncrementArrow;
  if (parts.slider.containsClosed(p)) return Part::Slider;
  if (!parts.trough.containsClosed(p)) return Part::Nothing;
  int64_t sliderStart = _orientation == QelHorizontal ? parts.slider.x : parts.slider.y;
  return along(p) < sliderStart ? Part::TroughBefore : Part::TroughAfter;
}

bool QelScrollBar::step() {
  int64_t target = _value;
  switch (_held) {
    case Part::DecrementArrow:
      target -= decrement;
      break;
    case Part::IncrementArrow:
      target += increment;
      break;
    case Part::TroughBefore:
    case Part::TroughAfter: {
      // Pages go on only while the slider has not reached the pointer.
      QelScrollBarLayout parts =
          layout(_heldContainer ? _heldContainer->getTransformer() : nullptr);
      int64_t start = _orientation == QelHorizontal ? parts.slider.x : parts.slider.y;
      int64_t end = start + (_orientation == QelHorizontal ? parts.slider.w : parts.slider.h);
      if (_held == Part::TroughBefore) {
        if (along(_pointer) >= start) return false;
        target -= pageDecrement;
      } else {
        if (along(_pointer) < end) return false;
        target += pageIncrement;
      }
      break;
    }
    default:
      return false;
  }
  int32_t before = _value;
  setValue(clampTo32(target), 1);
  if (_value == before) return false;
  notifyChanged();
  return true;
}

void QelScrollBar::startRepeat(int delay) {
  if (!_repeat)
    _repeat = std::make_unique<QelTimer>(
        getDisplay(), 0, delay,
        [](QelTimer* timer, void* bar) {
          auto* self = static_cast<QelScrollBar*>(bar);
          if (self->step())
            timer->run(0, kRepeatDelay);
          else
            timer->suspend();
        },
        this);
  _repeat->run(0, delay);
}

void QelScrollBar::stopRepeat() {
  if (_repeat) _repeat->suspend();
}

int QelScrollBar::handleEvent(QelEvent& event, QelContainer* container) {
  const QelTransformer* t = container ? container->getTransformer() : nullptr;
  QelPoint p(event.x, event.y);
  switch (event.type) {
    case QelButtonDown:
    case QelDoubleClick:
    case QelMultiClick: {
      if (event.button != QelLeftButton) return 0;
      _held = partAt(p, t);
      _pointer = p;
      _heldContainer = container;
      _pressValue = _value;
      if (_held == Part::Nothing) return 1;
      if (_held == Part::Slider) {
        QelScrollBarLayout parts = layout(t);
        _grabOffset = along(p) - (_orientation == QelHorizontal ? parts.slider.x : parts.slider.y);
        return 1;
      }
      bool arrow = _held == Part::DecrementArrow || _held == Part::IncrementArrow;
      if (arrow) reDraw();  // pressed in
      if (step() || arrow) startRepeat(kInitialDelay);
      return 1;
    }
    case QelButtonDragged:
      if (_held == Part::Nothing) return 0;
      _pointer = p;
      if (_held == Part::Slider) {
        QelScrollBarLayout parts = layout(t);
        int64_t start = along(p) - _grabOffset;
        int64_t offset = std::max<int64_t>(0, start - parts.trackStart);
        int64_t span = int64_t(_max) - _sliderSize - _min;
        int32_t before = _value;
        if (parts.trackLength >= 1)
          setValue(clampTo32(offset * span / parts.trackLength + _min), 1);
        if (_value != before) drag();
      }
      return 1;
    case QelButtonUp: {
      if (_held == Part::Nothing) return 0;
      Part released = _held;
      _held = Part::Nothing;
      _heldContainer = nullptr;
      stopRepeat();
      if (released == Part::DecrementArrow || released == Part::IncrementArrow) reDraw();
      if (released == Part::Slider && _value != _pressValue) notifyChanged();
      return 1;
    }
    case QelKeyDown: {
      int64_t target = _value;
      bool forward = _orientation == QelHorizontal;
      switch (event.button) {
        case QelLeftArrowKey:
          if (forward)
            target -= decrement;
          else
            return 0;
          break;
        case QelRightArrowKey:
          if (forward)
            target += increment;
          else
            return 0;
          break;
        case QelUpArrowKey:
          if (!forward)
            target -= decrement;
          else
            return 0;
          break;
        case QelDownArrowKey:
          if (!forward)
            target += increment;
          else
            return 0;
          break;
        case QelPageUpKey:
          target -= pageDecrement;
          break;
        case QelPageDownKey:
          target += pageIncrement;
          break;
        case QelHomeKey:
          target = _min;
          break;
        case QelEndKey:
          target = int64_t(_max) - _sliderSize;
          break;
        default:
          return 0;
      }
      int32_t before = _value;
      setValue(clampTo32(target), 1);
      if (_value != before) notifyChanged();
      return 1;
    }
    default:
      return 0;
  }
}

bool QelScrollBar::isArrowPressed(bool incrementArrow) const {
  return _held == (incrementArrow ? Part::IncrementArrow : Part::DecrementArrow);
}
