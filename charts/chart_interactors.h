// Interactors for charts in a container. The point selector picks the data point under a press
// of its button, within a pick distance; subclasses decide what picking does (doIt) and may
// show a ghost while it goes on. The value draggers ("ChDragY", "SSChDragY", "SChDragY", the
// names the chart kinds give as their default interactors) move one point's value.
#pragma once

#include <cstdint>

#include "display/container.h"

class QelAbstractChart;
class QelChart;
class QelChartData;

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

// Drags the value of one data point of a one-set chart: a press near a point picks it, each
// drag shows as a ghost where the point would go (straight up or down: only the value
// changes), and the release gives the point the value under the pointer and redraws what
// changed. Read-only data is picked but keeps its values.
class QelViewChartInteractorDragY : public QelViewChartInteractorSelectPoint {
 public:
  using QelViewChartInteractorSelectPoint::QelViewChartInteractorSelectPoint;
  ~QelViewChartInteractorDragY() override;
  int handleEvent(QelGraphic* obj, QelEvent& event, QelContainer* container,
                  QelTransformer* t) override;
  const char* className() const override { return "QelViewChartInteractorDragY"; }
  // Starts dragging point `index` (of the chart's one set).
  void doIt(QelChart* chart, unsigned long index, QelContainer* container,
            QelTransformer* t) override;
  // Shows the ghost at the pointer, in place of the one shown before.
  void drawGhost(QelContainer* container, QelTransformer* t) override;

 protected:
  // The set and index of the point within pick distance of `p`; false when there is none.
  virtual bool pick(const QelAbstractChart* chart, const QelPoint& p, const QelTransformer* t,
                    unsigned long& set, unsigned long& index) const;
  // Where the chart draws that point (the ghost moves it from there).
  virtual QelPoint placedPoint(const QelAbstractChart* chart, unsigned long set,
                               unsigned long index, const QelTransformer* t) const;
  virtual QelChartData* dataOf(const QelAbstractChart* chart, unsigned long set) const;
  // The value that puts the point's end at data value `end`.
  virtual float valueFor(const QelAbstractChart* chart, unsigned long set, unsigned long index,
                         float end) const;

 private:
  void start(QelAbstractChart* chart, unsigned long set, unsigned long index,
             QelContainer* container, const QelTransformer* t);
  void eraseGhost(QelContainer* container);
  void finish(QelContainer* container, QelTransformer* t, bool apply);
  QelRect ghostBox() const;

  QelAbstractChart* _chart = nullptr;  // the chart being dragged, null between drags
  unsigned long _set = 0, _index = 0;
  QelPoint _from;  // where the point is drawn
  int32_t _y = 0;  // where the pointer is
  bool _ghostShown = false;
};

// The same for side-by-side charts: the point is picked in its set's slot.
class QelViewSideBySideChartInteractorDragY : public QelViewChartInteractorDragY {
 public:
  using QelViewChartInteractorDragY::QelViewChartInteractorDragY;
  const char* className() const override { return "QelViewSideBySideChartInteractorDragY"; }

 protected:
  bool pick(const QelAbstractChart* chart, const QelPoint& p, const QelTransformer* t,
            unsigned long& set, unsigned long& index) const override;
  QelPoint placedPoint(const QelAbstractChart* chart, unsigned long set, unsigned long index,
                       const QelTransformer* t) const override;
  QelChartData* dataOf(const QelAbstractChart* chart, unsigned long set) const override;
};

// The same for stacked charts: the end of a segment is dragged, and the point's value becomes
// the distance from the segment's start on its stack.
class QelViewStackedChartInteractorDragY : public QelViewSideBySideChartInteractorDragY {
 public:
  using QelViewSideBySideChartInteractorDragY::QelViewSideBySideChartInteractorDragY;
  const char* className() const override { return "QelViewStackedChartInteractorDragY"; }

 protected:
  bool pick(const QelAbstractChart* chart, const QelPoint& p, const QelTransformer* t,
            unsigned long& set, unsigned long& index) const override;
  QelPoint placedPoint(const QelAbstractChart* chart, unsigned long set, unsigned long index,
                       const QelTransformer* t) const override;
  float valueFor(const QelAbstractChart* chart, unsigned long set, unsigned long index,
                 float end) const override;
};

// Registers the value draggers under "ChDragY", "SSChDragY" and "SChDragY"; safe to call many
// times.
int QelChartInteractorModuleInit();
