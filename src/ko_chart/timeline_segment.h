// One job on its row: a two-point polyline chart from the job's start to its latest known time,
// at the row's height. Its palette tells the job's state (running green and dotted, failed red
// and dotted, succeeded solid blue, each two pixels wide; a selected job six pixels wide in its
// own colour), and filled diamonds mark its ends: the start while it runs, both once it ended.
#pragma once

#include <cstdint>

#include "charts/chart.h"

class QelChartDataPoints;
class QelDisplay;
class QelPalette;

class Ko_timeline_segment : public QelPolylineChart {
 public:
  Ko_timeline_segment(QelDisplay* display, float start, float y, void* userData);
  ~Ko_timeline_segment() override;

  // The two points (x, y) of a new segment, start and end together.
  static QelChartData* CreateData(float x, float y);
  // Scales the stored times into axis units; the unscaled times are kept.
  void setXScaleFactor(float factor);
  // The job has run until `time` (seconds): the end point moves there. No redraw.
  void updateEndPoint(float time);
  // The job ended: the failed or succeeded look, and markers on both ends.
  void showJobComplete(int failed);
  // Draws this segment selected (and the one selected before as it was).
  void showSelected();
  void setCurrentPalette(QelPalette* palette);
  // A filled diamond centred on point `index` (on), or none (off).
  void setDataPointMarker(int32_t index, int32_t on);
  // Makes the four class-wide palettes on this segment's display, once.
  void initializePalettes();
  // Takes `display` over when the class-wide palettes were made on it and other segments still
  // draw with them: it is deleted with the palettes. False (and nothing done) otherwise.
  static bool keepDisplayForPalettes(QelDisplay* display);

  float getYValue() const { return yValue; }
  void* getUserData() const { return userData; }
  int32_t hasFailed() const { return failed; }
  QelPalette* getCurrentPalette() const { return currentPalette; }
  float getXScaleFactor() const { return xScaleFactor; }
  const QelFloatPoint& getStartPoint() const { return startPoint; }
  const QelFloatPoint& getEndPoint() const { return endPoint; }

  static QelPalette* jobInProgressPalette;
  static QelPalette* jobFailPalette;
  static QelPalette* jobSucceedPalette;
  static QelPalette* jobSelectedPalette;
  static int32_t palettesInitialized;
  static int32_t numInstances;
  static Ko_timeline_segment* prevSelected;
  static QelDisplay* palettesDisplay;  // kept for the palettes after its chart went, or null

  Ko_timeline_segment(const Ko_timeline_segment&) = delete;
  Ko_timeline_segment& operator=(const Ko_timeline_segment&) = delete;

 private:
  static void destroyPalettes();

  float yValue;
  void* userData;
  QelChartDataPoints* data;
  int32_t failed = 0;
  QelDisplay* display;
  QelPalette* currentPalette;
  float xScaleFactor = 1.0f;
  QelFloatPoint startPoint;
  QelFloatPoint endPoint;
};

// A row's segments in the order of their start. It owns its array, not the segments (the chart
// container does), and grows by exactly five slots at a time.
class Ko_timeline_segmentList {
 public:
  Ko_timeline_segmentList() = default;
  ~Ko_timeline_segmentList();
  Ko_timeline_segmentList(const Ko_timeline_segmentList&) = delete;
  Ko_timeline_segmentList& operator=(const Ko_timeline_segmentList&) = delete;

  void appendSegment(Ko_timeline_segment* segment);
  // Every segment, in order, gets the factor.
  void setScaleX(float factor);

  int32_t getCount() const { return count; }
  int32_t getCapacity() const { return capacity; }
  // The last segment, or null when there is none.
  Ko_timeline_segment* last() const { return count ? segments[count - 1] : nullptr; }
  Ko_timeline_segment* at(int32_t i) const { return i >= 0 && i < count ? segments[i] : nullptr; }

 private:
  Ko_timeline_segment** segments = nullptr;
  int32_t capacity = 0;
  int32_t count = 0;
};
