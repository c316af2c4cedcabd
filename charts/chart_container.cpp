#include "charts/chart_container.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <limits>
#include <memory>
#include <ostream>

#include "base/module_init.h"
#include "base/symbol.h"
#include "charts/chart.h"
#include "charts/scale.h"
#include "display/display.h"
#include "display/event.h"
#include "display/palette.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/selection.h"
#include "graphics/transformer.h"

namespace {

int chartContainerModuleState = 0;
QelGraphicClassInfo* chartsHandleClass = nullptr;

// Left + right + bottom: every scale the container can have.
constexpr QelPosition kAllScales = QelPosition(QelLeft | QelRight | QelBottom);
constexpr int kIndexPositions[3] = {QelBottom, QelLeft, QelRight};

// Ticks of a new scale; long enough to read, short enough to leave room for the labels.
constexpr uint16_t kSteps = 5, kSubSteps = 2, kStepSize = 6, kSubStepSize = 3;
// Gap kept between the labels and the edge of the rectangle they are laid out in.
constexpr int32_t kLayoutMargin = 2;

bool finite(float v) {
  return std::isfinite(v);
}

// A range worth showing: both ends finite and max above min.
bool validRange(float min, float max) {
  return finite(min) && finite(max) && max > min && finite(max - min);
}

QelChartContainer* asChartContainer(QelContainer* container) {
  return dynamic_cast<QelChartContainer*>(container);
}

}  // namespace

// --- Module ------------------------------------------------------------------------------------

int QelChartContainerModuleInit() {
  QelScaleModuleInit();
  QelChartModuleInit();
  QelContainerModuleInit();
  return QelInitializeOnce(chartContainerModuleState, [] {
    static QelGraphicClassInfo handle("QelChartsHandle", QelSimpleGraphic::ClassInfo(),
                                      QelReadGraphic<QelChartsHandle>);
    chartsHandleClass = &handle;
    QelChartLegend::ClassInfo();
    QelSymbol::Get("Chart");
    QelSymbol::Get("Legend");
    QelSymbol::Get("Axis");
    QelChartContainer::_chartProperty();
    QelChartContainer::_axisProperty();
  });
}

// --- QelChartsHandle ---------------------------------------------------------------------------

QelChartsHandle::QelChartsHandle(QelDisplay* display, const QelRect& rect)
    : QelSimpleGraphic(display, nullptr), _rect(rect) {}

QelChartsHandle::QelChartsHandle(QelInputFile& file, QelPalette* palette)
    : QelSimpleGraphic(file.getDisplay(), palette) {
  std::istream& in = file.getStream();
  int64_t x, y, w, h;
  constexpr int64_t kMin = std::numeric_limits<int32_t>::min();
  constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int64_t kMaxExtent = std::numeric_limits<uint32_t>::max();
  if (QelReadInteger(in, kMin, kMax, x) && QelReadInteger(in, kMin, kMax, y) &&
      QelReadInteger(in, 0, kMaxExtent, w) && QelReadInteger(in, 0, kMaxExtent, h))
    _rect = QelRect(int32_t(x), int32_t(y), uint32_t(w), uint32_t(h));
}

void QelChartsHandle::boundingBox(QelRect& rect, const QelTransformer* t) const {
  rect = _rect;
  if (t) t->apply(rect);
}

void QelChartsHandle::applyTransform(const QelTransformer* t) {
  if (t) t->apply(_rect);
}

void QelChartsHandle::write(QelOutputFile& file) const {
  file.getStream() << _rect.x << ' ' << _rect.y << ' ' << _rect.w << ' ' << _rect.h;
}

QelClassInfo* QelChartsHandle::getClassInfo() const {
  return ClassInfo();
}

QelClassInfo* QelChartsHandle::ClassInfo() {
  QelChartContainerModuleInit();
  return chartsHandleClass;
}

// --- Construction ------------------------------------------------------------------------------

const QelSymbol* QelChartContainer::_chartProperty() {
  static const QelSymbol* symbol = QelSymbol::Get("__QelChartContainerChart");
  return symbol;
}

const QelSymbol* QelChartContainer::_axisProperty() {
  static const QelSymbol* symbol = QelSymbol::Get("__QelChartContainerAxis");
  return symbol;
}

int QelChartContainer::positionToIndex(QelPosition position) {
  switch (position) {
    case QelBottom:
      return 0;
    case QelLeft:
      return 1;
    case QelRight:
      return 2;
    default:
      return -1;
  }
}

QelPosition QelChartContainer::indexToPosition(int index) {
  return index >= 0 && index < 3 ? QelPosition(kIndexPositions[index]) : QelPosition(0);
}

namespace {
// The view reaches just past the layout rectangle, from `point` in the parent.
QelRect viewRect(const QelRect& area, const QelPoint& point) {
  auto extent = [](int64_t start, uint32_t size) {
    int64_t end = std::max<int64_t>(start, 0) + size;
    return uint32_t(std::clamp<int64_t>(end, 1, 0x7fff));
  };
  return QelRect(point.x, point.y, extent(area.x, area.w), extent(area.y, area.h));
}
}  // namespace

QelChartContainer::QelChartContainer(QelDisplay* display, void* parentWidget, const QelRect& area,
                                     const QelPoint& point, QelPosition axis,
                                     QelPosition scalePositions, int accelerators)
    : QelContainer(display, parentWidget, viewRect(area, point)), axisPosition(axis) {
  init(scalePositions, area, accelerators);
}

QelChartContainer::QelChartContainer(QelDisplay* display, void* widget, int doubleBuffering,
                                     const QelRect& area, QelPosition axis,
                                     QelPosition scalePositions, int accelerators)
    : QelContainer(display, widget, doubleBuffering), axisPosition(axis) {
  init(scalePositions, area, accelerators);
}

void QelChartContainer::init(QelPosition scalePositions, const QelRect& area, int accelerators) {
  QelChartContainerModuleInit();
  _yIndex = positionToIndex(axisPosition);
  for (int i = 0; i < 3; ++i) {
    limitMin[i] = visibleMin[i] = 0;
    limitMax[i] = visibleMax[i] = 1;
    scales[i] = nullptr;
    scaleFormats[i] = nullptr;
  }
  // The chart area starts as the whole rectangle; reshapeCharts below makes room for the
  // scales' labels.
  chartArea = area;
  _handle = new QelChartsHandle(getDisplay(), QelRect(area.x, area.y, 0, 0));
  addObject(_handle, 0);
  QelDisplay* display = getDisplay();
  for (int i = 0; i < 3; ++i) {
    QelPosition position = indexToPosition(i);
    if (!(scalePositions & position)) continue;
    const bool horizontal = position == QelBottom;
    auto* scale = new QelRectangularScale(display, QelPoint(area.x, area.bottom()),
                                          horizontal ? area.w : area.h, "%.4g", visibleMin[i],
                                          visibleMax[i], horizontal ? QelLeft : QelBottom, position,
                                          kSteps, kSubSteps, kStepSize, kSubStepSize);
    scale->setKeepAllLabels(0);
    scales[i] = scale;
    insertObject(scale, objectIndexOfScaleInsert());
  }
  if (display && display->getXDisplay()) {
    _ghostPalette = display->getPalette(display->defaultBackground(), display->defaultForeground(),
                                        nullptr, nullptr, nullptr, nullptr, 0, QelFillPattern,
                                        QelArcPie, QelEvenOddRule, QelDrawModeXor);
    if (_ghostPalette) _ghostPalette->lock();
  }
  _viewWidth = width(), _viewHeight = height();
  reshapeCharts(area, 0);
  if (accelerators) installAccelerators();
}

QelChartContainer::~QelChartContainer() {
  for (char*& format : scaleFormats) {
    std::free(format);
    format = nullptr;
  }
  if (_ghostPalette) _ghostPalette->unLock();
}

// Scales go just after the legend, or first without one: below the charts, which may then
// draw over a scale's base line but never under it.
int QelChartContainer::objectIndexOfScaleInsert() const {
  return legend ? getIndex(legend) + 1 : 0;
}

// --- Scales ------------------------------------------------------------------------------------

QelRectangularScale* QelChartContainer::getScale(QelPosition position) const {
  int index = positionToIndex(position);
  return index < 0 ? nullptr : scales[index];
}

void QelChartContainer::setScale(QelPosition position, QelRectangularScale* scale) {
  int index = positionToIndex(position);
  if (index < 0 || scale == scales[index]) return;
  if (scale && isManaged(scale)) return;
  int place = -1;
  if (QelRectangularScale* old = scales[index]) {
    place = getIndex(old);
    removeObject(old, 0);
    delete old;
  } else {
    place = objectIndexOfScaleInsert();
  }
  scales[index] = scale;
  if (scale) insertObject(scale, place);
  updateScale(position);
  adjustCharts();
}

const char* QelChartContainer::getScaleFormat(QelPosition position) const {
  int index = positionToIndex(position);
  return index < 0 ? nullptr : scaleFormats[index];
}

void QelChartContainer::setScaleFormat(QelPosition positions, const char* format) {
  for (int i = 0; i < 3; ++i) {
    if (!(positions & indexToPosition(i)) || scaleFormats[i] == format) continue;
    std::free(scaleFormats[i]);
    scaleFormats[i] = format ? strdup(format) : nullptr;
  }
  updateScaleLabels(positions);
}

void QelChartContainer::updateScaleLabels(QelPosition positions) const {
  for (int i = 0; i < 3; ++i)
    if (scales[i] && (positions & indexToPosition(i)))
      scales[i]->setLabels(scales[i]->getSteps(), visibleMin[i], visibleMax[i],
                           scaleFormats[i] ? scaleFormats[i] : "%.4g");
}

void QelChartContainer::updateScale(QelPosition positions) {
  computeAxisLimits();
  placeScales();
  updateScaleLabels(positions);
}

void QelChartContainer::placeScales() {
  const QelRect& a = chartArea;
  for (int i = 0; i < 3; ++i) {
    QelRectangularScale* scale = scales[i];
    if (!scale) continue;
    QelPoint origin;
    uint32_t size;
    if (i == 0) {
      if (scale->isHorizontal()) {
        origin = QelPoint(a.x, a.bottom());
        if (scale->getDirection() == QelRight) origin.x = a.right();
      } else {
        origin = QelPoint(a.x, a.bottom());
      }
      size = a.w;
    } else {
      origin = QelPoint(i == 1 ? a.x : a.right(), a.bottom());
      if (scale->getDirection() == QelTop) origin.y = a.y;
      size = a.h;
    }
    origin.x = QelClampToInt32(int64_t(origin.x) + _originOffset[i].x);
    origin.y = QelClampToInt32(int64_t(origin.y) + _originOffset[i].y);
    scale->computeRect(origin, size);
  }
}

// --- Ranges ------------------------------------------------------------------------------------

void QelChartContainer::getVisibleRange(QelPosition direction, float& min, float& max) const {
  if (direction & QelHorizontal) {
    min = visibleMin[0], max = visibleMax[0];
  } else {
    min = yVisibleMin(), max = yVisibleMax();
  }
}

void QelChartContainer::getLimits(QelPosition direction, float& min, float& max) const {
  if (direction & QelHorizontal) {
    min = limitMin[0], max = limitMax[0];
  } else if (_yIndex >= 0) {
    min = limitMin[_yIndex], max = limitMax[_yIndex];
  } else {
    min = _ownLimitMin, max = _ownLimitMax;
  }
}

void QelChartContainer::setLimits(QelPosition direction, float min, float max) {
  if (!validRange(min, max)) return;
  _limitsFromData = false;
  if (direction & QelHorizontal) limitMin[0] = min, limitMax[0] = max;
  if (direction & QelVertical) yLimitMin() = min, yLimitMax() = max;
}

void QelChartContainer::zoomCharts(QelPosition positions, float xMin, float xMax, float yMin,
                                   float yMax, int redraw) {
  const bool x = (positions & QelHorizontal) && validRange(xMin, xMax) &&
                 (xMin != visibleMin[0] || xMax != visibleMax[0]);
  const bool y = (positions & QelVertical) && validRange(yMin, yMax) &&
                 (yMin != yVisibleMin() || yMax != yVisibleMax());
  if (!x && !y) return;
  // The scales' labels change with the ranges: where the old ones were is repainted too.
  QelRegion damaged(chartsBBox(getTransformer()));
  addScaleBoxes(damaged);
  // What is shown is part of the data's extent: scrolling may always come back to it.
  if (x) {
    visibleMin[0] = xMin, visibleMax[0] = xMax;
    limitMin[0] = std::min(limitMin[0], xMin), limitMax[0] = std::max(limitMax[0], xMax);
  }
  if (y) {
    yVisibleMin() = yMin, yVisibleMax() = yMax;
    yLimitMin() = std::min(yLimitMin(), yMin), yLimitMax() = std::max(yLimitMax(), yMax);
  }
  updateScale(kAllScales);
  adjustCharts();
  if (redraw) {
    addScaleBoxes(damaged);
    reDraw(&damaged);
  }
}

void QelChartContainer::translateCharts(QelPosition positions, float dx, float dy, int redraw) {
  float xMin = visibleMin[0] + dx, xMax = visibleMax[0] + dx;
  float yMin = yVisibleMin() + dy, yMax = yVisibleMax() + dy;
  float lyMin, lyMax;
  getLimits(QelVertical, lyMin, lyMax);
  const bool x = (positions & QelHorizontal) && dx != 0 && finite(dx) && xMin >= limitMin[0] &&
                 xMax <= limitMax[0];
  const bool y =
      (positions & QelVertical) && dy != 0 && finite(dy) && yMin >= lyMin && yMax <= lyMax;
  if (!x && !y) return;
  zoomCharts(QelPosition((x ? unsigned(QelHorizontal) : 0u) | (y ? unsigned(QelVertical) : 0u)),
             xMin, xMax, yMin, yMax, redraw);
}

void QelChartContainer::fitChartsToContents(QelPosition positions, int redraw) {
  float yMin, yMax;
  getLimits(QelVertical, yMin, yMax);
  zoomCharts(positions, limitMin[0], limitMax[0], yMin, yMax, redraw);
}

void QelChartContainer::validate(float&, float&, float&, float&) {}

// --- Charts ------------------------------------------------------------------------------------

void QelChartContainer::growLimits(const QelAbstractChart* chart) {
  QelFloatRect box;
  chart->chartBBox(box);
  if (!finite(box.minx) || !finite(box.maxx) || !finite(box.miny) || !finite(box.maxy)) return;
  if (_limitsFromData) {
    _limitsFromData = false;
    limitMin[0] = box.minx, limitMax[0] = box.maxx;
    yLimitMin() = box.miny, yLimitMax() = box.maxy;
    // A flat data set still needs a range to be fitted to.
    if (!(limitMax[0] > limitMin[0])) limitMax[0] = limitMin[0] + 1;
    if (!(yLimitMax() > yLimitMin())) yLimitMax() = yLimitMin() + 1;
    return;
  }
  limitMin[0] = std::min(limitMin[0], box.minx), limitMax[0] = std::max(limitMax[0], box.maxx);
  yLimitMin() = std::min(yLimitMin(), box.miny), yLimitMax() = std::max(yLimitMax(), box.maxy);
}

void QelChartContainer::fitChart(QelAbstractChart* chart, float xMin, float xMax, float yMin,
                                 float yMax) const {
  const QelRect& a = chartArea;
  QelPoint origin = chart->getOrigin();
  float xs = chart->getXScale(), ys = chart->getYScale();
  if (validRange(xMin, xMax)) {
    xs = float(a.w) / (xMax - xMin);
    origin.x = QelClampToInt32(int64_t(a.x) - QelTruncToPixel(double(xs * xMin)));
  }
  if (validRange(yMin, yMax)) {
    ys = float(a.h) / (yMax - yMin);
    origin.y = QelClampToInt32(int64_t(a.y) + QelTruncToPixel(double(ys * yMax)));
  }
  chart->setOrigin(origin);
  chart->setScales(xs, ys);
}

void QelChartContainer::adjustChart(QelAbstractChart* chart) {
  if (!chart) return;
  float xMin = visibleMin[0], xMax = visibleMax[0], yMin = yVisibleMin(), yMax = yVisibleMax();
  validate(xMin, xMax, yMin, yMax);
  fitChart(chart, xMin, xMax, yMin, yMax);
  chart->_fitStamp = _fitStamp;
  if (!_commonMapping && _chartCount <= 1) {
    _commonMapping = true;
    _commonOriginX = chart->getOrigin().x, _commonXScale = chart->getXScale();
  }
  if (_commonMapping && chart->getOrigin().x == _commonOriginX &&
      chart->getXScale() == _commonXScale)
    _oddCharts.erase(chart);
  else
    _oddCharts.insert(chart);
}

// One validate for all: the range a chart is shown in does not depend on the chart, and a
// container with a hundred thousand charts should not ask a hundred thousand times. Nor are
// they all refitted here: each is when the container next measures, draws or picks it
// (prepareObject), so that a million charts of which a thousand show cost a thousand fits.
void QelChartContainer::adjustCharts() {
  float xMin = visibleMin[0], xMax = visibleMax[0], yMin = yVisibleMin(), yMax = yVisibleMax();
  validate(xMin, xMax, yMin, yMax);
  if (++_fitStamp == 0) _fitStamp = 1;  // 0 is a chart no container has fitted
  _fitRange[0] = xMin, _fitRange[1] = xMax, _fitRange[2] = yMin, _fitRange[3] = yMax;
  // An x range that cannot be fitted leaves every chart its own mapping.
  _oddCharts.clear();
  _commonMapping = validRange(xMin, xMax);
  if (_commonMapping) {
    _commonXScale = float(chartArea.w) / (xMax - xMin);
    _commonOriginX =
        QelClampToInt32(int64_t(chartArea.x) - QelTruncToPixel(double(_commonXScale * xMin)));
  }
}

void QelChartContainer::ensureFitted(QelAbstractChart* chart) const {
  if (chart->_fitStamp == _fitStamp) return;
  fitChart(chart, _fitRange[0], _fitRange[1], _fitRange[2], _fitRange[3]);
  chart->_fitStamp = _fitStamp;
}

void QelChartContainer::prepareObject(QelGraphic* obj) const {
  if (!obj) return;
  if (obj->getProperty(_chartProperty()) == this) {
    ensureFitted(static_cast<QelAbstractChart*>(obj));
    return;
  }
  // A selection frame is measured and drawn from the object it frames.
  if (auto* frame = dynamic_cast<QelDrawSelection*>(obj)) prepareObject(frame->getObject());
}

void QelChartContainer::updateCharts() {
  int first = firstChart ? getIndex(firstChart) : 0;
  for (uint32_t i = 0; i < _chartCount; ++i)
    if (auto* chart = static_cast<QelAbstractChart*>(getObjectAt(first + int(i)))) {
      growLimits(chart);
      indexChart(chart);
    }
}

void QelChartContainer::manageChart(QelAbstractChart* chart, int listPosition) {
  if (listPosition == 0 || !firstChart) firstChart = chart;
  if (listPosition != 0 || !lastChart) lastChart = chart;
  ++_chartCount;
  chart->setProperty(_chartProperty(), this);
  chart->setProperty(_axisProperty(), reinterpret_cast<void*>(uintptr_t(axisPosition)));
  growLimits(chart);
  adjustChart(chart);
  indexChart(chart);
}

void QelChartContainer::addChart(QelAbstractChart* chart, int redraw) {
  if (!chart || isManaged(chart)) return;
  int index = lastChart ? getIndex(lastChart) + 1 : 0;
  manageChart(chart, -1);
  insertObject(chart, index);
  if (_runValid) _run.push_back(chart);
  if (legend) addToLegend(chart, 0);
  if (redraw) reDrawObj(chart);
}

void QelChartContainer::insertChart(QelAbstractChart* chart, int redraw) {
  if (!chart || isManaged(chart)) return;
  int index = firstChart ? getIndex(firstChart) : 0;
  manageChart(chart, 0);
  insertObject(chart, index);
  _runValid = false;
  if (legend) addToLegend(chart, 0);
  if (redraw) reDrawObj(chart);
}

void QelChartContainer::pushChart(QelAbstractChart* chart, int redraw) {
  if (_chartCount <= 1 || getChartIndex(chart) <= 0) return;
  int to = getIndex(firstChart);
  if (chart == lastChart)
    lastChart = static_cast<QelAbstractChart*>(getObjectAt(getIndex(chart) - 1));
  removeObject(chart, 0);
  insertObject(chart, to);
  firstChart = chart;
  _runValid = false;
  if (redraw) reDrawObj(chart);
}

void QelChartContainer::popChart(QelAbstractChart* chart, int redraw) {
  int listIndex = getChartIndex(chart);
  if (_chartCount <= 1 || listIndex < 0 || chart == lastChart) return;
  if (chart == firstChart)
    firstChart = static_cast<QelAbstractChart*>(getObjectAt(getIndex(chart) + 1));
  int to = getIndex(lastChart);
  removeObject(chart, 0);
  insertObject(chart, to + 1 > int(getCardinal()) ? -1 : to);
  lastChart = chart;
  _runValid = false;
  if (redraw) reDrawObj(chart);
}

int QelChartContainer::removeChart(QelAbstractChart* chart, int redraw) {
  if (!chart) return 0;
  const bool managed = getChartIndex(chart) >= 0;
  int index = getIndex(chart);
  QelRect box;
  if (managed) {
    ensureFitted(chart);
    chart->boundingBox(box, getTransformer());
  }
  if (!removeObject(chart, 0)) return 0;
  if (managed) {
    --_chartCount;
    if (!_chartCount) {
      firstChart = lastChart = nullptr;
    } else {
      if (chart == firstChart) firstChart = static_cast<QelAbstractChart*>(getObjectAt(index));
      if (chart == lastChart) lastChart = static_cast<QelAbstractChart*>(getObjectAt(index - 1));
    }
  }
  chart->removeProperty(_chartProperty());
  chart->removeProperty(_axisProperty());
  unindexChart(chart);
  contentsChanged(0);
  removeFromLegend(chart, redraw);
  // Only the place the chart covered changes.
  if (redraw) {
    QelRegion region(box);
    reDraw(&region);
  }
  return 1;
}

void QelChartContainer::updateChart(QelAbstractChart* chart, int redraw) {
  if (getChartIndex(chart) < 0) return;
  growLimits(chart);
  adjustChart(chart);
  indexChart(chart);
  if (redraw) reDrawObj(chart);
}

QelAbstractChart* QelChartContainer::getChart(int index) const {
  if (index < 0 || uint32_t(index) >= _chartCount) return nullptr;
  auto* chart = static_cast<QelAbstractChart*>(getObjectAt(getIndex(firstChart) + index));
  if (chart) ensureFitted(chart);  // handed out: its mapping must be the current one
  return chart;
}

int QelChartContainer::getChartIndex(const QelAbstractChart* chart) const {
  if (!chart || !isManaged(chart) || chart->getProperty(_chartProperty()) != this) return -1;
  return getIndex(chart) - getIndex(firstChart);
}

QelAbstractChart** QelChartContainer::getCharts(uint32_t& count) const {
  static QelAbstractChart** array = nullptr;
  static uint32_t capacity = 0;
  count = _chartCount;
  if (!array || capacity < count) {
    std::free(array);
    capacity = count;
    array = static_cast<QelAbstractChart**>(
        std::malloc(sizeof(QelAbstractChart*) * (count ? count : 1)));
    if (!array) {
      capacity = count = 0;
      return nullptr;
    }
  }
  int first = _chartCount ? getIndex(firstChart) : 0;
  for (uint32_t i = 0; i < count; ++i) {
    array[i] = static_cast<QelAbstractChart*>(getObjectAt(first + int(i)));
    ensureFitted(array[i]);
  }
  return array;
}

void QelChartContainer::contentsChanged(int redraw) {
  if (redraw) reDrawCharts();
}

QelRect QelChartContainer::chartsBBox(const QelTransformer* t) const {
  QelRect box = chartArea;
  if (t) t->apply(box);
  return box;
}

void QelChartContainer::reDrawCharts() {
  QelRegion region(chartsBBox(getTransformer()));
  addScaleBoxes(region);
  reDraw(&region);
}

void QelChartContainer::addScaleBoxes(QelRegion& region) const {
  for (const QelRectangularScale* scale : scales)
    if (scale) {
      QelRect box;
      scale->boundingBox(box, getTransformer());
      region.add(box);
    }
}

// --- Layout ------------------------------------------------------------------------------------

void QelChartContainer::reshapeCharts(const QelRect& rect, int redraw) {
  if (_handle) {
    QelRect current;
    _handle->boundingBox(current);
    if (current == rect) return;
  }
  QelRect old = chartArea;
  // The area starts as the whole rectangle and shrinks by what the scales' labels and ticks
  // stick out of it, until nothing does (the labels' sizes barely depend on the area, so two
  // or three rounds settle it).
  chartArea = rect;
  for (int round = 0; round < 4; ++round) {
    updateScale(kAllScales);
    int64_t left = 0, right = 0, top = 0, bottom = 0;
    for (QelRectangularScale* scale : scales) {
      if (!scale) continue;
      QelRect box;
      scale->boundingBox(box);
      left = std::max(left, int64_t(rect.x) - box.x + kLayoutMargin);
      top = std::max(top, int64_t(rect.y) - box.y + kLayoutMargin);
      right = std::max(right, box.right64() - rect.right64() + kLayoutMargin);
      bottom = std::max(bottom, box.bottom64() - rect.bottom64() + kLayoutMargin);
    }
    int64_t x = int64_t(chartArea.x) + std::max<int64_t>(0, left - (chartArea.x - rect.x));
    int64_t y = int64_t(chartArea.y) + std::max<int64_t>(0, top - (chartArea.y - rect.y));
    int64_t r = std::min(chartArea.right64(), rect.right64() - right);
    int64_t b = std::min(chartArea.bottom64(), rect.bottom64() - bottom);
    QelRect next(QelClampToInt32(x), QelClampToInt32(y), uint32_t(std::max<int64_t>(1, r - x)),
                 uint32_t(std::max<int64_t>(1, b - y)));
    if (next == chartArea) break;
    chartArea = next;
  }
  updateScale(kAllScales);
  if (_handle) _handle->setRect(rect);
  adjustCharts();
  if (redraw) {
    QelRegion region(old);
    region.add(rect);
    reDraw(&region);
  }
}

void QelChartContainer::moveCharts(int32_t dx, int32_t dy, int redraw) {
  QelRect r = _handle ? _handle->getRect() : chartArea;
  r.x = QelClampToInt32(int64_t(r.x) + dx);
  r.y = QelClampToInt32(int64_t(r.y) + dy);
  reshapeCharts(r, redraw);
}

void QelChartContainer::handleResize(QelRect& size) {
  QelContainer::handleResize(size);
  if (size.w == _viewWidth && size.h == _viewHeight) return;
  const uint32_t oldW = _viewWidth, oldH = _viewHeight;
  _viewWidth = size.w, _viewHeight = size.h;
  // A view that had no size yet has no layout to scale.
  if (oldW == 0 || oldH == 0) return;
  applyResize(float(size.w) / float(oldW), float(size.h) / float(oldH), 1);
  resizeAttachments(size, oldW, oldH);
}

void QelChartContainer::applyResize(float sx, float sy, int redraw) {
  if (!finite(sx) || !finite(sy) || sx <= 0 || sy <= 0) return;
  QelRect r = _handle ? _handle->getRect() : chartArea;
  auto scaled = [](int64_t v, float f) {
    return QelClampToInt32(int64_t(std::llround(double(v) * f)));
  };
  int32_t x = scaled(r.x, sx), y = scaled(r.y, sy);
  int32_t right = scaled(r.right64(), sx), bottom = scaled(r.bottom64(), sy);
  QelRect next(x, y, uint32_t(std::max<int64_t>(1, int64_t(right) - x)),
               uint32_t(std::max<int64_t>(1, int64_t(bottom) - y)));
  if (auto* box = dynamic_cast<QelChartLegend*>(legend)) {
    QelRect lb;
    box->boundingBox(lb);
    box->translate(scaled(lb.x, sx) - lb.x, scaled(lb.y, sy) - lb.y);
  }
  reshapeCharts(next, 0);
  if (redraw) reDraw();
}

// --- Where the scales cross --------------------------------------------------------------------

void QelChartContainer::fixOrigin(QelPosition position, const QelPoint& offset) {
  int index = positionToIndex(position);
  if (index < 0) return;
  _originAttached[index] = 0;
  _originOffset[index] = offset;
  updateScale(position);
}

void QelChartContainer::attachOrigin(QelPosition position, float value) {
  int index = positionToIndex(position);
  if (index < 0 || !finite(value)) return;
  _originAttached[index] = 1;
  _originValue[index] = value;
  updateScale(position);
}

void QelChartContainer::getOrigins(QelPoint origins[3]) const {
  for (int i = 0; i < 3; ++i) origins[i] = _originOffset[i];
}

void QelChartContainer::getOriginAttachments(int attached[3], float values[3]) const {
  for (int i = 0; i < 3; ++i) attached[i] = _originAttached[i], values[i] = _originValue[i];
}

// A scale attached to a value crosses the other axis where the charts draw that value: the
// bottom scale at a y value of the value axis, a side scale at an x value. The offset is the
// linear projection of the value over the visible range onto the area, held to the area.
void QelChartContainer::computeAxisLimits() {
  const QelRect& a = chartArea;
  for (int i = 0; i < 3; ++i) {
    if (!_originAttached[i]) continue;
    if (i == 0) {
      float min = yVisibleMin(), max = yVisibleMax();
      if (!validRange(min, max)) continue;
      double f = std::clamp(double(_originValue[i] - min) / double(max - min), 0.0, 1.0);
      _originOffset[0] = QelPoint(0, -QelTruncToPixel(f * a.h));
    } else {
      float min = visibleMin[0], max = visibleMax[0];
      if (!validRange(min, max)) continue;
      double f = std::clamp(double(_originValue[i] - min) / double(max - min), 0.0, 1.0);
      int32_t x = QelTruncToPixel(f * a.w);
      _originOffset[i] = QelPoint(i == 1 ? x : x - int32_t(a.w), 0);
    }
  }
}

// --- Drawing -----------------------------------------------------------------------------------

void QelChartContainer::drawAll(QelPort* port, const QelRegion& region, const QelRegion* clip) {
  QelDisplay* display = getDisplay();
  display->openDrawing(port, clip);
  beforeDraw(port, getTransformer(), clip);
  // The charts are one run of the object list: what lies before and after it is drawn as any
  // container draws, the run itself through the index.
  const int first = firstChart ? getIndex(firstChart) : int(getCardinal());
  const int end = lastChart ? getIndex(lastChart) + 1 : first;
  drawObjects(port, region, clip, 0, first);
  // The charts stay inside the chart area: a job that started before the window does not run
  // across the axis and its labels.
  const ChartClip charts = chartClip(clip, getTransformer());
  if (!drawIndexedCharts(port, region, charts)) drawRun(port, region, charts);
  drawObjects(port, region, clip, end, int(getCardinal()));
  drawFocus(port, getTransformer(), clip);
  display->closeDrawing();
  // Whatever is drawn under the rubber band replaces the ghost there; it is drawn again below.
  if (_ghostShown && port == this) {
    _ghostShown = false;
    drawGhost();
  }
}

QelChartContainer::ChartClip QelChartContainer::chartClip(const QelRegion* clip,
                                                          const QelTransformer* t) const {
  // One pixel more to the right and below: the top of the x and y ranges maps onto the area's
  // right and bottom edges.
  QelRect area = chartArea;
  area.w = QelClampToUint32(int64_t(area.w) + 1), area.h = QelClampToUint32(int64_t(area.h) + 1);
  if (t) t->apply(area);
  ChartClip charts{clip, QelRegion(area), QelRect()};
  if (clip) {
    charts.area = *clip;
    charts.area.intersection(area);
  }
  // A chart's ink reaches past its box by its markers and line width: a box this far inside
  // the area needs no clip of its own.
  const int64_t reach = int64_t(std::max(_indexMargin, 0)) + 8;
  const QelRect& box = charts.area.getBBox();
  if (charts.area.getCount() == 1 && box.w > 2 * reach && box.h > 2 * reach)
    charts.inside =
        QelRectBetween(box.x + reach, box.y + reach, box.right64() - reach, box.bottom64() - reach);
  return charts;
}

const QelRegion* QelChartContainer::ChartClip::forBox(const QelRect& box) const {
  // Clipping each chart would cost the X server two more requests for every figure drawn.
  return inside.w && inside.contains(box) ? outer : &area;
}

void QelChartContainer::drawChart(QelAbstractChart* chart, QelPort* port, const QelRegion& region,
                                  const ChartClip& clip) {
  if (!isVisible(chart)) return;
  ensureFitted(chart);
  QelRect box;
  chart->boundingBox(box, getTransformer());
  if (region.getBBox().intersects(box) && (region.getCount() == 1 || region.intersects(box)))
    chart->draw(port, getTransformer(), clip.forBox(box));
}

void QelChartContainer::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) {
  QelDisplay* display = getDisplay();
  if (!port || !display) return;
  if (!t) t = getTransformer();
  const ChartClip charts = chartClip(clip, t);
  display->openDrawing(port, clip);
  for (QelGraphic* obj : getObjects()) {
    if (!isVisible(obj)) continue;
    prepareObject(obj);
    if (obj->getProperty(_chartProperty()) == this) {
      QelRect box;
      obj->boundingBox(box, t);
      obj->draw(port, t, charts.forBox(box));
    } else {
      obj->draw(port, t, clip);
    }
  }
  display->closeDrawing();
}

void QelChartContainer::drawRun(QelPort* port, const QelRegion& region, const ChartClip& clip) {
  // Kept as an array in drawing order: walking a hundred thousand charts through the object
  // list's tree costs more than drawing them. Appending keeps it; any other change remakes it.
  if (!_runValid) {
    std::vector<QelGraphic*> objects = getObjects();
    const size_t first = firstChart ? size_t(getIndex(firstChart)) : 0;
    _run.clear();
    for (size_t i = first; i < first + _chartCount && i < objects.size(); ++i)
      _run.push_back(static_cast<QelAbstractChart*>(objects[i]));
    _runValid = true;
  }
  for (QelAbstractChart* chart : _run) drawChart(chart, port, region, clip);
}

bool QelChartContainer::drawIndexedCharts(QelPort* port, const QelRegion& region,
                                          const ChartClip& clip) {
  if (!_commonMapping || _commonXScale <= 0 || !std::isfinite(_commonXScale)) return false;
  // The damaged strip, widened by what a drawing may reach beyond its data, in data x.
  QelRect strip = region.getBBox();
  if (const QelTransformer* t = getTransformer(); t && !t->inverse(strip)) return false;
  const double left = double(strip.x) - _indexMargin - 1,
               right = strip.right64() + _indexMargin + 1;
  // When a quarter of the charts or more are reached, walking the run in order is cheaper than
  // sorting them: the query stops as soon as it knows.
  const size_t most = (size_t(_chartCount) + 3) / 4;
  const double lo = (left - _commonOriginX) / _commonXScale,
               hi = (right - _commonOriginX) / _commonXScale;
  if (_oddCharts.size() >= most || _index.reachesAll(lo, hi)) return false;
  std::vector<QelAbstractChart*> found(_oddCharts.begin(), _oddCharts.end());
  if (!_index.query(lo, hi, found, most - 1)) return false;
  std::vector<std::pair<uint64_t, QelAbstractChart*>> ordered;
  ordered.reserve(found.size());
  for (QelAbstractChart* chart : found) ordered.emplace_back(drawingOrder(chart), chart);
  std::sort(ordered.begin(), ordered.end());
  ordered.erase(std::unique(ordered.begin(), ordered.end()), ordered.end());
  for (const auto& [order, chart] : ordered) drawChart(chart, port, region, clip);
  return true;
}

void QelChartContainer::indexChart(QelAbstractChart* chart) {
  ensureFitted(chart);
  QelFloatRect data;
  chart->chartBBox(data);
  _index.insert(chart, data.minx, data.maxx);
  if (!finite(data.minx) || !finite(data.maxx)) return;
  // Markers, bar widths and line widths reach beyond the data by a number of pixels that does
  // not change with the range.
  QelRect box;
  chart->boundingBox(box);
  const int64_t a = chart->mapToView(QelFloatPoint(data.minx, data.miny), nullptr).x;
  const int64_t b = chart->mapToView(QelFloatPoint(data.maxx, data.miny), nullptr).x;
  const int64_t reach =
      std::max({int64_t(0), std::min(a, b) - box.x, box.right64() - std::max(a, b)});
  _indexMargin = int32_t(std::min<int64_t>(std::max<int64_t>(_indexMargin, reach), 1 << 20));
}

void QelChartContainer::unindexChart(const QelGraphic* chart) {
  _runValid = false;
  _index.remove(chart);
  for (auto it = _oddCharts.begin(); it != _oddCharts.end(); ++it)
    if (static_cast<const QelGraphic*>(*it) == chart) {
      _oddCharts.erase(it);
      break;
    }
}

void QelChartContainer::objectDeleted(QelGraphic* obj) {
  // Called while the object is being destroyed: only its address and its properties are used.
  if (obj && isManaged(obj) && obj->getProperty(_chartProperty()) == this) {
    const int index = getIndex(obj);
    const QelGraphic* first = firstChart;
    const QelGraphic* last = lastChart;
    if (--_chartCount == 0) {
      firstChart = lastChart = nullptr;
    } else {
      if (obj == first) firstChart = static_cast<QelAbstractChart*>(getObjectAt(index + 1));
      if (obj == last) lastChart = static_cast<QelAbstractChart*>(getObjectAt(index - 1));
    }
    unindexChart(obj);
  }
  QelContainer::objectDeleted(obj);
}

QelRect QelChartContainer::ghostRect() const {
  int32_t x = std::min(_anchor.x, _pointer.x), y = std::min(_anchor.y, _pointer.y);
  return QelRect(x, y, uint32_t(std::abs(int64_t(_anchor.x) - _pointer.x)),
                 uint32_t(std::abs(int64_t(_anchor.y) - _pointer.y)));
}

void QelChartContainer::drawGhost() {
  QelDisplay* display = getDisplay();
  if (!_ghostPalette || !display || !getDrawable()) return;
  QelRect r = ghostRect();
  if (r.w == 0 || r.h == 0) return;
  display->openDrawing(this, nullptr);
  display->drawRectangle(this, _ghostPalette, r);
  display->closeDrawing();
  _ghostShown = !_ghostShown;
}

bool QelChartContainer::computePoints(const QelRect& rect, float& xMin, float& xMax, float& yMin,
                                      float& yMax) const {
  const QelRect& a = chartArea;
  if (rect.w == 0 || rect.h == 0 || a.w == 0 || a.h == 0) return false;
  QelRect r = rect;
  if (const QelTransformer* t = getTransformer(); t && !t->inverse(r)) return false;
  const double xs = double(visibleMax[0] - visibleMin[0]) / a.w;
  const double ys = double(yVisibleMax() - yVisibleMin()) / a.h;
  xMin = float(visibleMin[0] + (double(r.x) - a.x) * xs);
  xMax = float(visibleMin[0] + (r.right64() - double(a.x)) * xs);
  yMax = float(yVisibleMin() + (a.bottom64() - double(r.y)) * ys);
  yMin = float(yVisibleMin() + (a.bottom64() - r.bottom64()) * ys);
  return validRange(xMin, xMax) && validRange(yMin, yMax);
}

// --- Accelerators ------------------------------------------------------------------------------

void QelChartContainer::installAccelerators() {
  addAccelerator(ctTranslateRight, QelKeyDown, QelRightArrowKey);
  addAccelerator(ctTranslateLeft, QelKeyDown, QelLeftArrowKey);
  addAccelerator(ctTranslateDown, QelKeyDown, QelDownArrowKey);
  addAccelerator(ctTranslateUp, QelKeyDown, QelUpArrowKey);
  addAccelerator(ctHorizontalZoom, QelKeyDown, 'Z');
  addAccelerator(ctHorizontalUnZoom, QelKeyDown, 'U');
  addAccelerator(ctVerticalZoom, QelKeyDown, 'z');
  addAccelerator(ctVerticalUnZoom, QelKeyDown, 'u');
  addAccelerator(ctHorzontalFitToContents, QelKeyDown, 'F');
  addAccelerator(ctVerticalFitToContents, QelKeyDown, 'f');
  addAccelerator(ctFitAllToContents, QelKeyDown, 'B');
  addAccelerator(ctRubberBand, QelButtonDown, QelLeftButton);
  addAccelerator(ctRubberBand, QelButtonDragged, QelLeftButton);
  addAccelerator(ctRubberBand, QelButtonUp, QelLeftButton);
}

void QelChartContainer::translateStep(QelPosition direction, int sign) {
  const bool horizontal = direction == QelHorizontal;
  QelRectangularScale* scale = horizontal ? scales[0] : (_yIndex >= 0 ? scales[_yIndex] : nullptr);
  float min, max, lmin, lmax;
  getVisibleRange(direction, min, max);
  getLimits(direction, lmin, lmax);
  float step = (max - min) / (scale && scale->getSteps() > 1 ? float(scale->getSteps() - 1) : 4.0f);
  if (sign > 0 && max + step > lmax) step = lmax - max;
  if (sign < 0 && min - step < lmin) step = min - lmin;
  if (!(step > 0)) return;
  if (horizontal)
    translateCharts(QelHorizontal, sign * step, 0, 1);
  else
    translateCharts(QelVertical, 0, sign * step, 1);
}

void QelChartContainer::zoomStep(QelPosition direction, bool in) {
  float min, max, lmin, lmax;
  getVisibleRange(direction, min, max);
  getLimits(direction, lmin, lmax);
  const float w = max - min;
  float a = in ? min + 0.25f * w : min - 0.5f * w;
  float b = in ? max - 0.25f * w : max + 0.5f * w;
  a = std::clamp(a, lmin, lmax);
  b = std::clamp(b, lmin, lmax);
  if (in && !(b > a)) return;
  if (direction == QelHorizontal)
    zoomCharts(QelHorizontal, a, b, 0, 0, 1);
  else
    zoomCharts(QelVertical, 0, 0, a, b, 1);
}

void QelChartContainer::ctTranslateRight(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->translateStep(QelHorizontal, 1);
}
void QelChartContainer::ctTranslateLeft(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->translateStep(QelHorizontal, -1);
}
void QelChartContainer::ctTranslateDown(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->translateStep(QelVertical, -1);
}
void QelChartContainer::ctTranslateUp(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->translateStep(QelVertical, 1);
}
void QelChartContainer::ctHorizontalZoom(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->zoomStep(QelHorizontal, true);
}
void QelChartContainer::ctHorizontalUnZoom(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->zoomStep(QelHorizontal, false);
}
void QelChartContainer::ctVerticalZoom(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->zoomStep(QelVertical, true);
}
void QelChartContainer::ctVerticalUnZoom(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->zoomStep(QelVertical, false);
}
void QelChartContainer::ctHorzontalFitToContents(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->fitChartsToContents(QelHorizontal, 1);
}
void QelChartContainer::ctVerticalFitToContents(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c)) cc->fitChartsToContents(QelVertical, 1);
}
void QelChartContainer::ctFitAllToContents(QelContainer* c, QelEvent&, void*) {
  if (auto* cc = asChartContainer(c))
    cc->fitChartsToContents(QelPosition(QelHorizontal | QelVertical), 1);
}

void QelChartContainer::ctRubberBand(QelContainer* c, QelEvent& event, void*) {
  auto* cc = asChartContainer(c);
  if (!cc) return;
  const QelPoint p(event.x, event.y);
  switch (event.type) {
    case QelButtonDown:
      if (cc->_ghostShown) cc->drawGhost();
      cc->_banding = true;
      cc->_anchor = cc->_pointer = p;
      break;
    case QelButtonDragged:
      if (!cc->_banding) break;
      if (cc->_ghostShown) cc->drawGhost();
      cc->_pointer = p;
      cc->drawGhost();
      break;
    case QelButtonUp: {
      if (!cc->_banding) break;
      if (cc->_ghostShown) cc->drawGhost();
      cc->_banding = false;
      cc->_pointer = p;
      float xMin, xMax, yMin, yMax;
      if (cc->computePoints(cc->ghostRect(), xMin, xMax, yMin, yMax))
        cc->zoomCharts(QelPosition(QelHorizontal | QelVertical), xMin, xMax, yMin, yMax, 1);
      break;
    }
    default:
      break;
  }
}
