// The host's twelve entry points: plain C functions over the opaque chart handle. Nothing is
// thrown across them; a null handle is answered as documented in kestrel.h.
#include <new>

#include "base/messages.h"
#include "display/display.h"
#include "kestrel.h"
#include "src/ko_chart/job_chart.h"

#define KESTREL_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// The job axis labels its rows and both margins with a 16-bit count.
constexpr int kMostRows = 65535 - 2;

Ko_chart* chartOf(void* handle) {
  return static_cast<Ko_chart*>(handle);
}

}  // namespace

KESTREL_EXPORT void* chartConstructor(Widget host, char** names, int count) {
  if (!host) {
    QelWarning("chartConstructor: no host widget");
    return nullptr;
  }
  if (count < 0 || count > kMostRows) {
    QelWarning("chartConstructor: %d rows: a chart has 0 to %d", count, kMostRows);
    return nullptr;
  }
  if (!names && count > 0) {
    QelWarning("chartConstructor: no names for %d rows", count);
    return nullptr;
  }
  QelDisplay* display = Ko_chart::openDisplay(host);
  if (!display || !display->getXDisplay()) {
    delete display;
    return nullptr;
  }
  auto* chart = new (std::nothrow) Ko_chart(host, names, count, display);
  if (!chart) delete display;
  return chart;
}

KESTREL_EXPORT void chartDestructor(void* handle) {
  Ko_chart::destroy(chartOf(handle));
}

KESTREL_EXPORT void scrollToTime(void* handle, float time) {
  if (Ko_chart* chart = chartOf(handle)) chart->scrollToTime(time);
}

KESTREL_EXPORT void setViewableTime(void* handle, float width) {
  if (Ko_chart* chart = chartOf(handle)) chart->setViewableTime(width);
}

KESTREL_EXPORT void setElapsedTime(void* handle, float time) {
  if (Ko_chart* chart = chartOf(handle)) chart->setElapsedTime(time);
}

KESTREL_EXPORT float getElapsedTime(void* handle) {
  Ko_chart* chart = chartOf(handle);
  return chart ? chart->getElapsedTime() : 0.0f;
}

KESTREL_EXPORT int startJobTracking(void* handle, const char* name, float start, void* userData) {
  Ko_chart* chart = chartOf(handle);
  return chart ? chart->startJobTracking(name, start, userData) : -1;
}

KESTREL_EXPORT void stopJobTracking(void* handle, int jobID, int failed) {
  if (Ko_chart* chart = chartOf(handle)) chart->stopJobTracking(jobID, failed);
}

KESTREL_EXPORT void updateActiveJobs(void* handle, float now) {
  if (Ko_chart* chart = chartOf(handle)) chart->updateActiveJobs(now);
}

KESTREL_EXPORT void setUserCallback(void* handle, KoUserCallback callback) {
  if (Ko_chart* chart = chartOf(handle)) chart->userCallback = callback;
}

KESTREL_EXPORT void* callUserCallback(void* handle, void* argument) {
  Ko_chart* chart = chartOf(handle);
  return chart && chart->userCallback ? chart->userCallback(argument) : nullptr;
}

KESTREL_EXPORT void setTimeUnits(void* handle, KoTimeUnit unit) {
  if (Ko_chart* chart = chartOf(handle)) chart->setTimeUnits(unit);
}
