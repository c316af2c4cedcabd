// The job chart: the one window the library offers its host. One row per job slot, labelled on
// the job axis; each job a segment along its row; a time axis in seconds, minutes or hours with
// its caption, and a scroll bar under it that moves the visible time window and follows the
// present while it stands at its right end. A click on a job selects it and calls the host.
#pragma once

#include <X11/Intrinsic.h>

#include <cstdint>

#include "charts/chart_container.h"
#include "charts/chart_interactors.h"
#include "kestrel.h"

class Ko_timeline;
class QelDrawSelection;
class QelMessageLabel;
class QelRectangularScale;
class QelScrollBar;

// The click handler every job segment shares: a press selects the segment, frames it and hands
// the job's user data to the host.
class KoChartInteractor : public QelViewChartInteractorSelectPoint {
 public:
  KoChartInteractor();
  ~KoChartInteractor() override;
  int handleEvent(QelGraphic* graphic, QelEvent& event, QelContainer* container,
                  QelTransformer* t) override;

  QelDrawSelection* getSelection() const { return selection; }

 private:
  QelDrawSelection* selection = nullptr;
};

class Ko_chart : public QelChartContainer {
 public:
  Ko_chart(Widget host, char** names, int32_t count);
  // The same on a display already opened on the host's connection (the entry point checks it
  // can be used before anything is built on it).
  Ko_chart(Widget host, char** names, int32_t count, QelDisplay* display);
  ~Ko_chart() override;
  // Destroys the chart and then its display. Asked from inside the host's callback (a click is
  // being handled), it is done as soon as the handling of that click returns.
  static void destroy(Ko_chart* chart);

  void setYaxisLabels(char** names);
  void setElapsedTime(float time);
  void scrollToTime(float time);
  void setViewableTime(float width);
  int32_t startJobTracking(const char* name, float start, void* userData);
  void stopJobTracking(int32_t jobID, int32_t failed);
  void updateActiveJobs(float now);
  void setTimeUnits(KoTimeUnit unit);
  static QelDisplay* openDisplay(Widget host);
  // Whole axis units: both ends truncated toward zero, and at least one apart.
  static void roundMinMax(float& min, float& max);

  void handleResize(QelRect& rect) override;
  // A whole redraw repaints only what changed since the last one when the chart knows it: the
  // running jobs' growth, or nothing. Any other change to the scene that is not painted at
  // once must say so (sceneChanged) to have the next whole redraw repaint everything.
  void reDraw(const QelRegion* region = nullptr) override;
  void sceneChanged() { painted = false; }
  void updateScaleLabels(QelPosition position) const override;
  void validate(float& xMin, float& xMax, float& yMin, float& yMax) override;
  void callInput(QelEvent& event) override;

  KoUserCallback userCallback = nullptr;

  // Read by the entry points and the tests.
  float getElapsedTime() const { return elapsedTime; }
  float getStartTime() const { return startTime; }
  float getEndTime() const { return endTime; }
  float getViewableTime() const { return viewableTime; }
  KoTimeUnit getTimeUnits() const { return timeUnits; }
  float getXScaleFactor() const { return xScaleFactor; }
  QelScrollBar* getScrollBar() const { return scrollBar; }
  QelRectangularScale* getTimeScale() const { return timeScale; }
  QelRectangularScale* getJobScale() const { return jobScale; }
  QelMessageLabel* getTimeAxisLabel() const { return timeAxisLabel; }
  KoChartInteractor* getInteractor() const { return interactor; }
  Ko_timeline* getTimeLine(int32_t i) const {
    return timeLines && i >= 0 && i < numTimeLines ? timeLines[i] : nullptr;
  }
  int32_t getNumTimeLines() const { return numTimeLines; }
  const char* getYAxisLabel(int32_t i) const {
    return yAxisLabels && i >= 0 && i < numYAxisLabels ? yAxisLabels[i] : nullptr;
  }
  int32_t getNumYAxisLabels() const { return numYAxisLabels; }
  QelDisplay* getChartDisplay() const { return display; }

  Ko_chart(const Ko_chart&) = delete;
  Ko_chart& operator=(const Ko_chart&) = delete;

 private:
  static void scrolled(QelGraphic* bar, void* chart);
  static void hostResized(Widget host, XtPointer chart, XEvent* event, Boolean*);
  // The host destroyed its widget (and with it the drawing area) before the chart.
  static void hostDestroyed(Widget host, XtPointer chart, XtPointer);
  // Gives the drawing area the host's size (the view's resize then lays the chart out).
  void fitToHost();
  // The scroll bar's range, value and slider for the window, from 0 to `end`.
  void setScrollBar(float end);
  // What a whole redraw depends on besides the objects: the ranges, the layout, the units.
  struct SceneKey {
    float x0, x1, y0, y1, units;
    QelRect area;
    uint32_t width, height;
    bool operator==(const SceneKey& o) const {
      return x0 == o.x0 && x1 == o.x1 && y0 == o.y0 && y1 == o.y1 && units == o.units &&
             area == o.area && width == o.width && height == o.height;
    }
  };
  SceneKey sceneKey() const;

  KoChartInteractor* interactor = nullptr;
  Widget systemView = nullptr;
  QelDisplay* display = nullptr;
  QelScrollBar* scrollBar = nullptr;
  QelRectangularScale* timeScale = nullptr;
  QelRectangularScale* jobScale = nullptr;
  QelMessageLabel* timeAxisLabel = nullptr;
  char** yAxisLabels = nullptr;
  Ko_timeline** timeLines = nullptr;
  int32_t numTimeLines = 0;
  int32_t numYAxisLabels = 0;
  float startTime = 0;
  float endTime = 1.0f;
  float yMin = 0;
  float yMax = 0;
  float viewableTime = 1.0f;
  float elapsedTime = 0;
  KoTimeUnit timeUnits = KoSeconds;
  float xScaleFactor = 1.0f;
  Widget host = nullptr;
  // The scene as last painted whole, and what has changed in it since: the area the running
  // jobs grew over, the scroll bar.
  void damage(const QelRect& area);
  bool painted = false;
  SceneKey paintedKey{};
  QelRect growth;
  bool grown = false;
  // Input being handled (nested when the host's callback runs a loop of its own), and whether the
  // host asked meanwhile for the chart to go.
  int32_t handlingInput = 0;
  bool destroyWhenDone = false;
};
