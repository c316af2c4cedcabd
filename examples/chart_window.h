// The scene demo's second window: every chart kind over a few live series. A timer moves the
// series on every tick (the oldest value drops out, a new one comes in), and the charts, which
// share the series, follow.
#pragma once

#include <X11/Intrinsic.h>

#include <memory>
#include <vector>

class QelChartDataYPoints;
class QelContainer;
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
  static void onTick(QelTimer* timer, void* window);
  static void onClose(Widget, XtPointer window, XtPointer);

  QelDisplay* _display;
  Widget _shell;
  QelContainer* _container;
  std::unique_ptr<QelTimer> _timer;
  std::vector<QelChartDataYPoints*> _series;  // locked here, shared by the charts
  unsigned int _seed = 12345;
};
