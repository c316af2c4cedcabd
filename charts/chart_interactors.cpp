#include "charts/chart_interactors.h"

#include <cmath>
#include <cstdlib>

#include "base/module_init.h"
#include "charts/chart.h"
#include "charts/chart_container.h"
#include "charts/multi_chart.h"
#include "display/display.h"
#include "display/event.h"
#include "display/object_interactors.h"
#include "display/palette.h"
#include "graphics/region.h"

namespace {

constexpr unsigned long kNone = static_cast<unsigned long>(-1);

bool near(const QelPoint& a, const QelPoint& b, unsigned int size) {
  return std::abs(int64_t(a.x) - b.x) <= size && std::abs(int64_t(a.y) - b.y) <= size;
}

// A press of the button that picks points: the second click of a double click starts a drag
// all the same.
bool isPressOf(const QelEvent& event, uint16_t button) {
  return (event.type == QelButtonDown || event.type == QelDoubleClick ||
          event.type == QelMultiClick) &&
         event.button == button;
}

}  // namespace

// --- Point selector ----------------------------------------------------------------------------

QelViewChartInteractorSelectPoint::QelViewChartInteractorSelectPoint(uint16_t button,
                                                                     unsigned int pickDistance)
    : _button(button), _pickDistance(pickDistance) {}

QelViewChartInteractorSelectPoint::~QelViewChartInteractorSelectPoint() = default;

int QelViewChartInteractorSelectPoint::handleEvent(QelGraphic* obj, QelEvent& event,
                                                   QelContainer* container, QelTransformer* t) {
  auto* chart = dynamic_cast<QelChart*>(obj);
  if (!chart || event.type != QelButtonDown || event.button != _button) return 0;
  QelPoint p(event.x, event.y);
  unsigned long index = chart->whichPoint(_pickDistance, p, p, t);
  if (index == kNone) return 0;
  doIt(chart, index, container, t);
  return 1;
}

void QelViewChartInteractorSelectPoint::doIt(QelChart*, unsigned long, QelContainer*,
                                             QelTransformer*) {}

void QelViewChartInteractorSelectPoint::drawGhost(QelContainer*, QelTransformer*) {}

// --- Value dragger -----------------------------------------------------------------------------

QelViewChartInteractorDragY::~QelViewChartInteractorDragY() = default;

int QelViewChartInteractorDragY::handleEvent(QelGraphic* obj, QelEvent& event,
                                             QelContainer* container, QelTransformer* t) {
  const QelPoint p(event.x, event.y);
  if (isPressOf(event, getButton())) {
    auto* chart = dynamic_cast<QelAbstractChart*>(obj);
    unsigned long set = 0, index = 0;
    if (!chart || !pick(chart, p, t, set, index)) return 0;
    start(chart, set, index, container, t);
    return 1;
  }
  // Only the chart being dragged follows the pointer; anything else goes on to the container
  // (the chart container's rubber band, for one).
  if (!_chart || obj != _chart) return 0;
  if (event.type == QelButtonDragged) {
    _y = p.y;
    drawGhost(container, t);
    return 1;
  }
  if (event.type == QelButtonUp && event.button == getButton()) {
    _y = p.y;
    finish(container, t, true);
    return 1;
  }
  return 0;
}

void QelViewChartInteractorDragY::doIt(QelChart* chart, unsigned long index,
                                       QelContainer* container, QelTransformer* t) {
  start(chart, 0, index, container, t);
}

void QelViewChartInteractorDragY::start(QelAbstractChart* chart, unsigned long set,
                                        unsigned long index, QelContainer* container,
                                        const QelTransformer* t) {
  if (_chart) finish(container, nullptr, false);
  _chart = chart, _set = set, _index = index;
  _from = placedPoint(chart, set, index, t);
  _y = _from.y;
}

QelRect QelViewChartInteractorDragY::ghostBox() const {
  const int64_t size = getPickDistance();
  return QelRectBetween(_from.x - size, std::min<int64_t>(_from.y, _y - size), _from.x + size + 1,
                        std::max<int64_t>(_from.y, _y + size) + 1);
}

void QelViewChartInteractorDragY::eraseGhost(QelContainer* container) {
  if (!_ghostShown) return;
  _ghostShown = false;
  // Redrawn from the scene rather than drawn again in XOR: a redraw of the container while the
  // drag goes on may already have covered the ghost, and a second XOR would then leave a trace.
  QelRegion area(ghostBox());
  container->reDraw(&area);
}

void QelViewChartInteractorDragY::drawGhost(QelContainer* container, QelTransformer*) {
  if (!_chart || !container) return;
  eraseGhost(container);
  QelDisplay* display = container->getDisplay();
  if (!display || !display->getXDisplay() || !container->getDrawable()) return;
  QelPalette* palette = display->getPalette(
      display->defaultBackground(), display->defaultForeground(), nullptr, nullptr, nullptr,
      nullptr, 0, QelFillPattern, QelArcPie, QelEvenOddRule, QelDrawModeXor);
  if (!palette) return;
  palette->lock();
  const int32_t size = int32_t(std::min(getPickDistance(), 1000u));
  display->openDrawing(container, nullptr);
  display->drawLine(container, palette, _from, QelPoint(_from.x, _y));
  display->drawRectangle(
      container, palette,
      QelRect(QelClampToInt32(int64_t(_from.x) - size), QelClampToInt32(int64_t(_y) - size),
              uint32_t(2 * size + 1), uint32_t(2 * size + 1)));
  display->closeDrawing();
  palette->unLock();
  _ghostShown = true;
}

void QelViewChartInteractorDragY::finish(QelContainer* container, QelTransformer* t, bool apply) {
  QelAbstractChart* chart = _chart;
  _chart = nullptr;
  if (container) eraseGhost(container);
  _ghostShown = false;
  if (!apply || !chart || !container) return;
  QelChartData* data = dataOf(chart, _set);
  QelFloatPoint end, point;
  if (!data || data->isReadOnly() || _index >= data->getCount() ||
      !chart->mapFromView(QelPoint(_from.x, _y), t, end) || !std::isfinite(end.y))
    return;
  QelRect before, after;
  chart->boundingBox(before, t);
  data->getPoint(_index, point);
  data->setPoint(_index, QelFloatPoint(point.x, valueFor(chart, _set, _index, end.y)));
  // A chart container widens its limits to the new value; the mapping stays what it was.
  if (auto* charts = dynamic_cast<QelChartContainer*>(container)) charts->updateChart(chart, 0);
  chart->boundingBox(after, t);
  QelRegion damaged(before);
  damaged.add(after);
  container->reDraw(&damaged);
}

bool QelViewChartInteractorDragY::pick(const QelAbstractChart* chart, const QelPoint& p,
                                       const QelTransformer* t, unsigned long& set,
                                       unsigned long& index) const {
  auto* one = dynamic_cast<const QelChart*>(chart);
  if (!one) return false;
  set = 0;
  index = one->whichPoint(getPickDistance(), p, p, t);
  return index != kNone;
}

QelPoint QelViewChartInteractorDragY::placedPoint(const QelAbstractChart* chart, unsigned long set,
                                                  unsigned long index,
                                                  const QelTransformer* t) const {
  QelPoint p;
  if (QelChartData* data = dataOf(chart, set); data && index < data->getCount())
    chart->getDataPoint(data, index, p, t);
  return p;
}

QelChartData* QelViewChartInteractorDragY::dataOf(const QelAbstractChart* chart,
                                                  unsigned long) const {
  auto* one = dynamic_cast<const QelChart*>(chart);
  return one ? one->getData() : nullptr;
}

float QelViewChartInteractorDragY::valueFor(const QelAbstractChart*, unsigned long, unsigned long,
                                            float end) const {
  return end;
}

// --- Side by side ------------------------------------------------------------------------------

bool QelViewSideBySideChartInteractorDragY::pick(const QelAbstractChart* chart, const QelPoint& p,
                                                 const QelTransformer* t, unsigned long& set,
                                                 unsigned long& index) const {
  auto* sides = dynamic_cast<const QelSideBySideChart*>(chart);
  if (!sides) return false;
  int which = -1;
  index = sides->whichDataPoint(getPickDistance(), p, t, which);
  set = static_cast<unsigned long>(which);
  return which >= 0 && index != kNone;
}

QelPoint QelViewSideBySideChartInteractorDragY::placedPoint(const QelAbstractChart* chart,
                                                            unsigned long set, unsigned long index,
                                                            const QelTransformer* t) const {
  QelPoint p;
  if (auto* sides = dynamic_cast<const QelSideBySideChart*>(chart))
    sides->getDataRelativePoint(set, index, p, t);
  return p;
}

QelChartData* QelViewSideBySideChartInteractorDragY::dataOf(const QelAbstractChart* chart,
                                                            unsigned long set) const {
  auto* multi = dynamic_cast<const QelMultiChart*>(chart);
  return multi ? multi->getData(set) : nullptr;
}

// --- Stacked -----------------------------------------------------------------------------------

bool QelViewStackedChartInteractorDragY::pick(const QelAbstractChart* chart, const QelPoint& p,
                                              const QelTransformer* t, unsigned long& set,
                                              unsigned long& index) const {
  auto* stack = dynamic_cast<const QelStackedChart*>(chart);
  if (!stack) return false;
  // The segment ends lie on their stacks, not on the sets' own values: test each one.
  for (unsigned long k = 0; k < stack->getDataCount(); ++k) {
    const QelChartData* data = stack->getData(k);
    for (unsigned long i = 0; data && i < data->getCount(); ++i) {
      QelPoint end;
      stack->getDataStackedPoint(k, i, end, t);
      if (near(end, p, getPickDistance())) {
        set = k, index = i;
        return true;
      }
    }
  }
  return false;
}

QelPoint QelViewStackedChartInteractorDragY::placedPoint(const QelAbstractChart* chart,
                                                         unsigned long set, unsigned long index,
                                                         const QelTransformer* t) const {
  QelPoint p;
  if (auto* stack = dynamic_cast<const QelStackedChart*>(chart))
    stack->getDataStackedPoint(set, index, p, t);
  return p;
}

float QelViewStackedChartInteractorDragY::valueFor(const QelAbstractChart* chart, unsigned long set,
                                                   unsigned long index, float end) const {
  // A positive value stacks on the positive values below it, a negative one under the negative
  // ones: an end between the two stacks' tops means the value 0.
  auto* stack = dynamic_cast<const QelStackedChart*>(chart);
  if (!stack) return end;
  double up = 0, down = 0;
  for (unsigned long k = 0; k < set; ++k) {
    const QelChartData* data = stack->getData(k);
    if (!data || index >= data->getCount()) continue;
    QelFloatPoint p;
    data->getPoint(index, p);
    if (!std::isfinite(p.y)) continue;
    (p.y >= 0 ? up : down) += p.y;
  }
  if (end >= up) return float(end - up);
  if (end <= down) return float(end - down);
  return 0;
}

int QelChartInteractorModuleInit() {
  static int state = 0;
  QelChartContainerModuleInit();
  QelContainerInteractorModuleInit();
  return QelInitializeOnce(state, [] {
    QelRegisterObjectInteractor("ChDragY", new QelViewChartInteractorDragY);
    QelRegisterObjectInteractor("SSChDragY", new QelViewSideBySideChartInteractorDragY);
    QelRegisterObjectInteractor("SChDragY", new QelViewStackedChartInteractorDragY);
  });
}
