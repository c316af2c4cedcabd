// Interactors for charts in a container. The point selector picks the data point under a press
// of its button, within a pick distance; subclasses decide what picking does (doIt) and may
// show a ghost while it goes on.
#pragma once

#include <cstdint>

#include "display/container.h"

class QelChart;

class QelViewChartInteractorSelectPoint : public QelViewObjectInteractor {
 public:
  // `button` is a QelButton bit; a point within `pickDistance` pixels of the press is picked.
  explicit QelViewChartInteractorSelectPoint(uint16_t button = 1, unsigned int pickDistance = 4);
  ~QelViewChartInteractorSelectPoint() override;
  // A press of the button on a chart picks the point under it (whichPoint) and calls doIt.
  int handleEvent(QelGraphic* obj, QelEvent& event, QelContainer* container,
                  QelTransformer* t) override;
  virtual const char* className() const { return "QelViewChartInteractorSelectPoint"; }
  // What picking point `index` of `chart` does; nothing here.
  virtual void doIt(QelChart* chart, unsigned long index, QelContainer* container,
                    QelTransformer* t);
  // Shows what the interaction would do; nothing here.
  virtual void drawGhost(QelContainer* container, QelTransformer* t);

  uint16_t getButton() const { return _button; }
  unsigned int getPickDistance() const { return _pickDistance; }

 private:
  uint16_t _button;
  unsigned int _pickDistance;
};
