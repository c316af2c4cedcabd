#include "charts/chart_interactors.h"

#include "charts/chart.h"
#include "display/event.h"

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
  if (index == static_cast<unsigned long>(-1)) return 0;
  doIt(chart, index, container, t);
  return 1;
}

void QelViewChartInteractorSelectPoint::doIt(QelChart*, unsigned long, QelContainer*,
                                             QelTransformer*) {}

void QelViewChartInteractorSelectPoint::drawGhost(QelContainer*, QelTransformer*) {}
