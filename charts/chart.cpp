#include "charts/chart.h"

#include <algorithm>
#include <cmath>
#include <istream>
#include <limits>
#include <optional>
#include <ostream>
#include <string>

#include "base/messages.h"
#include "base/module_init.h"
#include "charts/chart_kinds.h"
#include "charts/multi_chart.h"
#include "charts/point_buffers.h"
#include "display/display.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/line_geometry.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

int chartModuleState = 0;
QelGraphicClassInfo* abstractChartClass = nullptr;
QelGraphicClassInfo* chartClass = nullptr;
QelGraphicClassInfo* polylineChartClass = nullptr;

void initializeChartModule() {
  QelChartDataModuleInit();
  static QelGraphicClassInfo abstractChart("QelAbstractChart", QelSimpleGraphic::ClassInfo(),
                                           nullptr);
  static QelGraphicClassInfo chart("QelChart", &abstractChart, nullptr);
  static QelGraphicClassInfo polyline("QelPolylineChart", &chart, QelReadGraphic<QelPolylineChart>);
  abstractChartClass = &abstractChart;
  chartClass = &chart;
  polylineChartClass = &polyline;
  QelRegisterChartKinds();
  QelRegisterMultiCharts();
}

uint32_t grownBy2(uint32_t extent) {
  return extent > std::numeric_limits<uint32_t>::max() - 2 ? extent : extent + 2;
}

}  // namespace

int QelChartModuleInit() {
  QelGraphicModuleInit();
  return QelInitializeOnce(chartModuleState, initializeChartModule);
}

// --- QelAbstractChart --------------------------------------------------------------------------

QelAbstractChart::QelAbstractChart(QelDisplay* display, QelPalette* palette)
    : QelSimpleGraphic(display, palette) {}

QelAbstractChart::QelAbstractChart(QelDisplay* display, const QelPoint& origin, float xScale,
                                   float yScale, QelPalette* palette)
    : QelSimpleGraphic(display, palette), _origin(origin), _xScale(xScale), _yScale(yScale) {}

QelAbstractChart::QelAbstractChart(const QelAbstractChart& other)
    : QelSimpleGraphic(other.getDisplay(), other.getPalette()),
      _origin(other._origin),
      _xScale(other._xScale),
      _yScale(other._yScale) {}

QelAbstractChart::QelAbstractChart(QelInputFile& file, QelPalette* palette)
    : QelSimpleGraphic(file.getDisplay(), palette) {
  std::istream& in = file.getStream();
  int64_t x = 0, y = 0;
  if (!(in >> x >> y) || !QelReadFloat(in, _xScale) || !QelReadFloat(in, _yScale)) return;
  if (x != QelClampToInt32(x) || y != QelClampToInt32(y)) in.setstate(std::ios_base::failbit);
  _origin = QelPoint(int32_t(x), int32_t(y));
}

QelPoint QelAbstractChart::mapToView(const QelFloatPoint& point, const QelTransformer* t) const {
  QelFloatPoint f(_xScale * point.x + float(_origin.x), float(_origin.y) - _yScale * point.y);
  if (t) t->apply(f);
  return QelPoint(QelTruncToPixel(f.x), QelTruncToPixel(f.y));
}

QelPoint QelAbstractChart::basePoint(const QelTransformer* t) const {
  QelPoint base = _origin;
  if (t) t->apply(base);
  return base;
}

void QelAbstractChart::getDataPoint(const QelChartData* data, unsigned long index, QelPoint& p,
                                    const QelTransformer* t) const {
  QelFloatPoint point;
  data->getPoint(index, point);
  p = mapToView(point, t);
}

void QelAbstractChart::setDataPoint(QelChartData* data, unsigned long index, const QelPoint& p,
                                    const QelTransformer* t) const {
  QelFloatPoint point;
  if (data && index < data->getCount() && mapFromView(p, t, point)) data->setPoint(index, point);
}

bool QelAbstractChart::mapFromView(const QelPoint& p, const QelTransformer* t,
                                   QelFloatPoint& point) const {
  if (_xScale == 0 || _yScale == 0) return false;
  QelPoint q = p;
  if (t && !t->inverse(q)) return false;
  point = QelFloatPoint(float(int64_t(q.x) - _origin.x) / _xScale,
                        float(int64_t(_origin.y) - q.y) / _yScale);
  return true;
}

void QelAbstractChart::boundingBox(QelRect& rect, const QelTransformer* t) const {
  QelFloatRect range;
  chartBBox(range);
  QelPoint a = mapToView(QelFloatPoint(range.minx, range.miny), t);
  QelPoint b = mapToView(QelFloatPoint(range.maxx, range.maxy), t);
  uint32_t w = uint32_t(std::abs(int64_t(b.x) - a.x)), h = uint32_t(std::abs(int64_t(b.y) - a.y));
  rect = QelRect(std::min(a.x, b.x), std::min(a.y, b.y), w ? w : 1, h ? h : 1);
}

void QelAbstractChart::chartBBox(QelFloatRect& range, const QelRect* rect,
                                 const QelTransformer* t) const {
  // The data sets together; a chart without data has the empty box at 0.
  QelFloatRect box;
  bool first = true;
  for (unsigned long i = 0; i < dataCount(); ++i) {
    const QelChartData* data = dataAt(i);
    if (!data) continue;
    QelFloatRect one;
    data->boundingBox(one);
    if (first) {
      box = one;
      first = false;
      continue;
    }
    box.minx = std::min(box.minx, one.minx);
    box.miny = std::min(box.miny, one.miny);
    box.maxx = std::max(box.maxx, one.maxx);
    box.maxy = std::max(box.maxy, one.maxy);
  }
  if (rect)
    intersection(*rect, box, range, t);
  else
    range = box;
}

int QelAbstractChart::intersection(const QelRect& rect, const QelFloatRect& dataBox,
                                   QelFloatRect& result, const QelTransformer* t) const {
  QelRect r = rect;
  if (t) t->inverse(r);
  result.minx = float(int64_t(r.x) - _origin.x) / _xScale;
  result.miny = float(_origin.y - r.bottom64()) / _yScale;
  result.maxx = float(r.w) / _xScale + result.minx;
  result.maxy = float(r.h) / _yScale + result.miny;
  // A comparison with an unordered value counts as overlapping.
  bool overlaps = !(dataBox.maxx < result.minx) && !(dataBox.minx >= result.maxx) &&
                  !(dataBox.maxy < result.miny) && !(dataBox.miny >= result.maxy);
  if (overlaps) {
    result.minx = std::fmax(result.minx, dataBox.minx);
    result.miny = std::fmax(result.miny, dataBox.miny);
    result.maxx = std::fmin(result.maxx, dataBox.maxx);
    result.maxy = std::fmin(result.maxy, dataBox.maxy);
    return 1;
  }
  if (extendsToBase()) {
    // Bars and areas reach the baseline outside the data box: what they draw may still show.
    QelRect bb;
    boundingBox(bb, t);
    if (bb.x < rect.right64() && rect.x < bb.right64() && bb.y < rect.bottom64() &&
        rect.y < bb.bottom64()) {
      if (getDirection() == QelVertical) {
        result.minx = std::fmax(result.minx, dataBox.minx);
        result.maxx = std::fmin(result.maxx, dataBox.maxx);
        result.miny = dataBox.miny;
        result.maxy = dataBox.maxy;
      } else {
        result.miny = std::fmax(result.miny, dataBox.miny);
        result.maxy = std::fmin(result.maxy, dataBox.maxy);
        result.minx = dataBox.minx;
        result.maxx = dataBox.maxx;
      }
      return 1;
    }
  }
  result = QelFloatRect(dataBox.minx, dataBox.miny, dataBox.minx, dataBox.miny);
  return 0;
}

void QelAbstractChart::dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                                     const QelTransformer* t) const {
  if (!data || index >= data->getCount()) {
    rect = QelRect();
    return;
  }
  QelPoint p;
  getDataPoint(data, index, p, t);
  rect = QelRect(p.x, p.y, 0, 0);
  for (unsigned long neighbour : {index - 1, index + 1}) {
    if (neighbour >= data->getCount()) continue;  // index 0 wraps around
    getDataPoint(data, neighbour, p, t);
    rect.add(p);
  }
}

void QelAbstractChart::bboxPoint(unsigned long, QelRect& rect, const QelTransformer*) const {
  rect = QelRect();
}

void QelAbstractChart::getPlacedPoint(unsigned long set, unsigned long index, QelPoint& p,
                                      const QelTransformer* t) const {
  const QelChartData* data = dataAt(set);
  if (data && index < data->getCount()) getDataPoint(data, index, p, t);
}

void QelAbstractChart::drawPointInfo(QelPort* port, const QelTransformer* t,
                                     const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (!canDrawWith(palette)) return;
  std::optional<QelPaletteClip> scope;
  for (unsigned long set = 0; set < dataCount(); ++set) {
    const QelChartData* data = dataAt(set);
    unsigned long count = 0;
    QelChartPointInfo* const* infos = data ? data->getAllPointInfo(count) : nullptr;
    for (unsigned long i = 0; i < count; ++i) {
      QelGraphic* graphic = infos[i]->getGraphic();
      if (!graphic || infos[i]->getIndex() >= data->getCount()) continue;
      if (!scope) scope.emplace(palette, clip);
      // The offset is in view pixels: a transformer turns it like a vector, and the graphic
      // moves in object coordinates.
      QelPoint p, offset = infos[i]->getOffset();
      getPlacedPoint(set, infos[i]->getIndex(), p, t);
      if (t) t->deltaApply(offset);
      p = QelPoint(QelClampToInt32(int64_t(p.x) + offset.x),
                   QelClampToInt32(int64_t(p.y) + offset.y));
      if (t && !t->inverse(p)) continue;
      graphic->move(p.x, p.y);
      graphic->draw(port, t, clip);
    }
  }
}

void QelAbstractChart::applyTransform(const QelTransformer* t) {
  if (!t) return;
  QelFloatRect range;
  chartBBox(range);
  // The data's own box, not the kind's: a scatter chart's box reaches a marker beyond its
  // points, and fitting the data's edge onto that wider box would drift by the marker size at
  // every transform.
  QelRect bb;
  QelAbstractChart::boundingBox(bb, t);
  float m11, m12, m21, m22;
  t->getValues(m11, m12, m21, m22);
  _xScale *= m11;
  _yScale *= m22;
  _origin = QelPoint(QelClampToInt32(int64_t(bb.x) - QelTruncToPixel(_xScale * range.minx)),
                     QelClampToInt32(int64_t(bb.y) + QelTruncToPixel(_yScale * range.maxy)));
}

void QelAbstractChart::adjust(const QelRect& rect) {
  QelFloatRect range;
  chartBBox(range);
  float w = float(rect.w), h = float(rect.h);
  // Products in single precision, as the mapping computes them: the top value then lands on
  // rect.y itself, not a pixel above it.
  auto fitY = [&] {
    float span = range.maxy - range.miny;
    if (span > 0) {
      _yScale = h / span;
      _origin.y = QelClampToInt32(int64_t(rect.y) + QelTruncToPixel(_yScale * range.maxy));
    } else {
      _origin.y = QelClampToInt32(rect.bottom64());
    }
  };
  auto fitX = [&] {
    float span = range.maxx - range.minx;
    if (span > 0) {
      _xScale = w / span;
      _origin.x = QelClampToInt32(int64_t(rect.x) - QelTruncToPixel(_xScale * range.minx));
    } else {
      _origin.x = rect.x;
    }
  };
  if (getDirection() == QelVertical) {
    fitX();
    if (!extendsToBase() || range.miny * range.maxy <= 0) {
      fitY();
    } else {
      // Values of one sign keep zero on the bottom edge.
      _yScale = h / range.maxy;
      _origin.y = QelClampToInt32(rect.bottom64());
    }
  } else {
    if (!extendsToBase() || range.minx * range.maxx <= 0) {
      fitX();
    } else {
      _xScale = w / range.maxx;
      _origin.x = rect.x;
    }
    fitY();
  }
}

void QelAbstractChart::write(QelOutputFile& file) const {
  std::ostream& out = file.getStream();
  out << ' ' << _origin.x << ' ' << _origin.y << ' ';
  QelWriteFloat(out, _xScale);
  out << ' ';
  QelWriteFloat(out, _yScale);
}

QelClassInfo* QelAbstractChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelAbstractChart::ClassInfo() {
  QelChartModuleInit();
  return abstractChartClass;
}

// --- QelChart ----------------------------------------------------------------------------------

QelChart::QelChart(QelDisplay* display, QelChartData* data, QelPalette* palette)
    : QelAbstractChart(display, palette) {
  setData(data);
}

QelChart::QelChart(QelDisplay* display, QelChartData* data, const QelPoint& origin, float xScale,
                   float yScale, QelPalette* palette)
    : QelAbstractChart(display, origin, xScale, yScale, palette) {
  setData(data);
}

QelChart::QelChart(const QelChart& other) : QelAbstractChart(other) {
  setData(other._data);
}

QelChart::QelChart(QelInputFile& file, QelPalette* palette) : QelAbstractChart(file, palette) {
  if (!file.getStream().fail()) readData(file);
}

QelChart::~QelChart() {
  setData(nullptr);
}

void QelChart::setData(QelChartData* data) {
  // Locking first makes setting the same set again safe.
  if (data) data->lock();
  if (_data) _data->unLock();
  _data = data;
}

void QelChart::readData(QelInputFile& file) {
  std::istream& in = file.getStream();
  in >> std::ws;
  if (in.peek() == '}') return;  // written without data
  std::string name;
  if (!file.readToken(name)) return;
  if (name.size() > 255) name.resize(255);
  auto* info = dynamic_cast<QelChartDataClassInfo*>(QelClassInfo::Get(name.c_str()));
  if (!info || !info->getReader()) {
    QelFatalError("QelAbstractChart::readData: Unregistered class: %s", name.c_str());
    return;
  }
  if (QelChartData* data = info->getReader()(file)) setData(data);
}

void QelChart::write(QelOutputFile& file) const {
  QelAbstractChart::write(file);
  if (!_data) return;
  const QelClassInfo* info = _data->getClassInfo();
  file.getStream() << '\n' << info->getClassName() << ' ';
  _data->write(file);
}

void QelChart::apply(QelApplyObject f, void* arg) {
  unsigned long count = 0;
  QelChartPointInfo* const* infos = _data ? _data->getAllPointInfo(count) : nullptr;
  for (unsigned long i = 0; i < count; ++i)
    if (QelGraphic* graphic = infos[i]->getGraphic()) f(graphic, arg);
}

void QelChart::getPoint(unsigned long index, QelPoint& p, const QelTransformer* t) const {
  if (_data && index < _data->getCount()) getDataPoint(_data, index, p, t);
}

void QelChart::setPoint(unsigned long index, const QelPoint& p, const QelTransformer* t) {
  if (_data && !_data->isReadOnly()) setDataPoint(_data, index, p, t);
}

void QelChart::bboxPoint(unsigned long index, QelRect& rect, const QelTransformer* t) const {
  dataPointBBox(_data, index, rect, t);
}

const QelPoint* QelChart::mapPoints(const QelFloatPoint* points, unsigned long count,
                                    unsigned long extra, const QelTransformer* t) const {
  QelPoint* out = QelAllocPoints(count + extra);
  if (!out || !points) return out;
  if (t) {
    for (unsigned long i = 0; i < count; ++i) out[i] = mapToView(points[i], t);
    return out;
  }
  // Without a transformer the products are truncated before the origin is added: this path can
  // differ from the transformed one by a pixel, and callers rely on each being stable.
  const QelPoint origin = getOrigin();
  const float xs = getXScale(), ys = getYScale();
  for (unsigned long i = 0; i < count; ++i)
    out[i] = QelPoint(QelClampToInt32(int64_t(origin.x) + QelTruncToPixel(xs * points[i].x)),
                      QelClampToInt32(int64_t(origin.y) - QelTruncToPixel(ys * points[i].y)));
  return out;
}

const QelPoint* QelChart::getPoints(unsigned long& count, const QelRegion* clip,
                                    const QelTransformer* t) const {
  count = 0;
  if (!_data) return QelAllocPoints(4);
  unsigned long n = 0;
  const QelFloatPoint* points;
  if (clip) {
    QelFloatRect range;
    QelRect clipRect = clip->getBBox();
    chartBBox(range, &clipRect, t);
    points = _data->getPoints(range, n);
  } else {
    points = _data->getPoints(n);
  }
  const QelPoint* mapped = mapPoints(points, n, 4, t);
  if (mapped && points) count = n;
  return mapped;
}

unsigned long QelChart::whichPoint(unsigned int size, const QelPoint&, const QelPoint& tp,
                                   const QelTransformer* t) const {
  unsigned long count = 0;
  const QelPoint* points = getPoints(count, nullptr, t);
  for (unsigned long i = 0; i < count; ++i)
    if (std::abs(int64_t(points[i].x) - tp.x) <= size &&
        std::abs(int64_t(points[i].y) - tp.y) <= size)
      return i;
  return static_cast<unsigned long>(-1);
}

void QelChart::scroll(float value, QelRect& area, QelPort*, const QelTransformer* t) {
  auto* ys = dynamic_cast<QelChartDataYPoints*>(_data);
  if (!ys) return;
  QelRect before, after;
  boundingBox(before, t);
  ys->scroll(value);
  boundingBox(after, t);
  before.add(after);
  area = QelRect(int32_t(std::max<int64_t>(int64_t(before.x) - 1, 0)),
                 int32_t(std::max<int64_t>(int64_t(before.y) - 1, 0)), grownBy2(before.w),
                 grownBy2(before.h));
}

QelClassInfo* QelChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelChart::ClassInfo() {
  QelChartModuleInit();
  return chartClass;
}

// --- QelPolylineChart --------------------------------------------------------------------------

void QelPolylineChart::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (!canDrawWith(palette)) return;
  unsigned long count = 0;
  const QelPoint* points = getPoints(count, clip, t);
  if (!count) return;
  {
    QelPaletteClip scope(palette, clip);
    palette->getDisplay()->drawPolyLine(port, palette, uint32_t(count), points);
  }
  drawPointInfo(port, t, clip);
}

bool QelPolylineChart::contains(const QelPoint&, const QelPoint& tp,
                                const QelTransformer* t) const {
  unsigned long count = 0;
  const QelPoint* points = getPoints(count, nullptr, t);
  if (count == 1) return QelPointInLine(tp, points[0], points[0]);
  for (unsigned long i = 1; i < count; ++i)
    if (QelPointInLine(tp, points[i - 1], points[i])) return true;
  return false;
}

QelClassInfo* QelPolylineChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelPolylineChart::ClassInfo() {
  QelChartModuleInit();
  return polylineChartClass;
}
