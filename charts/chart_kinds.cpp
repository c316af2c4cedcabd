#include "charts/chart_kinds.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <istream>
#include <limits>
#include <optional>
#include <ostream>

#include "charts/marker.h"
#include "charts/point_buffers.h"
#include "display/color.h"
#include "display/display.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/line_geometry.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

QelGraphicClassInfo* polygonChartClass = nullptr;
QelGraphicClassInfo* stairChartClass = nullptr;
QelGraphicClassInfo* barChartClass = nullptr;
QelGraphicClassInfo* scatterChartClass = nullptr;
QelGraphicClassInfo* bar3dChartClass = nullptr;

// A pixel size under a zoom of `factor`. A size that was not zero stays at least a pixel, so
// that zooming out never makes bars vanish.
uint32_t scaledSize(uint32_t size, double factor) {
  if (!std::isfinite(factor)) return size;
  double scaled = std::floor(double(size) * std::fabs(factor) + 0.5);
  uint32_t result =
      QelClampToUint32(int64_t(std::min(scaled, double(std::numeric_limits<uint32_t>::max()))));
  return size && !result ? 1 : result;
}

// The clip widened by what a kind draws around its points, for slicing the data: points just
// outside the clip may still reach into it.
QelRegion widened(const QelRegion& clip, int64_t dx, int64_t dy) {
  QelRect rect = clip.getBBox();
  rect.expand(QelClampToInt32(dx), QelClampToInt32(dy));
  return QelRegion(rect);
}

// Even-odd: a horizontal ray from `p` crosses the closed outline an odd number of times.
bool insidePolygon(const QelPoint* points, unsigned long count, const QelPoint& p) {
  if (!points || count < 3) return false;
  bool inside = false;
  for (unsigned long i = 0, j = count - 1; i < count; j = i++)
    if (QelIntersectHorizontal(p, points[j], points[i])) inside = !inside;
  return inside;
}

uint32_t clampCount(unsigned long count) {
  return uint32_t(std::min<unsigned long>(count, std::numeric_limits<uint32_t>::max()));
}

}  // namespace

void QelRegisterChartKinds() {
  // Called first on its own, this makes the chart module call it back before going on.
  QelChartModuleInit();
  static QelGraphicClassInfo polygon("QelPolygonChart", QelChart::ClassInfo(),
                                     QelReadGraphic<QelPolygonChart>);
  static QelGraphicClassInfo stair("QelStairChart", &polygon, QelReadGraphic<QelStairChart>);
  static QelGraphicClassInfo bar("QelBarChart", QelChart::ClassInfo(), QelReadGraphic<QelBarChart>);
  static QelGraphicClassInfo scatter("QelScatterChart", QelChart::ClassInfo(),
                                     QelReadGraphic<QelScatterChart>);
  static QelGraphicClassInfo bar3d("Qel3dBarChart", QelChart::ClassInfo(),
                                   QelReadGraphic<Qel3dBarChart>);
  polygonChartClass = &polygon;
  stairChartClass = &stair;
  barChartClass = &bar;
  scatterChartClass = &scatter;
  bar3dChartClass = &bar3d;
  QelRegisterMarker();
}

// --- QelPolygonChart ---------------------------------------------------------------------------

const QelPoint* QelPolygonChart::getPoints(unsigned long& count, const QelRegion* clip,
                                           const QelTransformer* t) const {
  const QelPoint* mapped = QelChart::getPoints(count, clip, t);
  if (!mapped || !count) {
    count = 0;
    return mapped;
  }
  // The chart's buffer already has room for four more points: this returns it unchanged.
  QelPoint* points = QelAllocPoints(count + 2);
  const int32_t base = basePoint(t).y;
  points[count] = QelPoint(points[count - 1].x, base);
  points[count + 1] = QelPoint(points[0].x, base);
  count += 2;
  return points;
}

void QelPolygonChart::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (!canDrawWith(palette)) return;
  unsigned long count = 0;
  const QelPoint* points = getPoints(count, clip, t);
  if (count) {
    QelPaletteClip scope(palette, clip);
    palette->getDisplay()->fillPolyLine(port, palette, clampCount(count), points);
  }
  drawPointInfo(port, t, clip);
}

bool QelPolygonChart::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  unsigned long count = 0;
  const QelPoint* points = QelPolygonChart::getPoints(count, nullptr, t);
  return insidePolygon(points, count, tp);
}

void QelPolygonChart::boundingBox(QelRect& rect, const QelTransformer* t) const {
  QelChart::boundingBox(rect, t);
  const int32_t base = basePoint(t).y;
  rect = QelRectBetween(rect.x, std::min(rect.y, base), rect.right64(),
                        std::max<int64_t>(rect.bottom64(), base));
}

void QelPolygonChart::dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                                    const QelTransformer* t) const {
  QelChart::dataPointBBox(data, index, rect, t);
  if (rect.isEmpty()) return;
  const int32_t base = basePoint(t).y;
  rect = QelRectBetween(rect.x, std::min(rect.y, base), rect.right64(),
                        std::max<int64_t>(rect.bottom64(), base));
}

QelClassInfo* QelPolygonChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelPolygonChart::ClassInfo() {
  QelChartModuleInit();
  return polygonChartClass;
}

// --- QelStairChart -----------------------------------------------------------------------------

const QelPoint* QelStairChart::getPoints(unsigned long& count, const QelRegion* clip,
                                         const QelTransformer* t) const {
  unsigned long n = 0;
  const QelPoint* polygon = QelPolygonChart::getPoints(n, clip, t);
  count = 0;
  if (!polygon || !n) return polygon;
  QelPoint* steps = QelAllocInternalPoints(2 * n);
  if (!steps) return nullptr;
  unsigned long k = 0;
  for (unsigned long i = 0; i + 2 < n; ++i) {
    steps[k++] = polygon[i];
    steps[k++] = QelPoint(polygon[i + 1].x, polygon[i].y);
  }
  steps[k++] = polygon[n - 2];
  steps[k++] = polygon[n - 1];
  count = k;
  return steps;
}

bool QelStairChart::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  unsigned long count = 0;
  const QelPoint* points = QelStairChart::getPoints(count, nullptr, t);
  return insidePolygon(points, count, tp);
}

QelClassInfo* QelStairChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelStairChart::ClassInfo() {
  QelChartModuleInit();
  return stairChartClass;
}

// --- QelBarChart -------------------------------------------------------------------------------

namespace {

QelPosition barDirection(QelPosition direction) {
  return direction == QelHorizontal ? QelHorizontal : QelVertical;
}

}  // namespace

QelBarChart::QelBarChart(QelDisplay* display, QelChartData* data, uint32_t halfWidth,
                         QelPosition direction, QelPalette* palette)
    : QelChart(display, data, palette),
      _halfWidth(halfWidth),
      _direction(barDirection(direction)) {}

QelBarChart::QelBarChart(QelDisplay* display, QelChartData* data, const QelPoint& origin,
                         float xScale, float yScale, uint32_t halfWidth, QelPosition direction,
                         QelPalette* palette)
    : QelChart(display, data, origin, xScale, yScale, palette),
      _halfWidth(halfWidth),
      _direction(barDirection(direction)) {}

QelBarChart::QelBarChart(QelInputFile& file, QelPalette* palette)
    : QelBarChart(file, palette, ReadFields(file)) {}

QelBarChart::QelBarChart(QelInputFile& file, QelPalette* palette, const Fields& fields)
    : QelChart(file, palette), _halfWidth(fields.halfWidth), _direction(fields.direction) {}

QelBarChart::Fields QelBarChart::ReadFields(QelInputFile& file) {
  std::istream& in = file.getStream();
  int64_t halfWidth = 0, direction = 0;
  if (!QelReadInteger(in, 0, std::numeric_limits<uint32_t>::max(), halfWidth) ||
      !QelReadInteger(in, 0, std::numeric_limits<uint32_t>::max(), direction))
    return Fields{kDefaultHalfWidth, QelVertical};
  if (direction != QelVertical && direction != QelHorizontal) {
    in.setstate(std::ios_base::failbit);
    return Fields{kDefaultHalfWidth, QelVertical};
  }
  return Fields{uint32_t(halfWidth), QelPosition(direction)};
}

void QelBarChart::setDirection(QelPosition direction) {
  if (direction == QelVertical || direction == QelHorizontal) _direction = direction;
}

QelRect QelBarChart::barRect(const QelPoint& p, const QelPoint& base) const {
  const int64_t w = _halfWidth;
  if (_direction == QelVertical)
    return QelRectBetween(p.x - w, std::min(p.y, base.y), p.x + w, std::max(p.y, base.y));
  return QelRectBetween(std::min(p.x, base.x), p.y - w, std::max(p.x, base.x), p.y + w);
}

void QelBarChart::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (canDrawWith(palette)) {
    // Vertical bars are sliced by x like any chart, the clip widened by the bars' reach.
    // Horizontal bars lie along x, so x says nothing about which of them show: all are taken
    // and those off the clip skipped.
    QelRegion slice;
    const QelRegion* sliceClip = nullptr;
    if (clip && _direction == QelVertical) {
      slice = widened(*clip, _halfWidth, 0);
      sliceClip = &slice;
    }
    unsigned long count = 0;
    const QelPoint* points = getPoints(count, sliceClip, t);
    const QelPoint base = basePoint(t);
    QelPaletteClip scope(palette, clip);
    for (unsigned long i = 0; i < count; ++i) {
      QelRect bar = barRect(points[i], base);
      if (bar.isEmpty() || (clip && !clip->intersects(bar))) continue;
      palette->getDisplay()->fillRectangle(port, palette, bar);
    }
  }
  drawPointInfo(port, t, clip);
}

bool QelBarChart::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  unsigned long count = 0;
  const QelPoint* points = getPoints(count, nullptr, t);
  const QelPoint base = basePoint(t);
  for (unsigned long i = 0; i < count; ++i)
    if (barRect(points[i], base).contains(tp)) return true;
  return false;
}

void QelBarChart::boundingBox(QelRect& rect, const QelTransformer* t) const {
  QelChart::boundingBox(rect, t);
  const QelPoint base = basePoint(t);
  const int64_t w = _halfWidth;
  if (_direction == QelVertical)
    rect = QelRectBetween(rect.x - w, std::min(rect.y, base.y), rect.right64() + w,
                          std::max<int64_t>(rect.bottom64(), base.y));
  else
    rect = QelRectBetween(std::min(rect.x, base.x), rect.y - w,
                          std::max<int64_t>(rect.right64(), base.x), rect.bottom64() + w);
}

void QelBarChart::applyTransform(const QelTransformer* t) {
  if (!t) return;
  float m11, m12, m21, m22;
  t->getValues(m11, m12, m21, m22);
  _halfWidth = scaledSize(_halfWidth, _direction == QelVertical ? m11 : m22);
  QelChart::applyTransform(t);
}

void QelBarChart::dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                                const QelTransformer* t) const {
  rect = QelRect();
  if (!data || index >= data->getCount()) return;
  QelPoint p;
  getDataPoint(data, index, p, t);
  rect = barRect(p, basePoint(t));
}

void QelBarChart::write(QelOutputFile& file) const {
  file.getStream() << ' ' << _halfWidth << ' ' << unsigned(_direction) << ' ';
  QelChart::write(file);
}

QelClassInfo* QelBarChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelBarChart::ClassInfo() {
  QelChartModuleInit();
  return barChartClass;
}

// --- QelScatterChart ---------------------------------------------------------------------------

namespace {

QelRect markerBox(const QelPoint& p, uint16_t size) {
  const int64_t s = size;
  return QelRectBetween(p.x - s, p.y - s, p.x + s + 1, p.y + s + 1);
}

}  // namespace

QelScatterChart::QelScatterChart(QelDisplay* display, QelChartData* data, uint16_t size,
                                 unsigned int type, QelPalette* palette)
    : QelChart(display, data, palette), _markerSize(size), _markerType(type) {}

QelScatterChart::QelScatterChart(QelDisplay* display, QelChartData* data, const QelPoint& origin,
                                 float xScale, float yScale, uint16_t size, unsigned int type,
                                 QelPalette* palette)
    : QelChart(display, data, origin, xScale, yScale, palette),
      _markerSize(size),
      _markerType(type) {}

QelScatterChart::QelScatterChart(QelInputFile& file, QelPalette* palette)
    : QelScatterChart(file, palette, ReadFields(file)) {}

QelScatterChart::QelScatterChart(QelInputFile& file, QelPalette* palette, const Fields& fields)
    : QelChart(file, palette), _markerSize(fields.size), _markerType(fields.type) {}

QelScatterChart::Fields QelScatterChart::ReadFields(QelInputFile& file) {
  std::istream& in = file.getStream();
  int64_t size = 0, type = 0;
  if (!QelReadInteger(in, 0, std::numeric_limits<uint16_t>::max(), size) ||
      !QelReadInteger(in, 0, QelAllMarkerBits, type))
    return Fields{kDefaultMarkerSize, QelMarkerSquare};
  return Fields{uint16_t(size), unsigned(type)};
}

void QelScatterChart::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  if (canDrawWith(palette)) {
    // A marker reaches `size` pixels around its point, on every side.
    QelRegion slice;
    if (clip) slice = widened(*clip, _markerSize, _markerSize);
    unsigned long count = 0;
    const QelPoint* points = getPoints(count, clip ? &slice : nullptr, t);
    QelPaletteClip scope(palette, clip);
    for (unsigned long i = 0; i < count; ++i) {
      if (clip && !clip->intersects(markerBox(points[i], _markerSize))) continue;
      palette->getDisplay()->drawMarker(port, palette, points[i], _markerType, _markerSize);
    }
  }
  drawPointInfo(port, t, clip);
}

bool QelScatterChart::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  unsigned long count = 0;
  const QelPoint* points = getPoints(count, nullptr, t);
  for (unsigned long i = 0; i < count; ++i)
    if (std::abs(int64_t(points[i].x) - tp.x) <= _markerSize &&
        std::abs(int64_t(points[i].y) - tp.y) <= _markerSize)
      return true;
  return false;
}

void QelScatterChart::boundingBox(QelRect& rect, const QelTransformer* t) const {
  QelFloatRect range;
  chartBBox(range);
  QelPoint a = mapToView(QelFloatPoint(range.minx, range.miny), t);
  QelPoint b = mapToView(QelFloatPoint(range.maxx, range.maxy), t);
  rect = markerBox(QelPoint(std::min(a.x, b.x), std::min(a.y, b.y)), _markerSize);
  rect.add(markerBox(QelPoint(std::max(a.x, b.x), std::max(a.y, b.y)), _markerSize));
}

void QelScatterChart::dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                                    const QelTransformer* t) const {
  rect = QelRect();
  if (!data || index >= data->getCount()) return;
  QelPoint p;
  getDataPoint(data, index, p, t);
  rect = markerBox(p, _markerSize);
}

void QelScatterChart::write(QelOutputFile& file) const {
  file.getStream() << ' ' << _markerSize << ' ' << _markerType << ' ';
  QelChart::write(file);
}

QelClassInfo* QelScatterChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelScatterChart::ClassInfo() {
  QelChartModuleInit();
  return scatterChartClass;
}

// --- Qel3dBarChart -----------------------------------------------------------------------------

namespace {

// The chart palette with another foreground; the chart palette itself when there is no colour.
QelPalette* facePalette(QelPalette* chart, QelColor* color) {
  if (!color) return chart;
  QelPaletteAttributes attributes = chart->getAttributes();
  attributes.foreground = color;
  QelPalette* face = chart->getDisplay()->getPalette(attributes);
  return face ? face : chart;
}

// The top catches the light: half way to white. The side is in shade: three fifths.
unsigned short lighter(unsigned short c) {
  return (unsigned short)(c + (0xffff - c) / 2);
}
unsigned short darker(unsigned short c) {
  return (unsigned short)(uint32_t(c) * 3 / 5);
}

}  // namespace

Qel3dBarChart::Qel3dBarChart(QelDisplay* display, QelChartData* data, uint32_t barWidth,
                             uint32_t depth, QelPalette* palette)
    : QelChart(display, data, palette), _barWidth(barWidth), _depth(depth) {
  computePalettes();
}

Qel3dBarChart::Qel3dBarChart(QelDisplay* display, QelChartData* data, const QelPoint& origin,
                             float xScale, float yScale, uint32_t barWidth, uint32_t depth,
                             QelPalette* palette)
    : QelChart(display, data, origin, xScale, yScale, palette), _barWidth(barWidth), _depth(depth) {
  computePalettes();
}

Qel3dBarChart::Qel3dBarChart(const Qel3dBarChart& other)
    : QelChart(other), _barWidth(other._barWidth), _depth(other._depth) {
  computePalettes();
}

Qel3dBarChart::Qel3dBarChart(QelInputFile& file, QelPalette* palette)
    : Qel3dBarChart(file, palette, ReadFields(file)) {}

Qel3dBarChart::Qel3dBarChart(QelInputFile& file, QelPalette* palette, const Fields& fields)
    : QelChart(file, palette), _barWidth(fields.barWidth), _depth(fields.depth) {
  computePalettes();
}

Qel3dBarChart::~Qel3dBarChart() {
  releasePalettes();
}

Qel3dBarChart::Fields Qel3dBarChart::ReadFields(QelInputFile& file) {
  std::istream& in = file.getStream();
  int64_t width = 0, depth = 0;
  if (!QelReadInteger(in, 0, std::numeric_limits<uint32_t>::max(), width) ||
      !QelReadInteger(in, 0, std::numeric_limits<uint32_t>::max(), depth))
    return Fields{kDefaultBarWidth, kDefaultDepth};
  return Fields{uint32_t(width), uint32_t(depth)};
}

void Qel3dBarChart::releasePalettes() {
  if (_topPalette) _topPalette->unLock();
  if (_sidePalette) _sidePalette->unLock();
  _topPalette = _sidePalette = nullptr;
  _facesOf = nullptr;
}

void Qel3dBarChart::computePalettes() {
  QelPalette* chart = getPalette();
  QelPalette* top = nullptr;
  QelPalette* side = nullptr;
  if (canDrawWith(chart)) {
    QelDisplay* display = chart->getDisplay();
    unsigned short r = 0, g = 0, b = 0;
    if (chart->getForeground()) chart->getForeground()->getRGB(r, g, b);
    top = facePalette(chart, display->getColor(lighter(r), lighter(g), lighter(b)));
    side = facePalette(chart, display->getColor(darker(r), darker(g), darker(b)));
    // Locked before the old ones go: they may be the same palettes.
    top->lock();
    side->lock();
  }
  releasePalettes();
  _topPalette = top;
  _sidePalette = side;
  _facesOf = chart;
}

void Qel3dBarChart::refreshPalettes() {
  if (getPalette() != _facesOf) computePalettes();
}

void Qel3dBarChart::setBackground(QelColor* color) {
  QelChart::setBackground(color);
  refreshPalettes();
}

void Qel3dBarChart::setForeground(QelColor* color) {
  QelChart::setForeground(color);
  refreshPalettes();
}

void Qel3dBarChart::setOverwrite(int overwrite) {
  QelChart::setOverwrite(overwrite);
  refreshPalettes();
}

void Qel3dBarChart::setMode(int mode) {
  QelChart::setMode(mode);
  refreshPalettes();
}

// Every attribute change of a simple graphic ends in a new palette.
void Qel3dBarChart::setPalette(QelPalette* palette) {
  QelChart::setPalette(palette);
  refreshPalettes();
}

QelRect Qel3dBarChart::frontRect(const QelPoint& p, const QelPoint& base) const {
  const int64_t left = int64_t(p.x) - _barWidth / 2;
  return QelRectBetween(left, std::min(p.y, base.y), left + _barWidth, std::max(p.y, base.y));
}

void Qel3dBarChart::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* front = drawingPalette();
  if (canDrawWith(front)) {
    // A lent palette (a highlight) paints every face; so does the chart's own when the faces
    // could not be had.
    const bool lent = front != getPalette();
    const QelPalette* top = !lent && _topPalette ? _topPalette : front;
    const QelPalette* side = !lent && _sidePalette ? _sidePalette : front;
    const int64_t d = _depth;
    QelRegion slice;
    if (clip) slice = widened(*clip, int64_t(_barWidth) + d, 0);
    unsigned long count = 0;
    const QelPoint* points = getPoints(count, clip ? &slice : nullptr, t);
    const QelPoint base = basePoint(t);
    const QelDisplay* display = front->getDisplay();
    QelPaletteClip frontScope(front, clip);
    std::optional<QelPaletteClip> topScope, sideScope;
    if (top != front) topScope.emplace(top, clip);
    if (side != front && side != top) sideScope.emplace(side, clip);
    // Left to right: each bar's front hides the side of the bar before it.
    for (unsigned long i = 0; i < count; ++i) {
      const QelRect f = frontRect(points[i], base);
      const int64_t left = f.x, right = f.right64(), upper = f.y, lower = f.bottom64();
      if (clip && !clip->intersects(QelRectBetween(left, upper - d, right + d, lower))) continue;
      if (d) {
        auto at = [](int64_t x, int64_t y) {
          return QelPoint(QelClampToInt32(x), QelClampToInt32(y));
        };
        const QelPoint sideFace[4] = {at(right, upper), at(right + d, upper - d),
                                      at(right + d, lower - d), at(right, lower)};
        const QelPoint topFace[4] = {at(left, upper), at(left + d, upper - d),
                                     at(right + d, upper - d), at(right, upper)};
        display->fillPolyLine(port, side, 4, sideFace, 1);
        display->fillPolyLine(port, top, 4, topFace, 1);
      }
      display->fillRectangle(port, front, f);
    }
  }
  drawPointInfo(port, t, clip);
}

bool Qel3dBarChart::contains(const QelPoint&, const QelPoint& tp, const QelTransformer* t) const {
  unsigned long count = 0;
  const QelPoint* points = getPoints(count, nullptr, t);
  const QelPoint base = basePoint(t);
  const int64_t d = _depth, x = tp.x, y = tp.y;
  for (unsigned long i = 0; i < count; ++i) {
    const QelRect f = frontRect(points[i], base);
    if (f.contains(tp)) return true;
    const int64_t left = f.x, right = f.right64(), upper = f.y, lower = f.bottom64();
    // The faces as they are filled: row `upper - k` of the top from left + k, column
    // `right + k` of the side from upper - k.
    const int64_t above = upper - y, beside = x - right;
    if (above > 0 && above <= d && x >= left + above && x < right + above) return true;
    if (beside >= 0 && beside < d && y >= upper - beside && y < lower - beside) return true;
  }
  return false;
}

void Qel3dBarChart::boundingBox(QelRect& rect, const QelTransformer* t) const {
  QelChart::boundingBox(rect, t);
  const int32_t base = basePoint(t).y;
  const int64_t d = _depth, half = _barWidth / 2;
  rect = QelRectBetween(rect.x - half, int64_t(std::min(rect.y, base)) - d,
                        rect.right64() + (_barWidth - half) + d,
                        std::max<int64_t>(rect.bottom64(), base));
}

void Qel3dBarChart::applyTransform(const QelTransformer* t) {
  if (!t) return;
  float m11, m12, m21, m22;
  t->getValues(m11, m12, m21, m22);
  _barWidth = scaledSize(_barWidth, m11);
  _depth = scaledSize(_depth, std::sqrt(std::fabs(double(m11) * double(m22))));
  QelChart::applyTransform(t);
}

void Qel3dBarChart::dataPointBBox(const QelChartData* data, unsigned long index, QelRect& rect,
                                  const QelTransformer* t) const {
  rect = QelRect();
  if (!data || index >= data->getCount()) return;
  QelPoint p;
  getDataPoint(data, index, p, t);
  const QelRect f = frontRect(p, basePoint(t));
  const int64_t d = _depth;
  rect = QelRectBetween(f.x, int64_t(f.y) - d, f.right64() + d, f.bottom64());
}

void Qel3dBarChart::write(QelOutputFile& file) const {
  file.getStream() << ' ' << _barWidth << ' ' << _depth << ' ';
  QelChart::write(file);
}

QelClassInfo* Qel3dBarChart::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* Qel3dBarChart::ClassInfo() {
  QelChartModuleInit();
  return bar3dChartClass;
}
