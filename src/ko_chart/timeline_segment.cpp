#include "src/ko_chart/timeline_segment.h"

#include <cstdlib>
#include <cstring>

#include "charts/chart_data.h"
#include "charts/marker.h"
#include "display/display.h"
#include "display/palette.h"

QelPalette* Ko_timeline_segment::jobInProgressPalette = nullptr;
QelPalette* Ko_timeline_segment::jobFailPalette = nullptr;
QelPalette* Ko_timeline_segment::jobSucceedPalette = nullptr;
QelPalette* Ko_timeline_segment::jobSelectedPalette = nullptr;
int32_t Ko_timeline_segment::palettesInitialized = 0;
int32_t Ko_timeline_segment::numInstances = 0;
Ko_timeline_segment* Ko_timeline_segment::prevSelected = nullptr;
QelDisplay* Ko_timeline_segment::palettesDisplay = nullptr;

namespace {

constexpr unsigned int kMarkerType = QelMarkerFilledDiamond;
constexpr uint16_t kMarkerSize = 4;
// Moving a marker puts its box's corner at the point; this offset centres the diamond on it.
constexpr int32_t kMarkerOffset = -(kMarkerSize / 2 + 2);

}  // namespace

QelChartData* Ko_timeline_segment::CreateData(float x, float y) {
  auto* points = new QelFloatPoint[2]{QelFloatPoint(x, y), QelFloatPoint(x, y)};
  return new QelChartDataPoints(2, points, 1);
}

Ko_timeline_segment::Ko_timeline_segment(QelDisplay* display, float start, float y, void* userData)
    : QelPolylineChart(display, CreateData(start, y), QelPoint(0, 0), 1.0f, 1.0f, nullptr),
      yValue(y),
      userData(userData),
      data(static_cast<QelChartDataPoints*>(getData())),
      display(display),
      currentPalette(getPalette()),
      startPoint(start, y),
      endPoint(start, y) {
  if (!palettesInitialized) initializePalettes();
  setCurrentPalette(jobInProgressPalette);
  setDataPointMarker(0, 1);
  setDataPointMarker(1, 0);
  ++numInstances;
}

Ko_timeline_segment::~Ko_timeline_segment() {
  // Every marker goes, and the data set goes with the chart's own release of it: the chart
  // holds its lock.
  for (unsigned long index : {0ul, 1ul})
    while (data && data->getPointInfo(index)) data->removePointInfo(index, 1);
  --numInstances;
  if (prevSelected == this) prevSelected = nullptr;
  if (numInstances == 0) {
    // The palettes this segment draws with are about to go: it lets go of them first.
    if (display) setPalette(display->defaultPalette());
    currentPalette = nullptr;
    destroyPalettes();
  }
}

void Ko_timeline_segment::initializePalettes() {
  if (palettesInitialized || !display) return;
  palettesInitialized = 1;
  auto make = [this](const char* colour, const char* style) {
    auto* palette = new QelPalette(display);
    if (QelColor* color = display->getColor(colour, 0)) palette->setForeground(color);
    if (QelLineStyle* line = display->getLineStyle(style)) palette->setLineStyle(line);
    palette->setLineWidth(2);
    return palette;
  };
  jobInProgressPalette = make("green", "dot");
  jobFailPalette = make("red", "dot");
  jobSucceedPalette = make("blue", "solid");
  jobSelectedPalette = new QelPalette(display);
  jobSelectedPalette->setLineWidth(6);
}

void Ko_timeline_segment::destroyPalettes() {
  for (QelPalette** palette :
       {&jobInProgressPalette, &jobFailPalette, &jobSucceedPalette, &jobSelectedPalette}) {
    delete *palette;
    *palette = nullptr;
  }
  palettesInitialized = 0;
  delete palettesDisplay;
  palettesDisplay = nullptr;
}

bool Ko_timeline_segment::keepDisplayForPalettes(QelDisplay* display) {
  if (!display || numInstances == 0 || !jobInProgressPalette ||
      jobInProgressPalette->getDisplay() != display)
    return false;
  palettesDisplay = display;
  return true;
}

void Ko_timeline_segment::setCurrentPalette(QelPalette* palette) {
  currentPalette = palette;
  setPalette(palette);
}

void Ko_timeline_segment::setXScaleFactor(float factor) {
  if (data) {
    data->setPoint(0, QelFloatPoint(startPoint.x * factor, startPoint.y));
    data->setPoint(1, QelFloatPoint(factor * endPoint.x, endPoint.y));
  }
  xScaleFactor = factor;
}

void Ko_timeline_segment::updateEndPoint(float time) {
  endPoint.x = time;
  if (data) data->setPoint(1, QelFloatPoint(time * xScaleFactor, yValue));
}

void Ko_timeline_segment::showJobComplete(int failed) {
  this->failed = failed;
  setCurrentPalette(failed ? jobFailPalette : jobSucceedPalette);
  setDataPointMarker(0, 1);
  setDataPointMarker(1, 1);
}

void Ko_timeline_segment::showSelected() {
  if (prevSelected) prevSelected->setPalette(prevSelected->currentPalette);
  prevSelected = this;
  if (!jobSelectedPalette || !currentPalette) return;
  jobSelectedPalette->setForeground(currentPalette->getForeground());
  jobSelectedPalette->setLineStyle(currentPalette->getLineStyle());
  setPalette(jobSelectedPalette);
}

void Ko_timeline_segment::setDataPointMarker(int32_t index, int32_t on) {
  if (!data || index < 0) return;
  if (!on) {
    data->removePointInfo(static_cast<unsigned long>(index), 1);
    return;
  }
  QelPalette* palette = currentPalette ? currentPalette : display->defaultPalette();
  // A point that has a marker already gets it in the new palette: a second marker on top of
  // the first would cover it exactly, for twice the drawing and memory.
  if (QelChartPointInfo* info = data->getPointInfo(static_cast<unsigned long>(index))) {
    if (auto* existing = dynamic_cast<QelSimpleGraphic*>(info->getGraphic())) {
      existing->setPalette(palette);
      return;
    }
  }
  auto* marker = new QelMarker(display, QelPoint(0, 0), kMarkerType, kMarkerSize, palette);
  data->addPointInfo(new QelChartPointInfo(marker, static_cast<unsigned long>(index),
                                           QelPoint(kMarkerOffset, kMarkerOffset)));
}

// --- Ko_timeline_segmentList -------------------------------------------------------------------

Ko_timeline_segmentList::~Ko_timeline_segmentList() {
  std::free(segments);
}

void Ko_timeline_segmentList::appendSegment(Ko_timeline_segment* segment) {
  if (count + 1 > capacity) {
    auto* grown = static_cast<Ko_timeline_segment**>(
        std::malloc(sizeof(Ko_timeline_segment*) * size_t(capacity + 5)));
    if (!grown) return;  // out of memory: the segment is not listed (it stays in the chart)
    if (segments) std::memcpy(grown, segments, sizeof(Ko_timeline_segment*) * size_t(capacity));
    std::free(segments);
    segments = grown;
    capacity += 5;
  }
  segments[count++] = segment;
}

void Ko_timeline_segmentList::setScaleX(float factor) {
  for (int32_t i = 0; i < count; ++i)
    if (segments[i]) segments[i]->setXScaleFactor(factor);
}
