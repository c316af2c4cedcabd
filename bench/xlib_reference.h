// The job chart's picture drawn by hand with raw Xlib: the yardstick that the chart's frame time
// is measured against. Jobs are a plain layout (row, start, end, state) so that a benchmark can
// give the same jobs to the chart and to this reference, and the pixel mapping is the chart's own
// (origin and scales read from a fitted segment), so both draw the same lines at the same places.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>
#include <string>
#include <vector>

enum class BenchJobState : uint8_t { Running, Failed, Succeeded };

struct BenchJob {
  int32_t row;  // job-axis value: 1 for the first row
  float start;  // seconds
  float end;    // seconds: the latest known time for a running job
  BenchJobState state;
};

// Data to view pixels, as a fitted chart maps them: x = trunc(xScale * t + originX), likewise y
// with the axis pointing up.
struct BenchJobMapping {
  int32_t originX = 0, originY = 0;
  float xScale = 1, yScale = 1;
};

// Where the axes and their labels go: the chart area and the label texts with their positions.
struct BenchAxes {
  int32_t x = 0, y = 0;  // chart area's top-left corner
  uint32_t width = 0, height = 0;
  std::vector<std::pair<int32_t, std::string>> timeLabels;  // (x pixel, text) under the area
  std::vector<std::pair<int32_t, std::string>> rowLabels;   // (y pixel, text) left of the area
};

class XlibJobReference {
 public:
  // Direct: one request per line and per diamond, in job order, as a straightforward client
  // draws. Batched: per colour, every line in one segment list and every diamond as the few
  // rectangles covering its pixels, each list cut at the core request size. Batched is the
  // floor, not the same picture: where jobs of different colours overlap, the colour drawn last
  // wins instead of the job drawn last.
  enum Mode { Direct, Batched };

  // A mapped window of the given size on `x`, with its pixmap and one GC per job state.
  XlibJobReference(Display* x, uint32_t width, uint32_t height);
  ~XlibJobReference();
  XlibJobReference(const XlibJobReference&) = delete;
  XlibJobReference& operator=(const XlibJobReference&) = delete;

  bool ready() const { return _window && _pixmap; }
  void setScene(const std::vector<BenchJob>& jobs, const BenchJobMapping& mapping,
                const BenchAxes& axes);
  // One frame: clear the pixmap, draw, copy it to the window, XSync.
  void drawFrame(Mode mode);
  Pixmap pixmap() const { return _pixmap; }
  Window window() const { return _window; }

 private:
  struct ViewJob {
    int16_t x0, x1, y;
    uint8_t state;
    uint8_t markers;  // bit 0: start, bit 1: end
  };
  void computeDiamondCover();
  void drawAxes();
  void drawDirect();
  void drawBatched();

  Display* _x;
  uint32_t _width, _height;
  Window _window = 0;
  Pixmap _pixmap = 0;
  GC _background = nullptr, _axes = nullptr;
  GC _state[3] = {nullptr, nullptr, nullptr};
  XFontStruct* _font = nullptr;
  std::vector<ViewJob> _jobs;
  BenchAxes _axesLayout;
  // The filled diamond around (0, 0) as overlapping rectangles that cover exactly its pixels.
  std::vector<XRectangle> _diamondCover;
  // Batched lists, kept between frames so that a frame does not allocate.
  std::vector<XSegment> _segments[3];
  std::vector<XRectangle> _rectangles[3];
};
