// The scene demo's second window: every chart kind over a few live series, each on a value axis
// and a sample axis. A timer moves the series on every tick (the oldest value drops out, a new
// one comes in); the charts, which share the series, follow, and the sample axes are relabelled.
// Below the panels a horizontal scroll bar sets how often the series move and, at the right, a
// vertical one how far they may jump; message labels say what each does and what it is set to.
#pragma once

#include <X11/Intrinsic.h>

#include <memory>
#include <vector>

#include "graphics/geometry.h"

class QelChartDataYPoints;
class QelContainer;
class QelPalette;
class QelMessageLabel;
class QelRectangularScale;
class QelScrollBar;
class QelDisplay;
class QelTimer;

class ChartWindow {
 public:
  // A top-level window of the application whose shell is `appShell`, not shown yet.
  ChartWindow(QelDisplay* display, Widget appShell);
  ~ChartWindow();
  ChartWindow(const ChartWindow&) = delete;
  ChartWindow& operator=(const ChartWindow&) = delete;

  // Pops the window up and starts the series moving; hide stops them.
  void show();
  void hide();
  Widget shell() const { return _shell; }
  QelContainer* container() const { return _container; }
  // Moves every series on by one value and redraws.
  void step();

 private:
  void addPanels();
  void addAxes(const QelRect& area, float top, int32_t inset, QelPalette* palette);
  // Labels the sample axes with the numbers of the samples now shown.
  void relabel();
  void addControls(uint32_t width, uint32_t height);
  // Shows the controls' values and applies the tick period.
  void controlsChanged();
  static void onTick(QelTimer* timer, void* window);
  static void onClose(Widget, XtPointer window, XtPointer);

  QelDisplay* _display;
  Widget _shell;
  QelContainer* _container;
  std::unique_ptr<QelTimer> _timer;
  std::vector<QelChartDataYPoints*> _series;      // locked here, shared by the charts
  std::vector<QelRectangularScale*> _sampleAxes;  // owned by the container
  unsigned long _steps = 0;                       // samples taken so far
  unsigned int _seed = 12345;
  QelScrollBar* _period = nullptr;  // milliseconds between steps
  QelScrollBar* _jump = nullptr;    // largest change of a value in one step
  QelMessageLabel* _periodText = nullptr;
  QelMessageLabel* _jumpText = nullptr;
};
