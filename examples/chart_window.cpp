#include "examples/chart_window.h"

#include <cstdio>

#include <Xm/Protocols.h>
#include <Xm/Xm.h>

#include "charts/chart_kinds.h"
#include "charts/multi_chart.h"
#include "charts/scale.h"
#include "display/container.h"
#include "display/display.h"
#include "display/main_loop.h"
#include "gadgets/message_label.h"
#include "gadgets/scroll_bar.h"
#include "graphics/rectangle.h"
#include "graphics/transformer.h"

namespace {

constexpr unsigned long kPoints = 24;  // values per series
constexpr float kTop = 100;            // series values stay in 0 .. kTop
constexpr int kColumns = 4, kRows = 2;
constexpr int32_t kPanelWidth = 190, kPanelHeight = 176, kGap = 20, kCaptionHeight = 18;
// Room inside a panel for its value axis on the left and its sample axis below.
constexpr int32_t kAxisWidth = 30, kAxisHeight = 22;
constexpr int kTickMilliseconds = 250;
// The control strip under the panels and the bar at their right.
constexpr int32_t kControlsHeight = 70, kSideWidth = 70;

// A line of text above a panel. The demo's own small graphic: the toolkit draws text through the
// display, and a graphic only has to say where.
class Caption : public QelSimpleGraphic {
 public:
  Caption(QelDisplay* display, const char* text, const QelRect& rect, QelPalette* palette)
      : QelSimpleGraphic(display, palette), _text(text), _rect(rect) {}
  void draw(QelPort* port, const QelTransformer* t, const QelRegion*) const override {
    QelRect r = _rect;
    if (t) t->apply(r);
    if (const QelPalette* palette = drawingPalette())
      getDisplay()->drawLabel(port, palette, _text, r, QelLeft);
  }
  void boundingBox(QelRect& rect, const QelTransformer* t) const override {
    rect = _rect;
    if (t) t->apply(rect);
  }
  void applyTransform(const QelTransformer* t) override {
    if (t) t->apply(_rect);
  }
  QelGraphic* copy() const override {
    return new Caption(getDisplay(), _text, _rect, getPalette());
  }
  void write(QelOutputFile&) const override {}

 private:
  const char* _text;
  QelRect _rect;
};

// The panel's plotting area, below its caption and right of and above its axes' labels.
QelRect panelArea(int index) {
  int32_t x = kGap + (index % kColumns) * (kPanelWidth + kGap);
  int32_t y = kGap + (index / kColumns) * (kPanelHeight + kGap);
  return QelRect(x + kAxisWidth, y + kCaptionHeight, kPanelWidth - kAxisWidth,
                 kPanelHeight - kCaptionHeight - kAxisHeight);
}

// Fixed mappings rather than adjust(): the series move, the axes should not. Indices run across
// the area (`inset` pixels in from each side, room for bars), values 0 .. top up it.
void mapInto(QelAbstractChart* chart, const QelRect& area, float top, int32_t inset) {
  float xScale = float(int32_t(area.w) - 2 * inset) / float(kPoints - 1);
  chart->setOrigin(QelPoint(area.x + inset, area.y + int32_t(area.h) - 1));
  chart->setScales(xScale, float(area.h - 4) / top);
}

}  // namespace

ChartWindow::ChartWindow(QelDisplay* display, Widget appShell) : _display(display) {
  const uint32_t width = kGap + kColumns * (kPanelWidth + kGap) + kSideWidth;
  const uint32_t height = kGap + kRows * (kPanelHeight + kGap) + kControlsHeight;
  _shell = XtVaCreatePopupShell("charts", topLevelShellWidgetClass, appShell, XmNtitle,
                                "Live charts", XmNdeleteResponse, XmDO_NOTHING, nullptr);
  Atom deleteWindow = XmInternAtom(XtDisplay(_shell), const_cast<char*>("WM_DELETE_WINDOW"), False);
  XmAddWMProtocolCallback(_shell, deleteWindow, onClose, this);
  _container = new QelContainer(display, _shell, QelRect(0, 0, width, height));
  _container->setBackground(display->getColor("white"));
  for (int i = 0; i < 3; ++i) {
    auto* series = new QelChartDataYPoints(kPoints, nullptr, 1);
    series->lock();
    _series.push_back(series);
  }
  for (unsigned long i = 0; i < kPoints; ++i) step();
  addPanels();
  relabel();
  addControls(width, height);
  _container->setDoubleBuffering(1);
  _timer = std::make_unique<QelTimer>(display, 0, _period->getValue(), onTick, this);
}

ChartWindow::~ChartWindow() {
  _timer.reset();
  delete _container;  // the charts go with it and let go of the series
  for (QelChartDataYPoints* series : _series) series->unLock();
  XtDestroyWidget(_shell);
}

void ChartWindow::addPanels() {
  QelDisplay* d = _display;
  auto palette = [d](const char* colour) { return d->getPalette(nullptr, d->getColor(colour)); };
  QelChartDataYPoints *a = _series[0], *b = _series[1], *c = _series[2];

  auto* sideBySide = new QelSideBySideBarChart(d, 3);
  sideBySide->addData(b, palette("steel blue"));
  sideBySide->addData(c, palette("tomato"));
  auto* stacked = new QelStackedBarChart(d, 5);
  stacked->addData(a, palette("sea green"));
  stacked->addData(b, palette("gold"));

  struct Panel {
    const char* caption;
    QelAbstractChart* chart;
    float top;
    int32_t inset;
  };
  const Panel panels[] = {
      {"Polyline", new QelPolylineChart(d, a, palette("navy")), kTop, 2},
      {"Polygon", new QelPolygonChart(d, a, palette("light sky blue")), kTop, 2},
      {"Stairs", new QelStairChart(d, b, palette("pale green")), kTop, 2},
      {"Bars", new QelBarChart(d, c, 3, QelVertical, palette("dark orange")), kTop, 6},
      {"Scatter", new QelScatterChart(d, a, 3, QelMarkerFilledDiamond, palette("purple")), kTop, 6},
      {"3-D bars", new Qel3dBarChart(d, b, 5, 4, palette("orange")), kTop, 8},
      {"Side by side", sideBySide, kTop, 6},
      {"Stacked", stacked, 2 * kTop, 6},
  };
  QelPalette* frame = palette("gray80");
  QelPalette* text = palette("black");
  QelPalette* axis = palette("dark slate gray");
  for (int i = 0; i < int(sizeof panels / sizeof panels[0]); ++i) {
    QelRect area = panelArea(i);
    _container->addObject(
        new Caption(d, panels[i].caption,
                    QelRect(area.x, area.y - kCaptionHeight, area.w, kCaptionHeight), text),
        0);
    _container->addObject(new QelRectangle(d, area, frame), 0);
    mapInto(panels[i].chart, area, panels[i].top, panels[i].inset);
    _container->addObject(panels[i].caption, panels[i].chart, 0);
    addAxes(area, panels[i].top, panels[i].inset, axis);
  }
}

// Values 0 ... top up the left edge, five labels with a minor tick between each two; below, one
// tick per sample under the points, labelled with the sample's number. Those labels change on
// every step and are too many to show at once: the scale skips the ones that would overlap.
void ChartWindow::addAxes(const QelRect& area, float top, int32_t inset, QelPalette* palette) {
  const int32_t bottom = area.y + int32_t(area.h) - 1;
  _container->addObject(
      new QelRectangularScale(_display, QelPoint(area.x, bottom), area.h - 4, "%.0f", 0, top,
                              QelBottom, QelLeft, 5, 2, 4, 2, palette),
      0);
  auto* samples = new QelRectangularScale(_display, QelPoint(area.x + inset, bottom + 1),
                                          area.w - 2 * uint32_t(inset), nullptr, 0, 0, QelLeft,
                                          QelBottom, kPoints, 0, 4, 0, palette);
  samples->setKeepAllLabels(0);
  _container->addObject(samples, 0);
  _sampleAxes.push_back(samples);
}

void ChartWindow::relabel() {
  const float last = float(_steps), first = last - float(kPoints - 1);
  for (QelRectangularScale* axis : _sampleAxes) axis->setLabels(kPoints, first, last, "%.0f");
}

void ChartWindow::step() {
  // Each series wanders up and down in its range, deterministically.
  for (size_t s = 0; s < _series.size(); ++s) {
    QelChartDataYPoints* series = _series[s];
    float last = series->getValues()[kPoints - 1];
    _seed = _seed * 1103515245u + 12345u;
    const int jump = _jump ? _jump->getValue() : 15;
    float change = float(int((_seed >> 16) % unsigned(2 * jump + 1)) - jump);
    float next = last + change;
    if (next < 5 || next > kTop - 5) next = last - change;
    if (next < 0 || next > kTop) next = kTop / 2;
    series->scroll(next);
  }
  ++_steps;
  relabel();
}

void ChartWindow::addControls(uint32_t width, uint32_t height) {
  QelDisplay* d = _display;
  // A text of the message database, looked up in the current language when drawn.
  d->getMessageDatabase().setMessage("&kestrelDemoControls",
                                     "Drag, click or use the keys on the scroll bars:");
  const int32_t top = int32_t(height) - kControlsHeight;
  _container->addObject(
      new QelMessageLabel(d, "&kestrelDemoControls", QelRect(kGap, top, 400, 20), QelLeft), 0);
  _period = new QelScrollBar(d, QelRect(kGap, top + 24, 400, 20));
  _period->setValues(50, 1050, kTickMilliseconds, 50);
  _period->increment = _period->decrement = 10;
  _period->pageIncrement = _period->pageDecrement = 100;
  _periodText = new QelMessageLabel(d, "", QelRect(kGap + 410, top + 20, 200, 32), QelLeft, 2);
  _periodText->setOpaque(1);

  const int32_t side = int32_t(width) - kSideWidth;
  _jump =
      new QelScrollBar(d, QelRect(side + (kSideWidth - 20) / 2, kGap + 40, 20, 260), QelVertical);
  _jump->setValues(1, 31, 15, 1);
  _jumpText = new QelMessageLabel(d, "", QelRect(side, kGap, kSideWidth - 4, 36), QelCenter);
  for (QelScrollBar* bar : {_period, _jump}) {
    auto changed = [](QelGraphic*, void* window) {
      static_cast<ChartWindow*>(window)->controlsChanged();
    };
    bar->setCallback(QelGraphic::CallbackSymbol(), changed, this);
    bar->setCallback(QelScrollBar::DragCallbackSymbol(), changed, this);
    _container->addObject(bar, 0);
  }
  _container->addObject(_periodText, 0);
  _container->addObject(_jumpText, 0);
  controlsChanged();
}

void ChartWindow::controlsChanged() {
  char text[64];
  std::snprintf(text, sizeof text, "A step every\n%d ms", _period->getValue());
  _periodText->getMessage().setName(text, 1);
  std::snprintf(text, sizeof text, "Jumps\nup to %d", _jump->getValue());
  _jumpText->getMessage().setName(text, 1);
  _container->reDrawObj(_periodText);
  _container->reDrawObj(_jumpText);
  if (_timer && _timer->isRunning() && _timer->getPeriod() != uint32_t(_period->getValue()))
    _timer->run(0, _period->getValue());
}

void ChartWindow::show() {
  XtPopup(_shell, XtGrabNone);
  _timer->run();
}

void ChartWindow::hide() {
  _timer->suspend();
  XtPopdown(_shell);
}

void ChartWindow::onTick(QelTimer*, void* data) {
  auto* window = static_cast<ChartWindow*>(data);
  window->step();
  window->_container->reDraw();
}

void ChartWindow::onClose(Widget, XtPointer data, XtPointer) {
  static_cast<ChartWindow*>(data)->hide();
}
