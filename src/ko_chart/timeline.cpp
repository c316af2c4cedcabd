#include "src/ko_chart/timeline.h"

#include <cstdlib>
#include <cstring>

#include "charts/chart_container.h"

float Ko_timeline::xScaleFactor = 1.0f;

Ko_timeline::Ko_timeline(const char* name, int32_t index, QelChartContainer* chart)
    : name(strdup(name ? name : "")),
      index(index),
      segments(new Ko_timeline_segmentList),
      chart(chart),
      display(chart ? chart->getDisplay() : nullptr) {}

Ko_timeline::~Ko_timeline() {
  std::free(name);
  delete segments;
}

int Ko_timeline::startJob(const char* jobName, float start, void* userData,
                          QelViewObjectInteractor* interactor) {
  if (active || !jobName || !name || std::strcmp(jobName, name) != 0) return 0;
  auto* segment = new Ko_timeline_segment(display, start, float(index), userData);
  segment->setXScaleFactor(xScaleFactor);
  segments->appendSegment(segment);
  chart->addChart(segment, 1);
  chart->setObjectInteractor(segment, interactor);
  active = 1;
  return 1;
}

void Ko_timeline::stopJob(int32_t failed) {
  if (!active) return;
  if (Ko_timeline_segment* segment = segments->last()) {
    segment->showJobComplete(failed);
    chart->reDrawObj(segment);
  }
  active = 0;
}

void Ko_timeline::updateActiveJobProgress(float now) {
  if (!active) return;
  if (Ko_timeline_segment* segment = segments->last()) segment->updateEndPoint(now);
}
