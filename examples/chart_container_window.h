// The scene demo's third window: a chart container with a value axis on the left, a bottom
// axis, a legend and three charts (a polyline, bars and a stacked pair) over fixed data. Its
// keys scroll and zoom (arrows, Z/U across, z/u up and down, F/f/B fit to the data), a drag
// with the left button on empty space zooms into the rectangle, and a drag on a data point
// moves that point's value.
#pragma once

#include <X11/Intrinsic.h>

class QelChartContainer;
class QelDisplay;

class ChartContainerWindow {
 public:
  // A top-level window of the application whose shell is `appShell`, not shown yet.
  ChartContainerWindow(QelDisplay* display, Widget appShell);
  ~ChartContainerWindow();
  ChartContainerWindow(const ChartContainerWindow&) = delete;
  ChartContainerWindow& operator=(const ChartContainerWindow&) = delete;

  void show();
  void hide();
  Widget shell() const { return _shell; }
  QelChartContainer* container() const { return _container; }

 private:
  static void onClose(Widget, XtPointer window, XtPointer);

  Widget _shell;
  QelChartContainer* _container;
};
