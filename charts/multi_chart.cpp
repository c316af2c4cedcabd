#include "charts/multi_chart.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <istream>
#include <limits>
#include <new>
#include <optional>
#include <ostream>
#include <string>

#include "base/messages.h"
#include "charts/point_buffers.h"
#include "display/display.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

QelGraphicClassInfo* multiChartClass = nullptr;
QelGraphicClassInfo* sideBySideChartClass = nullptr;
QelGraphicClassInfo* stackedChartClass = nullptr;
QelGraphicClassInfo* sideBySideBarChartClass = nullptr;
QelGraphicClassInfo* stackedBarChartClass = nullptr;

// A bar `width` pixels wide from `left`, between the view heights y0 and y1.
QelRect barBetween(int64_t left, uint32_t width, int32_t y0, int32_t y1) {
  return QelRectBetween(left, std::min(y0, y1), left + width, std::max(y0, y1));
}

// A value that is not there stacks as nothing.
float stackable(float value) {
  return std::isnan(value) ? 0 : value;
}

// A bar width of a data file; a failed stream for anything else.
bool readWidth(std::istream& in, uint16_t& width) {
  int64_t value = 0;
  if (!QelReadInteger(in, 0, UINT16_MAX, value)) return false;
  width = uint16_t(value);
  return true;
}

// The clip's box widened by what a kind draws on each side of its points.
QelRect widenedClip(const QelRegion& clip, uint32_t margin) {
  QelRect rect = clip.getBBox();
  rect.expand(QelClampToInt32(margin), 0);
  return rect;
}

}  // namespace

void QelRegisterMultiCharts() {
  // Called first on its own, this makes the chart module call it back before going on.
  QelChartModuleInit();
  static QelGraphicClassInfo multi("QelMultiChart", QelAbstractChart::ClassInfo(), nullptr);
  static QelGraphicClassInfo sideBySide("QelSideBySideChart", &multi, nullptr);
  static QelGraphicClassInfo stacked("QelStackedChart", &multi, nullptr);
  static QelGraphicClassInfo sideBySideBar("QelSideBySideBarChart", &sideBySide,
                                           QelReadGraphic<QelSideBySideBarChart>);
  static QelGraphicClassInfo stackedBar("QelStackedBarChart", &stacked,
                                        QelReadGraphic<QelStackedBarChart>);
  multiChartClass = &multi;
  sideBySideChartClass = &sideBySide;
  stackedChartClass = &stacked;
  sideBySideBarChartClass = &sideBySideBar;
  stackedBarChartClass = &stackedBar;
}

// --- QelMultiChart -----------------------------------------------------------------------------

QelMultiChart::QelMultiChart(QelDisplay* display, QelPalette* palette)
    : QelAbstractChart(display, palette) {}

QelMultiChart::QelMultiChart(QelDisplay* display, const QelPoint& origin, float xScale,
                             float yScale, QelPalette* palette)
    : QelAbstractChart(display, origin, xScale, yScale, palette) {}

QelMultiChart::QelMultiChart(const QelMultiChart& other) : QelAbstractChart(other) {
  for (uint16_t i = 0; i < other._count; ++i)
    addData(other._entries[i].data, other._entries[i].palette);
}

QelMultiChart::QelMultiChart(QelInputFile& file, QelPalette* palette)
    : QelAbstractChart(file, palette) {}

QelMultiChart::~QelMultiChart() {
  for (uint16_t i = 0; i < _count; ++i) {
    _entries[i].data->unLock();
    if (_entries[i].palette) _entries[i].palette->unLock();
  }
}

bool QelMultiChart::grow() {
  if (_capacity == UINT16_MAX) return false;
  auto capacity = uint16_t(std::min<uint32_t>(uint32_t(_capacity) + 5, UINT16_MAX));
  std::unique_ptr<Entry[]> grown(new (std::nothrow) Entry[capacity]);
  if (!grown) return false;
  std::copy(_entries.get(), _entries.get() + _count, grown.get());
  _entries = std::move(grown);
  _capacity = capacity;
  return true;
}

void QelMultiChart::insertData(unsigned long index, QelChartData* data, QelPalette* palette) {
  if (!data || (_count == _capacity && !grow())) return;
  index = std::min<unsigned long>(index, _count);
  data->lock();
  if (palette) palette->lock();
  std::copy_backward(_entries.get() + index, _entries.get() + _count, _entries.get() + _count + 1);
  _entries[index] = Entry{data, palette};
  ++_count;
}

void QelMultiChart::addData(QelChartData* data, QelPalette* palette) {
  insertData(_count, data, palette);
}

void QelMultiChart::setData(unsigned long index, QelChartData* data, QelPalette* palette) {
  if (index >= _count || !data) return;
  // Locking first makes setting the same set or palette again safe.
  data->lock();
  if (palette) palette->lock();
  Entry old = _entries[index];
  _entries[index] = Entry{data, palette};
  old.data->unLock();
  if (old.palette) old.palette->unLock();
}

void QelMultiChart::removeData(unsigned long index) {
  if (index >= _count) return;
  Entry old = _entries[index];
  std::copy(_entries.get() + index + 1, _entries.get() + _count, _entries.get() + index);
  --_count;
  old.data->unLock();
  if (old.palette) old.palette->unLock();
}

int QelMultiChart::getIndex(const QelChartData* data) const {
  for (uint16_t i = 0; data && i < _count; ++i)
    if (_entries[i].data == data) return i;
  return -1;
}

QelChartData* QelMultiChart::getData(unsigned long index) const {
  return index < _count ? _entries[index].data : nullptr;
}

QelPalette* QelMultiChart::getPalette(unsigned long index) const {
  if (index >= _count) return nullptr;
  return _entries[index].palette ? _entries[index].palette : getPalette();
}

const QelPalette* QelMultiChart::paletteToDraw(unsigned long set) const {
  const QelPalette* palette = drawingPalette();
  if (palette != getPalette() || set >= _count || !_entries[set].palette) return palette;
  return _entries[set].palette;
}

void QelMultiChart::boundingBox(QelRect& rect, const QelTransformer* t) const {
  QelAbstractChart::boundingBox(rect, t);
  int64_t top = rect.y, bottom = rect.bottom64();
  if (extendsToBase()) {
    int32_t base = baseY(t);
    top = std::min<int64_t>(top, base);
    bottom = std::max<int64_t>(bottom, base);
  }
  int64_t margin = crossMargin();
  rect = QelRectBetween(rect.x - margin, top, rect.right64() + margin, bottom);
}

void QelMultiChart::placedPointBBox(unsigned long set, unsigned long index, QelRect& rect,
                                    const QelTransformer* t) const {
  dataPointBBox(dataAt(set), index, rect, t);
}

bool QelMultiChart::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  QelRect box;
  boundingBox(box, t);
  box.expand(1, 1);  // point boxes hold the pixel on the box's far edges
  if (!box.contains(tp)) return false;
  for (uint16_t set = 0; set < _count; ++set) {
    unsigned long count = _entries[set].data->getCount();
    for (unsigned long i = 0; i < count; ++i) {
      QelRect rect;
      placedPointBBox(set, i, rect, t);
      if (rect.contains(tp)) return true;
    }
  }
  return false;
}

void QelMultiChart::apply(QelApplyObject f, void* arg) {
  for (uint16_t set = 0; set < _count; ++set) {
    const QelChartData* data = _entries[set].data;
    // A set held twice carries its decorations once.
    if (getIndex(data) != set) continue;
    unsigned long count = 0;
    QelChartPointInfo* const* infos = data->getAllPointInfo(count);
    for (unsigned long i = 0; i < count; ++i)
      if (QelGraphic* graphic = infos[i]->getGraphic()) f(graphic, arg);
  }
}

void QelMultiChart::applyPalettes(QelApplyPalette f, void* arg) const {
  for (uint16_t set = 0; set < _count; ++set)
    if (_entries[set].palette) f(_entries[set].palette, arg);
}

void QelMultiChart::write(QelOutputFile& file) const {
  QelAbstractChart::write(file);
  writeDataSets(file);
}

void QelMultiChart::writeDataSets(QelOutputFile& file) const {
  std::ostream& out = file.getStream();
  out << ' ' << _count;
  for (uint16_t set = 0; set < _count; ++set) {
    const QelChartData* data = _entries[set].data;
    out << '\n'
        << file.getPaletteIndex(_entries[set].palette) << ' '
        << data->getClassInfo()->getClassName() << ' ';
    data->write(file);
  }
}

void QelMultiChart::readDataSets(QelInputFile& file) {
  std::istream& in = file.getStream();
  if (in.fail()) return;
  uint32_t count = 0;
  if (!file.readCount(count, "QelMultiChart") || count > UINT16_MAX) {
    in.setstate(std::ios_base::failbit);
    return;
  }
  for (uint32_t i = 0; i < count; ++i) {
    int64_t paletteIndex = -1;
    std::string name;
    if (!(in >> paletteIndex) || !file.readToken(name)) {
      in.setstate(std::ios_base::failbit);
      return;
    }
    auto* info = dynamic_cast<QelChartDataClassInfo*>(QelClassInfo::Get(name.c_str()));
    if (!info || !info->getReader()) {
      if (name.size() > 255) name.resize(255);
      QelFatalError("QelAbstractChart::readData: Unregistered class: %s", name.c_str());
      // What follows cannot be parsed without the class: the later sets are left out too.
      return;
    }
    QelChartData* data = info->getReader()(file);
    if (!data) {
      in.setstate(std::ios_base::failbit);
      return;
    }
    bool indexed = paletteIndex >= 0 && paletteIndex <= INT_MAX;
    // Held over the insertion so that a set the chart could not take is freed.
    data->lock();
    addData(data, indexed ? file.getPalette(int(paletteIndex)) : nullptr);
    data->unLock();
  }
}

QelClassInfo* QelMultiChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelMultiChart::ClassInfo() {
  QelChartModuleInit();
  return multiChartClass;
}

// --- QelSideBySideChart ------------------------------------------------------------------------

int64_t QelSideBySideChart::slotOffset(unsigned long set) const {
  int64_t width = slotWidth();
  return int64_t(set) * width + width / 2 - int64_t(getDataCount()) * width / 2;
}

uint32_t QelSideBySideChart::crossMargin() const {
  return QelClampToUint32((int64_t(getDataCount()) * slotWidth() + 1) / 2);
}

void QelSideBySideChart::getDataRelativePoint(unsigned long set, unsigned long index, QelPoint& p,
                                              const QelTransformer* t) const {
  const QelChartData* data = dataAt(set);
  if (!data || index >= data->getCount()) return;
  getDataPoint(data, index, p, t);
  p.x = QelClampToInt32(p.x + slotOffset(set));
}

void QelSideBySideChart::dataPointRelativeBBox(unsigned long set, unsigned long index,
                                               QelRect& rect, const QelTransformer* t) const {
  dataPointBBox(dataAt(set), index, rect, t);
  if (rect.isEmpty()) return;
  int64_t shift = slotOffset(set), half = (int64_t(slotWidth()) + 1) / 2;
  int64_t top = rect.y, bottom = rect.bottom64();
  if (extendsToBase()) {
    top = std::min<int64_t>(top, baseY(t));
    bottom = std::max<int64_t>(bottom, baseY(t));
  }
  rect = QelRectBetween(rect.x + shift - half, top, rect.right64() + shift + half, bottom);
}

unsigned long QelSideBySideChart::whichDataPoint(unsigned int size, const QelPoint& tp,
                                                 const QelTransformer* t, int& set) const {
  for (uint16_t k = 0; k < getDataCount(); ++k) {
    unsigned long count = dataAt(k)->getCount();
    for (unsigned long i = 0; i < count; ++i) {
      QelPoint p;
      getDataRelativePoint(k, i, p, t);
      if (std::abs(int64_t(p.x) - tp.x) <= size && std::abs(int64_t(p.y) - tp.y) <= size) {
        set = k;
        return i;
      }
    }
  }
  set = -1;
  return static_cast<unsigned long>(-1);
}

QelClassInfo* QelSideBySideChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelSideBySideChart::ClassInfo() {
  QelChartModuleInit();
  return sideBySideChartClass;
}

// --- QelStackedChart ---------------------------------------------------------------------------

void QelStackedChart::getStackedValues(unsigned long set, unsigned long index, float& from,
                                       float& to) const {
  from = to = 0;
  const QelChartData* data = dataAt(set);
  if (!data || index >= data->getCount()) return;
  QelFloatPoint p;
  data->getPoint(index, p);
  float value = stackable(p.y), below = 0;
  for (unsigned long k = 0; k < set; ++k) {
    const QelChartData* earlier = dataAt(k);
    if (index >= earlier->getCount()) continue;
    earlier->getPoint(index, p);
    float other = stackable(p.y);
    if ((other >= 0) == (value >= 0)) below += other;
  }
  from = below;
  to = below + value;
}

void QelStackedChart::getDataStackedPoint(unsigned long set, unsigned long index, QelPoint& p,
                                          const QelTransformer* t) const {
  const QelChartData* data = dataAt(set);
  if (!data || index >= data->getCount()) return;
  QelFloatPoint point;
  data->getPoint(index, point);
  float from, to;
  getStackedValues(set, index, from, to);
  p = mapToView(QelFloatPoint(point.x, to), t);
}

void QelStackedChart::chartBBox(QelFloatRect& range, const QelRect* rect,
                                const QelTransformer* t) const {
  const float inf = std::numeric_limits<float>::infinity();
  QelFloatRect box(inf, inf, -inf, -inf);
  unsigned long longest = 0;
  for (unsigned long set = 0; set < dataCount(); ++set) {
    const QelChartData* data = dataAt(set);
    if (!data->getCount()) continue;
    QelFloatRect one;
    data->boundingBox(one);
    box.minx = std::fmin(box.minx, one.minx);
    box.maxx = std::fmax(box.maxx, one.maxx);
    longest = std::max(longest, data->getCount());
  }
  // One pass per index over the sets keeps this linear in the number of points.
  for (unsigned long i = 0; i < longest; ++i) {
    float positive = 0, negative = 0;
    for (unsigned long set = 0; set < dataCount(); ++set) {
      const QelChartData* data = dataAt(set);
      if (i >= data->getCount()) continue;
      QelFloatPoint p;
      data->getPoint(i, p);
      float value = stackable(p.y);
      float& sum = value >= 0 ? positive : negative;
      sum += value;
      box.miny = std::fmin(box.miny, sum);
      box.maxy = std::fmax(box.maxy, sum);
    }
  }
  if (!longest) box = QelFloatRect();
  if (rect)
    intersection(*rect, box, range, t);
  else
    range = box;
}

void QelStackedChart::placedPointBBox(unsigned long set, unsigned long index, QelRect& rect,
                                      const QelTransformer* t) const {
  const QelChartData* data = dataAt(set);
  rect = QelRect();
  if (!data || index >= data->getCount()) return;
  QelPoint p;
  getDataStackedPoint(set, index, p, t);
  rect = QelRect(p.x, p.y, 0, 0);
  for (unsigned long neighbour : {index - 1, index + 1}) {
    if (neighbour >= data->getCount()) continue;  // index 0 wraps around
    getDataStackedPoint(set, neighbour, p, t);
    rect.add(p);
  }
}

void QelStackedChart::visibleIndices(const QelRegion* clip, const QelTransformer* t,
                                     unsigned long& first, unsigned long& end) const {
  first = end = 0;
  for (unsigned long set = 0; set < dataCount(); ++set)
    end = std::max(end, dataAt(set)->getCount());
  if (!clip || !end) return;
  QelFloatRect box, range;
  chartBBox(box);
  if (!intersection(widenedClip(*clip, crossMargin()), box, range, t)) {
    end = 0;
    return;
  }
  // Two binary searches per set, as a set's own slicing finds its points, one neighbour more on
  // each side.
  first = std::numeric_limits<unsigned long>::max();
  end = 0;
  for (unsigned long set = 0; set < dataCount(); ++set) {
    const QelChartData* data = dataAt(set);
    unsigned long count = data->getCount();
    if (!count) continue;
    auto xAt = [data](unsigned long i) {
      QelFloatPoint p;
      data->getPoint(i, p);
      return p.x;
    };
    unsigned long low = 0, high = count;
    while (low < high) {
      unsigned long middle = low + (high - low) / 2;
      if (xAt(middle) < range.minx)
        low = middle + 1;
      else
        high = middle;
    }
    unsigned long from = low ? low - 1 : 0;
    high = count;
    while (low < high) {
      unsigned long middle = low + (high - low) / 2;
      if (xAt(middle) <= range.maxx)
        low = middle + 1;
      else
        high = middle;
    }
    first = std::min(first, from);
    end = std::max(end, std::min(count, low + 1));
  }
  if (first > end) first = end;
}

QelClassInfo* QelStackedChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelStackedChart::ClassInfo() {
  QelChartModuleInit();
  return stackedChartClass;
}

// --- QelSideBySideBarChart ---------------------------------------------------------------------

QelSideBySideBarChart::QelSideBySideBarChart(QelDisplay* display, uint16_t barWidth,
                                             QelPalette* palette)
    : QelSideBySideChart(display, palette), _barWidth(barWidth) {}

QelSideBySideBarChart::QelSideBySideBarChart(QelDisplay* display, const QelPoint& origin,
                                             float xScale, float yScale, uint16_t barWidth,
                                             QelPalette* palette)
    : QelSideBySideChart(display, origin, xScale, yScale, palette), _barWidth(barWidth) {}

QelSideBySideBarChart::QelSideBySideBarChart(QelInputFile& file, QelPalette* palette)
    : QelSideBySideChart(file, palette), _barWidth(kDefaultBarWidth) {
  if (readWidth(file.getStream(), _barWidth)) readDataSets(file);
}

QelRect QelSideBySideBarChart::barRect(unsigned long set, unsigned long index,
                                       const QelTransformer* t) const {
  const QelChartData* data = dataAt(set);
  if (!data || index >= data->getCount()) return QelRect();
  QelPoint p;
  getDataPoint(data, index, p, t);
  return barBetween(p.x + slotOffset(set) - _barWidth / 2, _barWidth, p.y, baseY(t));
}

void QelSideBySideBarChart::draw(QelPort* port, const QelTransformer* t,
                                 const QelRegion* clip) const {
  QelFloatRect range;
  bool visible = true;
  if (clip) {
    QelFloatRect box;
    chartBBox(box);
    visible = intersection(widenedClip(*clip, crossMargin()), box, range, t);
  }
  if (visible) {
    const int32_t base = baseY(t);
    for (uint16_t set = 0; set < getDataCount(); ++set) {
      const QelPalette* palette = paletteToDraw(set);
      if (!canDrawWith(palette)) continue;
      unsigned long count = 0;
      const QelFloatPoint* points =
          clip ? dataAt(set)->getPoints(range, count) : dataAt(set)->getPoints(count);
      if (!points) continue;
      const int64_t shift = slotOffset(set) - _barWidth / 2;
      QelPaletteClip scope(palette, clip);
      for (unsigned long i = 0; i < count; ++i) {
        QelPoint p = mapToView(points[i], t);
        palette->getDisplay()->fillRectangle(port, palette,
                                             barBetween(p.x + shift, _barWidth, p.y, base));
      }
    }
  }
  drawPointInfo(port, t, clip);
}

void QelSideBySideBarChart::write(QelOutputFile& file) const {
  QelAbstractChart::write(file);
  file.getStream() << ' ' << _barWidth;
  writeDataSets(file);
}

QelClassInfo* QelSideBySideBarChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelSideBySideBarChart::ClassInfo() {
  QelChartModuleInit();
  return sideBySideBarChartClass;
}

// --- QelStackedBarChart ------------------------------------------------------------------------

QelStackedBarChart::QelStackedBarChart(QelDisplay* display, uint16_t barWidth, QelPalette* palette)
    : QelStackedChart(display, palette), _barWidth(barWidth) {}

QelStackedBarChart::QelStackedBarChart(QelDisplay* display, const QelPoint& origin, float xScale,
                                       float yScale, uint16_t barWidth, QelPalette* palette)
    : QelStackedChart(display, origin, xScale, yScale, palette), _barWidth(barWidth) {}

QelStackedBarChart::QelStackedBarChart(QelInputFile& file, QelPalette* palette)
    : QelStackedChart(file, palette), _barWidth(kDefaultBarWidth) {
  if (readWidth(file.getStream(), _barWidth)) readDataSets(file);
}

QelRect QelStackedBarChart::barRect(unsigned long set, unsigned long index,
                                    const QelTransformer* t) const {
  const QelChartData* data = dataAt(set);
  if (!data || index >= data->getCount()) return QelRect();
  QelFloatPoint p;
  data->getPoint(index, p);
  float from, to;
  getStackedValues(set, index, from, to);
  QelPoint bottom = mapToView(QelFloatPoint(p.x, from), t);
  QelPoint top = mapToView(QelFloatPoint(p.x, to), t);
  return barBetween(int64_t(top.x) - _barWidth / 2, _barWidth, bottom.y, top.y);
}

void QelStackedBarChart::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  unsigned long first = 0, end = 0;
  visibleIndices(clip, t, first, end);
  // The running sums of the visible indices, positive in x and negative in y.
  QelFloatPoint* sums = end > first ? QelAllocFloatPoints(end - first) : nullptr;
  if (sums) std::fill(sums, sums + (end - first), QelFloatPoint());
  for (uint16_t set = 0; sums && set < getDataCount(); ++set) {
    const QelChartData* data = dataAt(set);
    const QelPalette* palette = paletteToDraw(set);
    const bool drawn = canDrawWith(palette);
    std::optional<QelPaletteClip> scope;
    if (drawn) scope.emplace(palette, clip);
    unsigned long last = std::min(end, data->getCount());
    for (unsigned long i = first; i < last; ++i) {
      QelFloatPoint p;
      data->getPoint(i, p);
      float value = stackable(p.y);
      float& sum = value >= 0 ? sums[i - first].x : sums[i - first].y;
      QelPoint bottom = mapToView(QelFloatPoint(p.x, sum), t);
      sum += value;
      if (!drawn) continue;
      QelPoint top = mapToView(QelFloatPoint(p.x, sum), t);
      palette->getDisplay()->fillRectangle(
          port, palette, barBetween(int64_t(top.x) - _barWidth / 2, _barWidth, bottom.y, top.y));
    }
  }
  drawPointInfo(port, t, clip);
}

void QelStackedBarChart::write(QelOutputFile& file) const {
  QelAbstractChart::write(file);
  file.getStream() << ' ' << _barWidth;
  writeDataSets(file);
}

QelClassInfo* QelStackedBarChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelStackedBarChart::ClassInfo() {
  QelChartModuleInit();
  return stackedBarChartClass;
}
