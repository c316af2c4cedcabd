#include "charts/scale.h"


#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <istream>
#include <limits>
#include <ostream>

#include "base/messages.h"
#include "base/module_init.h"
#include "charts/chart.h"
#include "display/display.h"
#include "display/font.h"
#include "display/palette.h"
#include "display/port.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

int scaleModuleState = 0;
QelGraphicClassInfo* scaleClass = nullptr;
QelGraphicClassInfo* rectangularScaleClass = nullptr;

void initializeScaleModule() {
  static QelGraphicClassInfo scale("QelScale", QelSimpleGraphic::ClassInfo(), nullptr);
  static QelGraphicClassInfo rectangular("QelRectangularScale", &scale,
                                         QelReadGraphic<QelRectangularScale>);
  scaleClass = &scale;
  rectangularScaleClass = &rectangular;
}

// Generated labels are formatted into a buffer of this size: at most 79 characters.
constexpr size_t kLabelBuffer = 80;
// Between a tick's end and its label's text.
constexpr int32_t kLabelGap = 4;
// How far outside the port (or clip) drawing still starts: lines and text that begin there can
// reach into it.
constexpr int32_t kDrawableMargin = 200;
// Label boxes are grown by this much on each side when the skip walk tests them for overlap.
constexpr int32_t kOverlapMargin = 2;

// A label format takes exactly one double (or none): flags, a width and a precision of at most
// three digits each, an optional 'l', and one of the floating conversions. Anything else (a
// string or integer conversion, '*', a second value) would read arguments that are not there.
bool isDoubleFormat(const char* format) {
  int conversions = 0;
  for (const char* p = format; *p; ++p) {
    if (*p != '%') continue;
    if (*++p == '%') continue;
    while (*p && std::strchr("-+ #0", *p)) ++p;
    for (int digits = 0; *p >= '0' && *p <= '9'; ++p)
      if (++digits > 3) return false;
    if (*p == '.') {
      ++p;
      for (int digits = 0; *p >= '0' && *p <= '9'; ++p)
        if (++digits > 3) return false;
    }
    if (*p == 'l') ++p;
    if (!*p || !std::strchr("aAeEfFgG", *p)) return false;
    if (++conversions > 1) return false;
  }
  return true;
}

// Reads one integer of [min, max] through 64 bits; anything else fails the stream.
bool readField(std::istream& in, int64_t min, int64_t max, int64_t& value) {
  if (!(in >> value)) return false;
  if (value >= min && value <= max) return true;
  in.setstate(std::ios_base::failbit);
  return false;
}

QelPoint sum(const QelPoint& a, const QelPoint& b) {
  return QelPoint(QelClampToInt32(int64_t(a.x) + b.x), QelClampToInt32(int64_t(a.y) + b.y));
}

// The pixel box of a set of line end points: both ends are painted.
void addPixel(QelRect& box, const QelPoint& p, bool& first) {
  if (first) {
    box = QelRect(p.x, p.y, 1, 1);
    first = false;
  } else {
    box.add(QelRect(p.x, p.y, 1, 1));
  }
}

QelPosition normalDirection(QelPosition direction) {
  switch (direction) {
    case QelLeft:
    case QelRight:
    case QelTop:
    case QelBottom:
      return direction;
    case QelVertical:
      return QelBottom;
    default:
      return QelLeft;
  }
}

// snprintf of one value. Whole numbers in "%.0f", what a time axis relabels at every tick, are
// written directly: the same text, without the cost of formatting a float.
void formatLabel(char* buffer, size_t size, const char* format, double value) {
  if (std::strcmp(format, "%.0f") == 0 && value == std::trunc(value) && std::fabs(value) < 1e15) {
    const bool negativeZero = value == 0 && std::signbit(value);
    char* end = std::to_chars(buffer, buffer + size - 1, int64_t(value)).ptr;
    if (negativeZero) std::strcpy(buffer, "-0"), end = buffer + 2;
    *end = '\0';
    return;
  }
  std::snprintf(buffer, size, format, value);
}

}  // namespace

int QelScaleModuleInit() {
  QelGraphicModuleInit();
  return QelInitializeOnce(scaleModuleState, initializeScaleModule);
}

// --- QelScale ----------------------------------------------------------------------------------

QelScale::QelScale(QelDisplay* display, const QelRect& rect, const char* format, float min,
                   float max, uint16_t steps, uint16_t subSteps, uint16_t stepSize,
                   uint16_t subStepSize, QelPalette* palette)
    : QelSimpleGraphic(display, palette),
      _rect(rect),
      _steps(steps),
      _subSteps(subSteps),
      _stepSize(stepSize),
      _subStepSize(subStepSize) {
  setLabels(steps, min, max, format);
}

QelScale::QelScale(const QelScale& other)
    : QelSimpleGraphic(other.getDisplay(), other.getPalette()),
      _rect(other._rect),
      _steps(other._steps),
      _subSteps(other._subSteps),
      _stepSize(other._stepSize),
      _subStepSize(other._subStepSize),
      _labels(other._labels),
      _widths(other._widths),
      _ascents(other._ascents),
      _descents(other._descents),
      _modified(1) {}

QelScale::QelScale(QelInputFile& file, QelPalette* palette)
    : QelSimpleGraphic(file.getDisplay(), palette) {
  std::istream& in = file.getStream();
  constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int64_t kExtent = std::numeric_limits<uint32_t>::max();
  constexpr int64_t kShort = std::numeric_limits<uint16_t>::max();
  int64_t x, y, w, h, steps, subSteps, stepSize, subStepSize;
  if (!readField(in, kMin, kMax, x) || !readField(in, kMin, kMax, y) ||
      !readField(in, 0, kExtent, w) || !readField(in, 0, kExtent, h) ||
      !readField(in, 0, kShort, steps) || !readField(in, 0, kShort, subSteps) ||
      !readField(in, 0, kShort, stepSize) || !readField(in, 0, kShort, subStepSize))
    return;
  _rect = QelRect(int32_t(x), int32_t(y), uint32_t(w), uint32_t(h));
  _steps = uint16_t(steps);
  _subSteps = uint16_t(subSteps);
  _stepSize = uint16_t(stepSize);
  _subStepSize = uint16_t(subStepSize);
  readLabels(file);
}

void QelScale::readLabels(QelInputFile& file) {
  std::istream& in = file.getStream();
  int64_t labelled;
  if (!readField(in, 0, 1, labelled) || !labelled) return;
  if (_steps < 2) {
    in.setstate(std::ios_base::failbit);
    return;
  }
  resetLabels(_steps);
  std::string text;
  for (uint16_t i = 0; i < _steps; ++i) {
    if (!(in >> std::ws)) return;
    if (in.peek() == '-') {
      in.get();
      continue;
    }
    if (!file.readString(text)) {
      in.setstate(std::ios_base::failbit);
      resetLabels(0);
      return;
    }
    // A label is a C string: whatever follows a NUL would never be shown.
    _labels[i] = std::string(text.c_str());
  }
  computeLabelSizes();
}

void QelScale::resetLabels(uint16_t count) {
  _largestLabel = -1;
  _labels.assign(count, std::nullopt);
  _widths.assign(count, 0);
  _ascents.assign(count, 0);
  _descents.assign(count, 0);
}

void QelScale::measure(uint16_t index) {
  _largestLabel = -1;
  const QelPalette* palette = getPalette();
  const std::optional<std::string>& label = _labels[index];
  // Labels are placed by their own ink, not by the font's overall metrics.
  const QelFont* font = palette ? palette->getFont() : nullptr;
  const QelFont::InkExtents e =
      font && label ? font->inkExtents(label->c_str()) : QelFont::InkExtents{};
  _widths[index] = e.width, _ascents[index] = e.ascent, _descents[index] = e.descent;
}

void QelScale::computeLabelSizes() {
  for (size_t i = 0; i < _labels.size(); ++i) measure(uint16_t(i));
}

void QelScale::setLabels(uint16_t count, float min, float max, const char* format) {
  if (format && !isDoubleFormat(format)) {
    QelWarning("QelScale::setLabels: Bad label format: %s", format);
    format = nullptr;
  }
  const bool keep = count == _steps && _labels.size() == count;
  _steps = count;
  if (count < 2 || !format) {
    resetLabels(0);
    markModified();
    return;
  }
  if (!keep) resetLabels(count);
  // Accumulated in single precision on purpose: each value is the previous one plus the step,
  // rounded to float, which is what the labels have always shown.
  const float delta = (max - min) / float(count - 1);
  std::vector<float> values(count);
  values[0] = min;
  for (uint16_t i = 1; i < count; ++i) values[i] = values[i - 1] + delta;
  char buffer[kLabelBuffer];
  auto text = [&](uint16_t i) {
    formatLabel(buffer, sizeof buffer, format, double(values[i]));
    return buffer;
  };
  // An axis that scrolled shows the texts it showed, some steps further along: each text found
  // there keeps the size measured before. The shift is where the first (or the last) text was.
  int shift = 0;
  if (keep && !sameLabel(0, text(0))) {
    auto at = [&](const char* t) {
      for (uint16_t j = 0; j < count; ++j)
        if (sameLabel(j, t)) return int(j);
      return -1;
    };
    if (int j = at(buffer); j >= 0)
      shift = j;
    else if (int k = at(text(uint16_t(count - 1))); k >= 0)
      shift = k - (count - 1);
  }
  // Read ahead of what is written: upwards for a shift forward, downwards for one back.
  for (int n = 0; n < count; ++n) {
    const uint16_t i = uint16_t(shift >= 0 ? n : count - 1 - n);
    if (sameLabel(i, text(i))) continue;
    const int from = i + shift;
    if (shift != 0 && from >= 0 && from < count && sameLabel(uint16_t(from), buffer)) {
      _labels[i] = std::move(_labels[size_t(from)]);
      _widths[i] = _widths[size_t(from)];
      _ascents[i] = _ascents[size_t(from)];
      _descents[i] = _descents[size_t(from)];
      _labels[size_t(from)].reset();  // no longer the text its sizes were measured for
      continue;
    }
    _labels[i] = buffer;
    measure(i);
  }
  markModified();
}

bool QelScale::sameLabel(uint16_t index, const char* text) const {
  const std::optional<std::string>& label = _labels[index];
  return label && *label == text;
}

void QelScale::setLabels(uint16_t count, const char* const* labels) {
  const bool keep = count == _steps && _labels.size() == count;
  _steps = count;
  if (count < 2 || !labels) {
    resetLabels(0);
    markModified();
    return;
  }
  if (!keep) resetLabels(count);
  for (uint16_t i = 0; i < count; ++i) {
    std::optional<std::string>& label = _labels[i];
    if (!labels[i]) {
      if (label) {
        label.reset();
        measure(i);
      }
    } else if (!label || *label != labels[i]) {
      label = labels[i];
      measure(i);
    }
  }
  markModified();
}

void QelScale::setLabel(uint16_t index, const char* label) {
  if (index < _labels.size()) {
    if (label)
      _labels[index] = label;
    else
      _labels[index].reset();
    measure(index);
  }
  markModified();
}

uint32_t QelScale::largestLabelExtent() const {
  if (_largestLabel < 0) {
    uint64_t largest = 0;
    for (size_t i = 0; i < _widths.size(); ++i)
      largest = std::max({largest, uint64_t(_widths[i]), uint64_t(_ascents[i]) + _descents[i]});
    _largestLabel = int64_t(std::min<uint64_t>(largest, std::numeric_limits<uint32_t>::max()));
  }
  return uint32_t(_largestLabel);
}

const char* QelScale::getLabel(uint16_t index) const {
  if (index >= _labels.size() || !_labels[index]) return nullptr;
  return _labels[index]->c_str();
}

void QelScale::getLabelSizes(uint16_t index, uint32_t& width, uint32_t& ascent,
                             uint32_t& descent) const {
  if (index >= _labels.size()) {
    width = ascent = descent = 0;
    return;
  }
  width = _widths[index];
  ascent = _ascents[index];
  descent = _descents[index];
}

void QelScale::setFont(QelFont* font) {
  QelSimpleGraphic::setFont(font);  // through setPalette, which measures
}

void QelScale::setPalette(QelPalette* palette) {
  QelSimpleGraphic::setPalette(palette);
  computeLabelSizes();
}

void QelScale::boundingBox(QelRect& rect, const QelTransformer* t) const {
  rect = _rect;
  if (t) t->apply(rect);
}

void QelScale::applyTransform(const QelTransformer* t) {
  if (!t) return;
  t->apply(_rect);
  markModified();
}

void QelScale::write(QelOutputFile& file) const {
  std::ostream& out = file.getStream();
  out << _rect.x << ' ' << _rect.y << ' ' << _rect.w << ' ' << _rect.h << ' ' << _steps << ' '
      << _subSteps << ' ' << _stepSize << ' ' << _subStepSize << ' ' << (hasLabels() ? 1 : 0);
  for (const std::optional<std::string>& label : _labels) {
    out << ' ';
    if (label)
      file.writeString(label->c_str());
    else
      out << '-';
  }
}

QelClassInfo* QelScale::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelScale::ClassInfo() {
  QelScaleModuleInit();
  return scaleClass;
}

// --- QelRectangularScale: geometry -------------------------------------------------------------

QelRectangularScale::QelRectangularScale(QelDisplay* display, const QelPoint& origin, uint32_t size,
                                         const char* format, float min, float max,
                                         QelPosition direction, QelPosition position,
                                         uint16_t steps, uint16_t subSteps, uint16_t stepSize,
                                         uint16_t subStepSize, QelPalette* palette)
    : QelScale(display, QelRect(), format, min, max, steps, subSteps, stepSize, subStepSize,
               palette),
      _direction(normalDirection(direction)) {
  setPosition(position);
  computeRect(origin, size);
}

QelRectangularScale::QelRectangularScale(const QelRectangularScale& other)
    : QelScale(other),
      _direction(other._direction),
      _position(other._position),
      _skip(other._skip),
      _integerSteps(other._integerSteps),
      _verticalLabels(other._verticalLabels),
      _labelsBetweenTicks(other._labelsBetweenTicks),
      _keepAllLabels(other._keepAllLabels) {}

QelRectangularScale::QelRectangularScale(QelInputFile& file, QelPalette* palette)
    : QelScale(file, palette) {
  std::istream& in = file.getStream();
  int64_t direction, position, integerSteps, verticalLabels, between, keepAll;
  if (in.fail() || !readField(in, QelLeft, QelBottom, direction) ||
      !readField(in, QelLeft, QelBottom, position) || !readField(in, 0, 1, integerSteps) ||
      !readField(in, 0, 1, verticalLabels) || !readField(in, 0, 1, between) ||
      !readField(in, 0, 1, keepAll))
    return;
  const bool horizontal = direction == QelLeft || direction == QelRight;
  const bool vertical = direction == QelTop || direction == QelBottom;
  const bool across = horizontal ? position == QelTop || position == QelBottom
                                 : position == QelLeft || position == QelRight;
  if (!(horizontal || vertical) || !across) {
    in.setstate(std::ios_base::failbit);
    return;
  }
  _direction = QelPosition(direction);
  _position = QelPosition(position);
  _integerSteps = int(integerSteps);
  _verticalLabels = int(verticalLabels);
  _labelsBetweenTicks = int(between);
  _keepAllLabels = int(keepAll);
  markModified();
}

void QelRectangularScale::computeRect(const QelPoint& origin, uint32_t size) {
  if (size == 0) size = 1;
  const uint32_t thickness = getThickness();
  int64_t x = origin.x, y = origin.y;
  QelRect r;
  if (isHorizontal()) {
    if (_direction == QelRight) x -= size;
    if (_position == QelTop) y -= thickness;
    r = QelRect(QelClampToInt32(x), QelClampToInt32(y), size, thickness);
  } else {
    if (_direction == QelBottom) y -= size;
    if (_position == QelLeft) x -= thickness;
    r = QelRect(QelClampToInt32(x), QelClampToInt32(y), thickness, size);
  }
  setRect(r);
  markModified();
}

uint32_t QelRectangularScale::computeSize(QelPoint& origin) const {
  const QelRect& r = getRect();
  const int64_t thickness = getThickness();
  int64_t x = r.x, y = r.y;
  uint32_t size;
  if (isHorizontal()) {
    if (_direction == QelRight) x += r.w;
    if (_position == QelTop) y += thickness;
    size = r.w;
  } else {
    if (_direction == QelBottom) y += r.h;
    if (_position == QelLeft) x += thickness;
    size = r.h;
  }
  origin = QelPoint(QelClampToInt32(x), QelClampToInt32(y));
  return size;
}

void QelRectangularScale::setOrigin(const QelPoint& origin) {
  computeRect(origin, getSize());
}

uint32_t QelRectangularScale::getSize() const {
  return isHorizontal() ? getRect().w : getRect().h;
}

void QelRectangularScale::setSize(uint32_t size) {
  if (isHorizontal())
    rect().w = size;
  else
    rect().h = size;
  markModified();
}

void QelRectangularScale::setDirection(QelPosition direction) {
  QelPoint origin;
  uint32_t size = computeSize(origin);
  _direction = normalDirection(direction);
  if (isHorizontal() && _position != QelTop && _position != QelBottom) _position = QelBottom;
  computeRect(origin, size);
}

void QelRectangularScale::setPosition(QelPosition position) {
  QelPoint origin;
  uint32_t size = computeSize(origin);
  if (isHorizontal())
    _position = position == QelTop || position == QelBottom ? position : QelBottom;
  else
    _position = position == QelLeft || position == QelRight ? position : QelLeft;
  computeRect(origin, size);
}

void QelRectangularScale::applyTransform(const QelTransformer* t) {
  if (!t) return;
  QelPoint origin;
  uint32_t size = computeSize(origin);
  QelPoint along =
      isHorizontal() ? QelPoint(QelClampToInt32(size), 0) : QelPoint(0, QelClampToInt32(size));
  t->apply(origin);
  t->deltaApply(along);
  int64_t length = std::abs(int64_t(isHorizontal() ? along.x : along.y));
  computeRect(origin, uint32_t(std::min<int64_t>(length, std::numeric_limits<uint32_t>::max())));
}

bool QelRectangularScale::contains(const QelPoint&, const QelPoint& tp,
                                   const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  return box.contains(tp);
}

void QelRectangularScale::write(QelOutputFile& file) const {
  QelScale::write(file);
  file.getStream() << ' ' << unsigned(_direction) << ' ' << unsigned(_position) << ' '
                   << _integerSteps << ' ' << _verticalLabels << ' ' << _labelsBetweenTicks << ' '
                   << _keepAllLabels;
}

QelClassInfo* QelRectangularScale::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelRectangularScale::ClassInfo() {
  QelScaleModuleInit();
  return rectangularScaleClass;
}

// --- QelRectangularScale: graduation and drawing -----------------------------------------------

struct QelRectangularScale::Graduation {
  QelPoint origin;  // where tick 0 stands, in object coordinates
  uint32_t size = 0;
  uint32_t last = 0;  // the index of the last tick
  bool horizontal = true;
  float fullStep = 0;  // signed step along the axis
  float step = 0;      // the same, truncated under integer steps
  float minor = 0;     // signed minor step; 0 without minor ticks
  QelPoint tick;       // the major and minor tick vectors, mapped
  QelPoint minorTick;
};

// Where drawing may start: everywhere for ports that record or print, else a rectangle that a
// point must lie strictly inside.
struct QelRectangularScale::Area {
  bool everywhere = false;
  QelRect rect;
  bool holds(const QelPoint& p) const {
    return everywhere ||
           (rect.x < p.x && p.x < rect.right64() && rect.y < p.y && p.y < rect.bottom64());
  }
};

QelRectangularScale::Graduation QelRectangularScale::graduation(const QelTransformer* t) const {
  Graduation g;
  g.size = computeSize(g.origin);
  g.horizontal = isHorizontal();
  const uint32_t steps = getSteps();
  g.last = steps ? steps - 1 : 0;
  float s = steps > 1 ? float(g.size) / float(steps - 1) : float(g.size);
  float m = steps > 1 && getSubSteps() > 1 ? s / float(getSubSteps()) : 0.0f;
  if (_direction == QelRight || _direction == QelBottom) s = -s, m = -m;
  g.fullStep = s;
  g.step = _integerSteps ? std::trunc(s) : s;
  g.minor = m;
  const int32_t sign = _position == QelLeft || _position == QelTop ? -1 : 1;
  const int32_t major = sign * int32_t(getStepSize()), minor = sign * int32_t(getSubStepSize());
  g.tick = g.horizontal ? QelPoint(0, major) : QelPoint(major, 0);
  g.minorTick = g.horizontal ? QelPoint(0, minor) : QelPoint(minor, 0);
  if (t) {
    t->deltaApply(g.tick);
    t->deltaApply(g.minorTick);
  }
  return g;
}

int32_t QelRectangularScale::tickAxis(const Graduation& g, uint32_t index, int32_t shift) const {
  const int64_t start = int64_t(g.horizontal ? g.origin.x : g.origin.y) + shift;
  return QelTruncToPixel(float(start) + float(index) * g.step);
}

QelPoint QelRectangularScale::axisPoint(const Graduation& g, int32_t axis,
                                        const QelTransformer* t) const {
  QelPoint p = g.horizontal ? QelPoint(axis, g.origin.y) : QelPoint(g.origin.x, axis);
  if (t) t->apply(p);
  return p;
}

int32_t QelRectangularScale::labelShift(const Graduation& g) const {
  return _labelsBetweenTicks ? QelTruncToPixel(g.step / 2) : 0;
}

uint16_t QelRectangularScale::lastLabelIndex() const {
  // Between ticks, the last label would stand past the end of the axis.
  return _labelsBetweenTicks ? uint16_t(getSteps() - 2) : uint16_t(getSteps() - 1);
}

bool QelRectangularScale::labelOrigin(const Graduation& g, uint16_t index, const QelTransformer* t,
                                      QelPoint& origin) const {
  if (!getLabel(index)) return false;
  uint32_t w, a, d;
  getLabelSizes(index, w, a, d);
  const QelPoint anchor = sum(axisPoint(g, tickAxis(g, index, labelShift(g)), t), g.tick);
  const bool after = _position == QelBottom || _position == QelRight;
  int64_t dx, dy;
  if (!_verticalLabels) {
    if (g.horizontal) {
      dx = -int64_t(w / 2);
      dy = after ? int64_t(a) - d + kLabelGap : -(int64_t(d) + kLabelGap);
    } else {
      dx = after ? kLabelGap : -(int64_t(w) + kLabelGap);
      dy = int64_t(a >> 1) - d;
    }
  } else if (g.horizontal) {
    dx = -int64_t(a / 2);
    dy = after ? int64_t(w) + kLabelGap : -kLabelGap;
  } else {
    dx = after ? kLabelGap : -(int64_t(a) + kLabelGap);
    dy = int64_t(w / 2);
  }
  origin = QelPoint(QelClampToInt32(anchor.x + dx), QelClampToInt32(anchor.y + dy));
  return true;
}

// The display keeps glyphs upright and only moves the anchor of transformed text, so a vertical
// label covers the same box at its origin as an ordinary one.
QelRect QelRectangularScale::labelBox(const Graduation& g, uint16_t index,
                                      const QelTransformer* t) const {
  uint32_t w, a, d;
  getLabelSizes(index, w, a, d);
  QelPoint origin;
  if (!labelOrigin(g, index, t, origin)) {
    // A missing label takes no room; it still has a place for the overlap walk.
    origin = sum(axisPoint(g, tickAxis(g, index, labelShift(g)), t), g.tick);
    return QelRect(origin.x, origin.y, 0, 0);
  }
  const uint64_t height = uint64_t(a) + d;
  return QelRect(origin.x, QelClampToInt32(int64_t(origin.y) - a), w,
                 uint32_t(std::min<uint64_t>(height, std::numeric_limits<uint32_t>::max())));
}

uint16_t QelRectangularScale::computeSkip() const {
  const uint32_t steps = getSteps();
  if (_keepAllLabels) return 1;
  const uint32_t size = getSize();
  if (size <= 1) return uint16_t(std::max<uint32_t>(steps, 1));
  if (steps < 2) return 1;
  const Graduation g = graduation(nullptr);
  QelRect first = labelBox(g, 0, nullptr);
  const QelRect last = labelBox(g, uint16_t(g.last), nullptr);
  uint64_t k = uint64_t(g.last) * (uint64_t(std::max(first.w, last.w)) + kLabelGap) / size;
  if (k < 2) k = 1;
  // Wider labels further along can still collide: each overlap widens the skip by one.
  for (uint64_t j = k; j <= g.last;) {
    QelRect box = labelBox(g, uint16_t(j), nullptr);
    box.expand(kOverlapMargin, kOverlapMargin);
    if (box.intersects(first)) {
      ++k;
      ++j;
    } else {
      first = box;
      j += k;
    }
  }
  return uint16_t(std::min<uint64_t>(k, std::numeric_limits<uint16_t>::max()));
}

uint16_t QelRectangularScale::getNumberOfSkippedSteps() const {
  if (isModified()) {
    _skip = computeSkip();
    clearModified();
  }
  return _skip;
}

bool QelRectangularScale::drawableArea(const QelPort* port, const QelRegion* clip,
                                       Area& area) const {
  if (!port) return false;
  if (port->getDisplay() && port->getDisplay()->getDumpDevice()) {
    area.everywhere = true;
    return true;
  }
  QelRect r(0, 0, port->width(), port->height());
  if (clip) r.intersection(clip->getBBox());
  if (r.isEmpty()) return false;
  r.expand(kDrawableMargin, kDrawableMargin);
  area.rect = r;
  return true;
}

bool QelRectangularScale::liesIn(const QelPort* port, const QelPoint& point,
                                 const QelRegion* clip) const {
  Area area;
  return drawableArea(port, clip, area) && area.holds(point);
}

bool QelRectangularScale::indexRange(const Graduation& g, const QelTransformer* t, const Area& area,
                                     double margin, int32_t shift, uint32_t& first,
                                     uint32_t& last) const {
  first = 0;
  last = g.last;
  if (area.everywhere) return true;
  // The axis in view space is V0 + c D for the object coordinate c along it: keep the c whose
  // view point lies in the area grown by the margin.
  float m11 = 1, m12 = 0, m21 = 0, m22 = 1, x0 = 0, y0 = 0;
  if (t) t->getValues(m11, m12, m21, m22, x0, y0);
  const double ox = g.origin.x, oy = g.origin.y;
  double v0[2], d[2];
  if (g.horizontal) {
    v0[0] = double(m12) * oy + x0, v0[1] = double(m22) * oy + y0;
    d[0] = m11, d[1] = m21;
  } else {
    v0[0] = double(m11) * ox + x0, v0[1] = double(m21) * ox + y0;
    d[0] = m12, d[1] = m22;
  }
  const double lo[2] = {double(area.rect.x) - margin, double(area.rect.y) - margin};
  const double hi[2] = {double(area.rect.right64()) + margin,
                        double(area.rect.bottom64()) + margin};
  double cLo = -HUGE_VAL, cHi = HUGE_VAL;
  for (int k = 0; k < 2; ++k) {
    if (std::fabs(d[k]) < 1e-12) {
      if (!(v0[k] >= lo[k] && v0[k] <= hi[k])) return false;
      continue;
    }
    double a = (lo[k] - v0[k]) / d[k], b = (hi[k] - v0[k]) / d[k];
    if (a > b) std::swap(a, b);
    cLo = std::max(cLo, a);
    cHi = std::min(cHi, b);
  }
  if (std::isnan(cLo) || std::isnan(cHi)) return true;
  // Ticks are truncated to whole pixels before they are mapped.
  cLo -= 2;
  cHi += 2;
  if (cLo > cHi) return false;
  const double start = double(g.horizontal ? g.origin.x : g.origin.y) + shift;
  if (g.step == 0) return start >= cLo && start <= cHi;
  double u = (cLo - start) / g.step, v = (cHi - start) / g.step;
  if (u > v) std::swap(u, v);
  if (std::isnan(u) || std::isnan(v)) return true;
  if (v < -1 || u > double(g.last) + 1) return false;
  first = uint32_t(std::max(0.0, std::floor(u) - 1));
  last = uint32_t(std::min(double(g.last), std::ceil(v) + 1));
  return first <= last;
}

void QelRectangularScale::drawTicks(QelPort* port, const QelPalette* palette, const Graduation& g,
                                    const QelTransformer* t, const Area& area,
                                    uint16_t skip) const {
  uint32_t first, last;
  if (!indexRange(g, t, area, 2, 0, first, last)) return;
  static std::vector<QelPoint> from, to;
  from.clear();
  to.clear();
  auto add = [&](int32_t axis, const QelPoint& vector) {
    QelPoint p = axisPoint(g, axis, t);
    if (!area.holds(p)) return;
    from.push_back(p);
    to.push_back(sum(p, vector));
  };
  const bool minorTicks = skip < 2 && g.minor != 0 && getSubSteps() > 1;
  for (uint64_t i = (first + skip - 1) / skip * uint64_t(skip); i <= last; i += skip) {
    const int32_t axis = tickAxis(g, uint32_t(i), 0);
    add(axis, g.tick);
    if (!minorTicks || i == g.last) continue;
    const uint32_t count = getSubSteps() - 1u;
    if (std::fabs(g.minor) >= 1) {
      for (uint32_t j = 1; j <= count; ++j)
        add(QelTruncToPixel(float(axis) + float(j) * g.minor), g.minorTick);
    } else {
      // Closer than a pixel, minor ticks land on every pixel between the first and the last
      // one: drawing those once each paints the same.
      const int32_t a = QelTruncToPixel(float(axis) + g.minor);
      const int32_t b = QelTruncToPixel(float(axis) + float(count) * g.minor);
      const int64_t direction = b >= a ? 1 : -1;
      for (int64_t c = a;; c += direction) {
        add(int32_t(c), g.minorTick);
        if (c == b) break;
      }
    }
  }
  if (!from.empty())
    palette->getDisplay()->drawSegments(port, palette, uint32_t(from.size()), from.data(),
                                        to.data());
}

void QelRectangularScale::drawLabels(QelPort* port, const QelPalette* palette, const Graduation& g,
                                     const QelTransformer* t, const Area& area,
                                     uint16_t skip) const {
  if (!hasLabels() || getSteps() < 2) return;
  const uint32_t lastLabel = lastLabelIndex();
  const int32_t shift = labelShift(g);
  // A label's origin lies within its tick's length, the gap and its own size of the tick.
  const double margin =
      double(std::max({std::abs(int64_t(g.tick.x)), std::abs(int64_t(g.tick.y)),
                       std::abs(int64_t(g.minorTick.x)), std::abs(int64_t(g.minorTick.y))})) +
      largestLabelExtent() + kLabelGap + 2;
  uint32_t first, last;
  if (!indexRange(g, t, area, margin, shift, first, last)) return;
  last = std::min(last, lastLabel);
  QelDisplay* display = palette->getDisplay();
  for (uint64_t i = (first + skip - 1) / skip * uint64_t(skip); i <= last; i += skip) {
    QelPoint origin;
    if (!labelOrigin(g, uint16_t(i), t, origin) || !area.holds(origin)) continue;
    const char* text = getLabel(uint16_t(i));
    const int length = int(std::min<size_t>(std::strlen(text), INT_MAX));
    if (!_verticalLabels) {
      display->drawString(port, palette, origin, text, length, 0);
    } else {
      QelTransformer turn(0, 1, -1, 0, float(origin.x), float(origin.y));
      display->drawTransformedString(port, palette, QelPoint(0, 0), text, length, &turn);
    }
  }
}

void QelRectangularScale::draw(QelPort* port, const QelTransformer* t,
                               const QelRegion* clip) const {
  const uint32_t steps = getSteps();
  const QelPalette* palette = drawingPalette();
  if (!steps || !port || !palette || !palette->getDisplay()) return;
  std::optional<QelRegion> clipped;
  if (clip) {
    clipped.emplace(*clip);
    clipped->intersection(QelRect(0, 0, port->width(), port->height()));
    if (clipped->getBBox().isEmpty()) return;
    clip = &*clipped;
  }
  Area area;
  if (!drawableArea(port, clip, area)) return;
  QelPaletteClip scope(palette, clip);
  const Graduation g = graduation(t);
  palette->getDisplay()->drawLine(port, palette, axisPoint(g, tickAxis(g, 0, 0), t),
                                  axisPoint(g, tickAxis(g, g.last, 0), t));
  if (steps < 2) return;
  const uint16_t skip = getNumberOfSkippedSteps();
  drawTicks(port, palette, g, t, area, skip);
  drawLabels(port, palette, g, t, area, skip);
}

// --- QelRectangularScale: boxes ----------------------------------------------------------------

void QelRectangularScale::labelBBox(uint16_t index, QelRect& rect, const QelTransformer* t) const {
  rect = QelRect();
  if (!hasLabels() || index > lastLabelIndex() || !getLabel(index)) return;
  rect = labelBox(graduation(t), index, t);
}

void QelRectangularScale::labelsBBox(QelRect& rect, const QelTransformer* t) const {
  rect = QelRect();
  if (!hasLabels() || getSteps() < 2) return;
  const uint16_t skip = getNumberOfSkippedSteps();
  const Graduation g = graduation(t);
  for (uint32_t i = 0; i <= lastLabelIndex(); i += skip)
    if (getLabel(uint16_t(i))) rect.add(labelBox(g, uint16_t(i), t));
}

void QelRectangularScale::ticksBBox(QelRect& rect, const QelTransformer* t) const {
  rect = QelRect();
  if (!getSteps()) return;
  const Graduation g = graduation(t);
  // Every tick stands between the two ends of the base line: minor ticks fall short of the
  // next major one by a fraction of a step, even when integer steps shorten the steps.
  const bool ticks = getSteps() > 1;
  const bool minorTicks =
      ticks && g.minor != 0 && getSubSteps() > 1 && getNumberOfSkippedSteps() < 2;
  bool first = true;
  for (int32_t axis : {tickAxis(g, 0, 0), tickAxis(g, g.last, 0)}) {
    const QelPoint p = axisPoint(g, axis, t);
    addPixel(rect, p, first);
    if (ticks) addPixel(rect, sum(p, g.tick), first);
    if (minorTicks) addPixel(rect, sum(p, g.minorTick), first);
  }
  const QelPalette* palette = drawingPalette();
  const int32_t width = palette ? palette->getLineWidth() : 0;
  if (width > 1) rect.expand((width + 1) / 2, (width + 1) / 2);
}

void QelRectangularScale::boundingBox(QelRect& rect, const QelTransformer* t) const {
  if (!getSteps()) {
    QelScale::boundingBox(rect, t);
    return;
  }
  ticksBBox(rect, t);
  QelRect labels;
  labelsBBox(labels, t);
  rect.add(labels);
}
