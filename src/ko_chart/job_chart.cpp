#include "src/ko_chart/job_chart.h"

#include <Xm/Xm.h>
#include <libintl.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "base/messages.h"
#include "charts/scale.h"
#include "display/display.h"
#include "display/palette.h"
#include "gadgets/message_label.h"
#include "gadgets/scroll_bar.h"
#include "graphics/region.h"
#include "graphics/selection.h"
#include "src/ko_chart/timeline.h"

// The chart's own display on the host's connection; whoever destroys the chart destroys it after.
QelDisplay* Ko_chart::openDisplay(Widget host) {
  return host ? new (std::nothrow) QelDisplay(XtDisplay(host), "X") : nullptr;
}

namespace {

// Truncation toward zero as a float, for the axis arithmetic; non-finite values stay as they are
// and out-of-range ones are not converted to an integer.
float truncated(float v) {
  return std::trunc(v);
}

// A float count of whole seconds as the scroll bar's integer, held to its range.
int32_t toBar(float v) {
  if (!(v == v)) return 0;
  return int32_t(std::fmax(std::fmin(std::trunc(v), 2147483520.0f), -2147483520.0f));
}

// A time the window cannot be placed at (not a number, or infinite): the host is told which call
// and why, and the call changes nothing.
bool refused(const char* call, float time) {
  if (std::isfinite(time)) return false;
  QelWarning("Ko_chart::%s: time %g is not a finite number", call, double(time));
  return true;
}

constexpr QelPosition kBothDirections = QelPosition(QelHorizontal | QelVertical);

}  // namespace

// --- KoChartInteractor -------------------------------------------------------------------------

// Button 1 and a pick distance of 4, as the chart sets it up.
KoChartInteractor::KoChartInteractor() : QelViewChartInteractorSelectPoint(1, 4) {}

KoChartInteractor::~KoChartInteractor() {
  // The selection is also an object of the chart: deleting it takes it out of there.
  delete selection;
}

int KoChartInteractor::handleEvent(QelGraphic* graphic, QelEvent& event, QelContainer* container,
                                   QelTransformer*) {
  if (event.type != QelButtonDown) return 0;
  auto* segment = dynamic_cast<Ko_timeline_segment*>(graphic);
  auto* chart = dynamic_cast<Ko_chart*>(container);
  if (!segment || !chart) return 0;
  segment->showSelected();
  if (!selection) {
    selection = new QelDrawSelection(chart->getDisplay(), segment, 4, nullptr);
    chart->addObject(selection, 0);
  } else {
    selection->setObject(segment);
  }
  chart->sceneChanged();
  if (chart->userCallback) chart->userCallback(segment->getUserData());
  chart->reDraw();
  return 0;
}

// --- Ko_chart ----------------------------------------------------------------------------------

// How far a job's drawing reaches beyond its box (which is its data's): half the selected
// look's line width and its markers, with room to spare.
constexpr int64_t kLineReach = 8;

Ko_chart::Ko_chart(Widget host, char** names, int32_t count)
    : Ko_chart(host, names, count, openDisplay(host)) {}

Ko_chart::Ko_chart(Widget host, char** names, int32_t count, QelDisplay* chartDisplay)
    : QelChartContainer(chartDisplay, host, QelRect(0, 0, 500, 500), QelPoint(0, 0), QelVertical,
                        QelPosition(QelLeft | QelBottom), 1),
      host(host) {
  display = getDisplay();
  systemView = getWidget();
  timeScale = getScale(QelBottom);
  jobScale = getScale(QelLeft);
  numTimeLines = count;
  // The host is left as it was found: unmanaged while the chart is built only if it was managed.
  const bool wasManaged = host && XtIsManaged(host);
  if (wasManaged) XtUnmanageChild(host);
  setDoubleBuffering(1);
  interactor = new (std::nothrow) KoChartInteractor;
  setYaxisLabels(names);
  yMax = float(numYAxisLabels);
  timeLines = new (std::nothrow) Ko_timeline*[size_t(count)]();
  for (int32_t i = 0; timeLines && i < count; ++i)
    timeLines[i] = new (std::nothrow) Ko_timeline(names[i], i + 1, this);

  if (timeScale && display && display->getXDisplay()) {
    if (QelFont* font = display->getFont("-*-*-medium-r-normal--*-*-*-*-*-*"))
      timeScale->setFont(font);
    Pixel pixel = 0;
    XtVaGetValues(host, XmNforeground, &pixel, nullptr);
    XColor color;
    color.pixel = pixel;
    Display* x = display->getXDisplay();
    XQueryColor(x, DefaultColormap(x, DefaultScreen(x)), &color);
    if (QelColor* foreground = display->getColor(color.red, color.green, color.blue, 0))
      timeScale->setForeground(foreground);
  }
  timeAxisLabel =
      new QelMessageLabel(display, gettext("Time in Seconds"), QelRect(0, 0, 1, 1), QelCenter, 0,
                          timeScale ? timeScale->getPalette() : nullptr, 1);
  addObject("timeAxisLabel", timeAxisLabel, 1);

  scrollBar = new QelScrollBar(display, QelRect(0, 0, 0, 20), QelHorizontal, 2, nullptr);
  const int32_t range = scrollBar->getMax() - scrollBar->getMin() - scrollBar->getSliderSize();
  scrollBar->increment = scrollBar->decrement = std::min(1, range);
  scrollBar->pageIncrement = scrollBar->pageDecrement =
      std::min(int32_t(truncated(viewableTime)), range);
  scrollBar->setCallback(QelGraphic::CallbackSymbol(), scrolled, this);
  addObject("scrollBar", scrollBar, 1);

  if (jobScale) {
    jobScale->setSubSteps(0);
    jobScale->setLabels(uint16_t(numYAxisLabels), yAxisLabels);
  }
  if (timeScale) {
    timeScale->setKeepAllLabels(0);
    timeScale->setModified(1);
  }
  setElapsedTime(viewableTime);

  // The drawing area takes the host's size when the host has one already.
  fitToHost();
  Dimension width = 0, height = 0;
  if (systemView) XtVaGetValues(systemView, XmNwidth, &width, XmNheight, &height, nullptr);
  QelRect size(0, 0, width, height);
  handleResize(size);
  // The drawing area fills the host, whatever size the host is given later.
  if (host) {
    XtAddEventHandler(host, StructureNotifyMask, False, hostResized, this);
    XtAddCallback(host, XmNdestroyCallback, hostDestroyed, this);
  }
  if (wasManaged) XtManageChild(host);
}

Ko_chart::~Ko_chart() {
  if (host) {
    XtRemoveEventHandler(host, StructureNotifyMask, False, hostResized, this);
    XtRemoveCallback(host, XmNdestroyCallback, hostDestroyed, this);
  }
  for (int32_t i = 0; yAxisLabels && i < numYAxisLabels; ++i) std::free(yAxisLabels[i]);
  for (int32_t i = 0; timeLines && i < numTimeLines; ++i) delete timeLines[i];
  std::free(yAxisLabels);
  delete[] timeLines;
  delete interactor;
}

void Ko_chart::destroy(Ko_chart* chart) {
  if (!chart) return;
  if (chart->handlingInput) {
    chart->destroyWhenDone = true;
    return;
  }
  // The display outlives everything made on it: it goes last, leaving the host's connection.
  // The job palettes, shared by every chart's jobs, live on the display of the chart that
  // started the first job; while another chart's jobs still use them, they keep it.
  QelDisplay* chartDisplay = chart->display;
  delete chart;
  if (!Ko_timeline_segment::keepDisplayForPalettes(chartDisplay)) delete chartDisplay;
}

void Ko_chart::callInput(QelEvent& event) {
  // The container and the view still use the chart after the interactor called the host.
  ++handlingInput;
  QelChartContainer::callInput(event);
  if (--handlingInput == 0 && destroyWhenDone) destroy(this);
}

void Ko_chart::hostResized(Widget, XtPointer data, XEvent* event, Boolean*) {
  if (event->type == ConfigureNotify) static_cast<Ko_chart*>(data)->fitToHost();
}

void Ko_chart::hostDestroyed(Widget, XtPointer data, XtPointer) {
  // Neither widget may be touched again; the chart itself lives on until chartDestructor.
  auto* chart = static_cast<Ko_chart*>(data);
  chart->host = nullptr;
  chart->systemView = nullptr;
}

void Ko_chart::fitToHost() {
  Dimension width = 0, height = 0;
  if (host) XtVaGetValues(host, XmNwidth, &width, XmNheight, &height, nullptr);
  if (systemView && width && height)
    XtVaSetValues(systemView, XmNwidth, width, XmNheight, height, nullptr);
}

void Ko_chart::setYaxisLabels(char** names) {
  numYAxisLabels = numTimeLines + 2;
  yAxisLabels = static_cast<char**>(std::calloc(size_t(numYAxisLabels), sizeof(char*)));
  if (!yAxisLabels) return;
  // A run of adjacent rows of one name shows it once, at the run's last row.
  const char* previous = "";
  for (int32_t i = numTimeLines - 1; i >= 0; --i) {
    const char* name = names[i] ? names[i] : "";
    if (std::strcmp(name, previous) != 0) {
      yAxisLabels[i + 1] = strdup(name);
      previous = name;
    } else {
      yAxisLabels[i + 1] = strdup(" ");
    }
  }
  yAxisLabels[numTimeLines + 1] = strdup(" ");
  yAxisLabels[0] = strdup(" ");
}

void Ko_chart::roundMinMax(float& min, float& max) {
  min = truncated(min);
  max = truncated(max);
  if (max == min) max = min + 1.0f;
}

void Ko_chart::validate(float& xMin, float& xMax, float& yMinOut, float& yMaxOut) {
  xMin = startTime * xScaleFactor;
  xMax = endTime * xScaleFactor;
  roundMinMax(xMin, xMax);
  yMinOut = yMin;
  yMaxOut = yMax;
}

void Ko_chart::updateScaleLabels(QelPosition) const {
  if (!timeScale) return;
  float min = startTime * xScaleFactor, max = endTime * xScaleFactor;
  roundMinMax(min, max);
  // One label per whole axis unit, as many as a 16-bit count holds.
  float steps = truncated(max - min + 1.0f);
  uint16_t count = steps >= 65535.0f ? 65535 : steps >= 0 ? uint16_t(steps) : 0;
  timeScale->setLabels(count, min, max, gettext("%.0f"));
}

void Ko_chart::scrollToTime(float time) {
  if (refused("scrollToTime", time)) return;
  if (!std::isfinite(time + viewableTime)) {
    QelWarning("Ko_chart::scrollToTime: time %g puts the window's end beyond every time",
               double(time));
    return;
  }
  startTime = time;
  endTime = time + viewableTime;
  float xMin = startTime * xScaleFactor, xMax = endTime * xScaleFactor;
  roundMinMax(xMin, xMax);
  zoomCharts(QelHorizontal, xMin, xMax, 0, float(numTimeLines + 1), 1);
}

void Ko_chart::setScrollBar(float end) {
  if (!scrollBar) return;
  scrollBar->setValues(0, toBar(end), toBar(startTime), toBar(viewableTime));
}

void Ko_chart::setElapsedTime(float time) {
  if (refused("setElapsedTime", time)) return;
  const int32_t v = toBar(viewableTime);
  elapsedTime = time;
  const float end = std::fmax(time, viewableTime);
  // The user scrolled back while the bar's end lies beyond its slider: the window stays.
  const bool following = !scrollBar || !(scrollBar->getMax() > int64_t(scrollBar->getValue()) + v);
  if (following) {
    endTime = end;
    startTime = end - viewableTime;
    if (startTime < 0) startTime = 0;
  }
  float xMin = startTime * xScaleFactor, xMax = endTime * xScaleFactor;
  roundMinMax(xMin, xMax);
  zoomCharts(kBothDirections, xMin, xMax, 0, float(numTimeLines + 1), 0);
  setScrollBar(end);
  // The bar is painted with the rest when the window moved, on its own when it did not.
  if (scrollBar) damage(objectBox(scrollBar));
  reDraw();
}

void Ko_chart::setViewableTime(float width) {
  if (refused("setViewableTime", width)) return;
  if (width < 0) {
    QelWarning("Ko_chart::setViewableTime: width %g is negative", double(width));
    return;
  }
  // All the elapsed time; none elapsed yet (or a clock that went below zero) is one axis unit.
  if (width == 0.0f) width = std::fmax(elapsedTime, 0.0f);
  if (truncated(width * xScaleFactor) == 0.0f) width = 1.0f / xScaleFactor;
  viewableTime = width;
  const float end = std::fmax(elapsedTime, width);
  scrollToTime(end - width);
  setScrollBar(end);
  if (scrollBar) reDrawObj(scrollBar);
}

void Ko_chart::scrolled(QelGraphic* bar, void* data) {
  static_cast<Ko_chart*>(data)->scrollToTime(float(static_cast<QelScrollBar*>(bar)->getValue()));
}

int32_t Ko_chart::startJobTracking(const char* name, float start, void* userData) {
  if (!name || !timeLines || refused("startJobTracking", start)) return -1;
  // New segments take the rows' shared factor: it must be this chart's unit, whatever unit
  // another chart (or this one's predecessor) set last.
  Ko_timeline::xScaleFactor = xScaleFactor;
  for (int32_t i = 0; i < numTimeLines; ++i)
    if (timeLines[i] && timeLines[i]->startJob(name, start, userData, interactor)) return i;
  return -1;
}

void Ko_chart::stopJobTracking(int32_t jobID, int32_t failed) {
  if (jobID < 0 || jobID >= numTimeLines || !timeLines) return;
  // A row missing at a valid index is a broken chart: stop here, where it shows, whatever the
  // build's NDEBUG, with the C library's assertion message.
  if (!timeLines[jobID]) {
    std::fprintf(stderr, "ko_chart:406: %s: Assertion `timeLines[jobID]' failed.\n", __func__);
    std::abort();
  }
  // Completion may take a selected job's wider look away: the place it covered is repainted
  // too (a chart's box is its data's, so the line's width is added), so that a later whole
  // redraw has nothing left to mend.
  Ko_timeline_segment* running =
      timeLines[jobID]->isActive() ? timeLines[jobID]->getSegments()->last() : nullptr;
  QelRect before;
  if (running) {
    prepareObject(running);
    running->boundingBox(before, getTransformer());
  }
  timeLines[jobID]->stopJob(failed);
  if (running) {
    QelRegion covered(QelRectBetween(before.x - kLineReach, int64_t(before.y) - kLineReach,
                                     before.right64() + kLineReach,
                                     before.bottom64() + kLineReach));
    reDraw(&covered);
  }
}

void Ko_chart::updateActiveJobs(float now) {
  if (refused("updateActiveJobs", now)) return;
  for (int32_t i = 0; timeLines && i < numTimeLines; ++i) {
    Ko_timeline* row = timeLines[i];
    if (!row) continue;
    Ko_timeline_segment* running = row->isActive() ? row->getSegments()->last() : nullptr;
    if (!running) {
      row->updateActiveJobProgress(now);
      continue;
    }
    // The selection frame of a running job moves its handles along the whole job: that is
    // no growth at the end, and the whole scene is painted anew.
    if (running == Ko_timeline_segment::prevSelected) sceneChanged();
    QelRect before, after;
    prepareObject(running);
    running->boundingBox(before, getTransformer());
    row->updateActiveJobProgress(now);
    // Its data reached further: the container files it under its new extent.
    updateChart(running, 0);
    running->boundingBox(after, getTransformer());
    // A segment grows or shrinks at its end only: what changes lies between the two ends,
    // widened by what its line and its end's drawing reach.
    QelRect changed = QelRectBetween(std::min(before.right64(), after.right64()) - kLineReach,
                                     std::min(before.y, after.y) - kLineReach,
                                     std::max(before.right64(), after.right64()) + kLineReach,
                                     std::max(before.bottom64(), after.bottom64()) + kLineReach);
    damage(changed);
  }
  reDraw();
}

void Ko_chart::damage(const QelRect& area) {
  if (grown)
    growth.add(area);
  else
    growth = area, grown = true;
}

Ko_chart::SceneKey Ko_chart::sceneKey() const {
  float x0, x1, y0, y1;
  getVisibleRange(QelHorizontal, x0, x1);
  getVisibleRange(QelVertical, y0, y1);
  return SceneKey{x0, x1, y0, y1, xScaleFactor, getChartArea(), width(), height()};
}

void Ko_chart::reDraw(const QelRegion* region) {
  // A region is painted as asked: it shows the scene as it is now, the rest stays as painted.
  if (region) {
    QelChartContainer::reDraw(region);
    return;
  }
  const SceneKey key = sceneKey();
  if (painted && key == paintedKey) {
    if (grown) {
      grown = false;
      QelRegion changed(growth);
      QelChartContainer::reDraw(&changed);
    }
    return;
  }
  grown = false;
  QelChartContainer::reDraw(nullptr);
  // Only a drawn window holds what was painted.
  painted = getDrawable() != 0 && width() > 0 && height() > 0;
  paintedKey = key;
}

void Ko_chart::setTimeUnits(KoTimeUnit unit) {
  timeUnits = unit;
  const char* caption;
  switch (unit) {
    case KoMinutes:
      xScaleFactor = 1.0f / 60;
      caption = gettext("Time in Minutes");
      break;
    case KoHours:
      xScaleFactor = 1.0f / 3600;
      caption = gettext("Time in Hours");
      break;
    default:
      timeUnits = KoSeconds;
      xScaleFactor = 1.0f;
      caption = gettext("Time in Seconds");
      break;
  }
  if (timeAxisLabel) timeAxisLabel->getMessage().setName(caption, 1);
  for (int32_t i = 0; timeLines && i < numTimeLines; ++i)
    if (timeLines[i]) timeLines[i]->getSegments()->setScaleX(xScaleFactor);
  Ko_timeline::xScaleFactor = xScaleFactor;
  // Every job's data moved along x: the container files them anew.
  updateCharts();
  reDraw();
}

void Ko_chart::handleResize(QelRect& rect) {
  // The container's own resize scales the layout of the old size: it goes first, so that the
  // layout made here for the new size is the one that stays (not scaled a second time).
  QelChartContainer::handleResize(rect);
  // A height below 65 wraps around on purpose: the chart keeps the layout it was given.
  uint32_t w = rect.w - 10, h = rect.h - 65;
  if (h < 50) h = 50;
  reshapeCharts(QelRect(5, 5, w, h), 1);
  if (timeScale && scrollBar) {
    const uint32_t size = timeScale->getSize();
    QelPoint origin;
    timeScale->getOrigin(origin);
    QelRect bar = scrollBar->getRect();
    scrollBar->move(origin.x, bar.y);
    bar = scrollBar->getRect();
    scrollBar->move(bar.x, QelClampToInt32(int64_t(origin.y) + 50));
    scrollBar->resize(size, scrollBar->getRect().h);
    if (timeAxisLabel)
      timeAxisLabel->moveResize(
          QelRect(origin.x, QelClampToInt32(int64_t(origin.y) + 20), size, 20));
  }
  QelRegion region(rect, 8);
  reDraw(&region);
}
