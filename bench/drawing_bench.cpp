// Drawing through the display against the same figures drawn with Xlib directly: per frame
// 10,000 thin lines, 10,000 filled rectangles and 10,000 filled-diamond markers into an
// off-screen bitmap on a private Xvfb, one XSync per frame. The toolkit should stay within
// 1.15 times the Xlib time (the "ratio" counter of BM_ToolkitVersusXlib).
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/display_fixture.h"

namespace {

constexpr int kFigures = 10000;
constexpr uint32_t kWidth = 800, kHeight = 600;
constexpr uint16_t kMarkerSize = 4;

struct Scene {
  kestrel::test::PrivateDisplay session{"kestrel-bench"};
  QelDisplay* display = session.display();
  Display* x = session.xDisplay();
  const std::string& error = session.error();
  QelBitmap* pixmap = nullptr;
  QelPalette* palette = nullptr;
  std::vector<QelPoint> from, to, markers;
  std::vector<QelRect> rects;

  Scene() {
    if (!display) return;
    pixmap = new QelBitmap(display, kWidth, kHeight, display->depth());
    palette = display->getPalette(display->getColor("white"), display->getColor("navy"));
    palette->lock();
    std::mt19937 random(7);
    std::uniform_int_distribution<int32_t> px(0, kWidth - 1), py(0, kHeight - 1), side(1, 40);
    for (int i = 0; i < kFigures; ++i) {
      from.emplace_back(px(random), py(random));
      to.emplace_back(px(random), py(random));
      rects.emplace_back(px(random), py(random), side(random), side(random));
      markers.emplace_back(px(random), py(random));
    }
  }
  ~Scene() {
    if (palette) palette->unLock();
    delete pixmap;
  }
  bool ready() const { return display && pixmap->isValid(); }

  void toolkitFrame() const {
    for (int i = 0; i < kFigures; ++i) display->drawLine(pixmap, palette, from[i], to[i]);
    for (int i = 0; i < kFigures; ++i) display->fillRectangle(pixmap, palette, rects[i]);
    for (int i = 0; i < kFigures; ++i)
      display->drawMarker(pixmap, palette, markers[i], QelMarkerFilledDiamond, kMarkerSize);
    XSync(x, False);
  }

  void xlibFrame() const {
    Drawable d = pixmap->getDrawable();
    GC gc = palette->getGC();
    for (int i = 0; i < kFigures; ++i) XDrawLine(x, d, gc, from[i].x, from[i].y, to[i].x, to[i].y);
    for (int i = 0; i < kFigures; ++i)
      XFillRectangle(x, d, gc, rects[i].x, rects[i].y, rects[i].w, rects[i].h);
    const short s = kMarkerSize;
    for (int i = 0; i < kFigures; ++i) {
      short mx = short(markers[i].x), my = short(markers[i].y);
      XPoint diamond[5] = {{short(mx - s), my},
                           {mx, short(my - s)},
                           {short(mx + s), my},
                           {mx, short(my + s)},
                           {short(mx - s), my}};
      XFillPolygon(x, d, gc, diamond, 5, Convex, CoordModeOrigin);
    }
    XSync(x, False);
  }
};

Scene* scene(benchmark::State& state) {
  static std::unique_ptr<Scene> shared(new Scene);
  if (!shared->ready()) {
    state.SkipWithError(shared->error.empty() ? "no usable display" : shared->error.c_str());
    return nullptr;
  }
  return shared.get();
}

constexpr int64_t kItemsPerFrame = 3 * kFigures;

void BM_ToolkitFrame(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  for (auto _ : state) s->toolkitFrame();
  state.SetItemsProcessed(state.iterations() * kItemsPerFrame);
}
BENCHMARK(BM_ToolkitFrame)->Unit(benchmark::kMillisecond);

void BM_XlibFrame(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  for (auto _ : state) s->xlibFrame();
  state.SetItemsProcessed(state.iterations() * kItemsPerFrame);
}
BENCHMARK(BM_XlibFrame)->Unit(benchmark::kMillisecond);

// Both frames in turn, so that drift in the server's speed touches both alike.
void BM_ToolkitVersusXlib(benchmark::State& state) {
  Scene* s = scene(state);
  if (!s) return;
  using Clock = std::chrono::steady_clock;
  double toolkit = 0, xlib = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    s->toolkitFrame();
    auto t1 = Clock::now();
    s->xlibFrame();
    auto t2 = Clock::now();
    toolkit += std::chrono::duration<double, std::milli>(t1 - t0).count();
    xlib += std::chrono::duration<double, std::milli>(t2 - t1).count();
  }
  double frames = double(state.iterations());
  state.counters["toolkit_ms"] = toolkit / frames;
  state.counters["xlib_ms"] = xlib / frames;
  state.counters["ratio"] = xlib > 0 ? toolkit / xlib : 0;
}
BENCHMARK(BM_ToolkitVersusXlib)->Unit(benchmark::kMillisecond)->MinTime(3.0);

}  // namespace
