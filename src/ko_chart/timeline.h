// One row of the job chart: a named job slot at a fixed height on the job axis. It runs at most
// one job at a time; every job that ran in it stays visible as a segment, in the order of their
// start, and only the last can be running.
#pragma once

#include <cstdint>

#include "src/ko_chart/timeline_segment.h"

class QelChartContainer;
class QelDisplay;
class QelViewObjectInteractor;

class Ko_timeline {
 public:
  // Row `index` (its job-axis value, 1 up) of `chart`.
  Ko_timeline(const char* name, int32_t index, QelChartContainer* chart);
  ~Ko_timeline();
  Ko_timeline(const Ko_timeline&) = delete;
  Ko_timeline& operator=(const Ko_timeline&) = delete;

  // Takes the job when the row is free and `name` is its name exactly: 1, else 0.
  int startJob(const char* name, float start, void* userData, QelViewObjectInteractor* interactor);
  // Ends the running job, if any, in its final look.
  void stopJob(int32_t failed);
  // Moves the running job's end to `now`; the chart redraws once for all rows.
  void updateActiveJobProgress(float now);

  const char* getName() const { return name; }
  int32_t getIndex() const { return index; }
  int32_t isActive() const { return active; }
  Ko_timeline_segmentList* getSegments() const { return segments; }

  // The factor that newly started segments take (seconds to axis units).
  static float xScaleFactor;

 private:
  char* name;
  int32_t index;
  Ko_timeline_segmentList* segments;
  int32_t active = 0;
  QelChartContainer* chart;
  QelDisplay* display;
};
