#include "examples/chart_container_window.h"

#include <Xm/Protocols.h>
#include <Xm/Xm.h>

#include <cmath>
#include <vector>

#include "charts/chart.h"
#include "charts/chart_container.h"
#include "charts/chart_interactors.h"
#include "charts/chart_kinds.h"
#include "charts/multi_chart.h"
#include "display/color.h"
#include "display/display.h"
#include "display/object_interactors.h"
#include "display/palette.h"

namespace {

constexpr uint32_t kWidth = 640, kHeight = 420;
constexpr int kPoints = 23;

// A month of made-up readings: y = f(x) at x = 1 ... kPoints, shared by nobody else.
QelChartDataPoints* series(double (*f)(int)) {
  auto* points = new QelFloatPoint[kPoints];
  for (int i = 0; i < kPoints; ++i) points[i] = QelFloatPoint(float(i + 1), float(f(i + 1)));
  return new QelChartDataPoints(kPoints, points, 1);
}

}  // namespace

ChartContainerWindow::ChartContainerWindow(QelDisplay* display, Widget appShell) {
  QelChartInteractorModuleInit();
  _shell = XtVaCreatePopupShell("chartContainer", topLevelShellWidgetClass, appShell, XmNtitle,
                                "Chart container", XmNdeleteResponse, XmDO_NOTHING, nullptr);
  Atom deleteWindow = XmInternAtom(XtDisplay(_shell), const_cast<char*>("WM_DELETE_WINDOW"), False);
  XmAddWMProtocolCallback(_shell, deleteWindow, onClose, this);
  _container = new QelChartContainer(display, _shell, QelRect(10, 10, kWidth - 20, kHeight - 20),
                                     QelPoint(0, 0), QelLeft, QelPosition(QelLeft | QelBottom), 1);
  _container->setBackground(display->getColor("white"));
  auto palette = [display](const char* colour) {
    return display->getPalette(nullptr, display->getColor(colour));
  };
  _container->setLegend(new QelChartLegend(display, QelPoint(kWidth - 150, 14), palette("black")));

  auto* bars = new QelBarChart(display, series([](int x) { return 20 + 12 * std::sin(x / 3.0); }),
                               4, QelVertical, palette("light steel blue"));
  auto* stacked = new QelStackedBarChart(display, 6, palette("sea green"));
  stacked->addData(series([](int x) { return 4.0 + x % 5; }), palette("sea green"));
  stacked->addData(series([](int x) { return 2.0 + (x * 7) % 4; }), palette("gold"));
  auto* line = new QelPolylineChart(
      display, series([](int x) { return 30 + 10 * std::cos(x / 4.0); }), palette("firebrick"));
  const std::pair<QelAbstractChart*, const char*> charts[] = {
      {bars, "Bars"}, {stacked, "Stacked"}, {line, "Polyline"}};
  for (const auto& [chart, name] : charts) {
    chart->setName(name);
    _container->addChart(chart, 0);
    _container->addToLegend(chart, name, 0);
    // Each kind names the interactor that edits it: a drag on a point moves its value.
    QelSetDefaultInteractor(_container, chart);
  }
  // Bars stand on zero: the value axis starts there.
  _container->zoomCharts(QelPosition(QelHorizontal | QelVertical), 0, kPoints + 1, 0, 48, 0);
  _container->setDoubleBuffering(1);
}

ChartContainerWindow::~ChartContainerWindow() {
  delete _container;  // the charts and the legend go with it
  XtDestroyWidget(_shell);
}

void ChartContainerWindow::show() {
  XtPopup(_shell, XtGrabNone);
  _container->setFocus();
}

void ChartContainerWindow::hide() {
  XtPopdown(_shell);
}

void ChartContainerWindow::onClose(Widget, XtPointer window, XtPointer) {
  static_cast<ChartContainerWindow*>(window)->hide();
}
