// The container's double-buffered redraw against the same rectangles drawn with Xlib directly
// into a pixmap and copied to the window, on a private Xvfb, one XSync per frame. A full
// redraw should stay within 1.2 times the Xlib time (the "ratio" counter of
// BM_ContainerVersusXlib), and redrawing one object among 100,000 should cost under 5% of a
// full redraw (the "percent" counter of BM_ReDrawObjVersusFull).
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/display_fixture.h"

#include "display/color.h"
#include "display/container.h"
#include "display/palette.h"
#include "graphics/rectangle.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kWidth = 800, kHeight = 600;
constexpr int kMaxSide = 60;
const char* const kColours[] = {"navy", "firebrick", "forest green", "dark orange", "black"};
constexpr int kColourCount = int(sizeof kColours / sizeof *kColours);

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The server, its display, one palette per colour for the toolkit and one plain GC per colour
// for the Xlib reference.
struct Session {
  kestrel::test::PrivateDisplay connection{"kestrel-bench"};
  QelDisplay* display = connection.display();
  Display* x = connection.xDisplay();
  std::string error = connection.error();
  std::vector<QelPalette*> palettes;
  std::vector<GC> gcs;
  GC background = nullptr;

  Session() {
    if (!display) return;
    QelRectangleModuleInit();
    QelContainerModuleInit();
    Window root = DefaultRootWindow(x);
    XGCValues values;
    values.graphics_exposures = False;
    for (const char* name : kColours) {
      QelColor* colour = display->getColor(name);
      QelPalette* palette = colour ? display->getPalette(nullptr, colour) : nullptr;
      if (!palette) {
        error = std::string("no palette for ") + name;
        return;
      }
      palette->lock();
      palettes.push_back(palette);
      values.foreground = colour->getIndex();
      gcs.push_back(XCreateGC(x, root, GCForeground | GCGraphicsExposures, &values));
    }
    values.foreground = display->defaultBackground()->getIndex();
    background = XCreateGC(x, root, GCForeground | GCGraphicsExposures, &values);
  }
  ~Session() {
    for (QelPalette* palette : palettes) palette->unLock();
    for (GC gc : gcs) XFreeGC(x, gc);
    if (background) XFreeGC(x, background);
  }
  bool ready() const { return display && error.empty(); }

  // Handles what Xt has queued, waiting up to a second for `done`.
  template <typename Done>
  bool pumpUntil(Done done) const {
    XtAppContext app = XtDisplayToApplicationContext(x);
    XFlush(x);
    auto deadline = Clock::now() + std::chrono::seconds(1);
    while (!done() && Clock::now() < deadline) {
      if (XtAppPending(app))
        XtAppProcessEvent(app, XtIMAll);
      else
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    while (XtAppPending(app)) XtAppProcessEvent(app, XtIMAll);
    return done();
  }
};

struct Figure {
  QelRect rect;
  bool filled;
  int colour;
};

// `count` rectangles in a mapped, double-buffered top-level container, the same rectangles for
// the reference, and the reference's pixmap.
struct Scene {
  const Session& session;
  int count;
  std::vector<Figure> figures;
  std::vector<QelGraphic*> objects;
  QelContainer* container = nullptr;
  Pixmap pixmap = None;
  bool exposed = false;

  Scene(const Session& s, int n) : session(s), count(n) {
    std::mt19937 random{uint32_t(n)};
    std::uniform_int_distribution<int> side(2, kMaxSide), coin(0, 1), colour(0, kColourCount - 1);
    for (int i = 0; i < n; ++i) {
      uint32_t w = uint32_t(side(random)), h = uint32_t(side(random));
      int32_t left = std::uniform_int_distribution<int32_t>(0, int32_t(kWidth - w))(random);
      int32_t top = std::uniform_int_distribution<int32_t>(0, int32_t(kHeight - h))(random);
      figures.push_back({QelRect(left, top, w, h), coin(random) == 1, colour(random)});
    }
    container = new QelContainer(s.display, "bench", "bench", QelRect(0, 0, kWidth, kHeight), 1);
    container->setExposeCallback(
        [](QelAbstractView*, QelEvent*, void* flag) { *static_cast<bool*>(flag) = true; },
        &exposed);
    for (const Figure& f : figures) {
      QelPalette* palette = s.palettes[size_t(f.colour)];
      QelGraphic* obj = f.filled ? new QelFilledRectangle(s.display, f.rect, palette)
                                 : new QelRectangle(s.display, f.rect, palette);
      objects.push_back(obj);
      container->addObject(obj, 0);
    }
    if (!s.pumpUntil([this] { return exposed; })) return;
    if (!container->setDoubleBuffering(1)) return;
    pixmap = XCreatePixmap(s.x, container->getSystemView(), kWidth, kHeight,
                           unsigned(container->depth()));
    XSync(s.x, False);
  }
  ~Scene() {
    if (pixmap) XFreePixmap(session.x, pixmap);
    delete container;
    XSync(session.x, False);
  }
  bool ready() const { return pixmap != None && container->isDoubleBuffering(); }

  void containerFrame() const {
    container->reDraw();
    XSync(session.x, False);
  }

  void objectFrame(int index) const {
    container->reDrawObj(objects[size_t(index)]);
    XSync(session.x, False);
  }

  // What the container does for a full redraw, with nothing in between: erase the pixmap, draw
  // every rectangle with its colour's GC, copy the pixmap to the window.
  void xlibFrame() const {
    Display* x = session.x;
    XFillRectangle(x, pixmap, session.background, 0, 0, kWidth, kHeight);
    for (const Figure& f : figures) {
      GC gc = session.gcs[size_t(f.colour)];
      const QelRect& r = f.rect;
      // An outline of w by h pixels spans w - 1 by h - 1 in X's terms.
      if (f.filled)
        XFillRectangle(x, pixmap, gc, r.x, r.y, r.w, r.h);
      else
        XDrawRectangle(x, pixmap, gc, r.x, r.y, r.w - 1, r.h - 1);
    }
    XCopyArea(x, pixmap, container->getSystemView(), session.background, 0, 0, kWidth, kHeight, 0,
              0);
    XSync(x, False);
  }
};

Session* session(benchmark::State& state) {
  static std::unique_ptr<Session> shared(new Session);
  if (!shared->ready()) {
    state.SkipWithError(shared->error.empty() ? "no usable display" : shared->error.c_str());
    return nullptr;
  }
  return shared.get();
}

// One scene at a time: the top-level windows of several would overlap and clip each other's
// copies.
Scene* scene(benchmark::State& state, int count) {
  static std::unique_ptr<Scene> current;
  Session* s = session(state);
  if (!s) return nullptr;
  if (!current || current->count != count) {
    current.reset();
    current.reset(new Scene(*s, count));
  }
  if (!current->ready()) {
    state.SkipWithError("the container could not be mapped and double-buffered");
    return nullptr;
  }
  return current.get();
}

// The objects reDrawObj visits: spread over the list, the same in every run.
int pick(int64_t round, int count) {
  return int((round * 7919) % count);
}

void BM_ContainerRedraw(benchmark::State& state) {
  Scene* s = scene(state, int(state.range(0)));
  if (!s) return;
  for (auto _ : state) s->containerFrame();
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_XlibRedraw(benchmark::State& state) {
  Scene* s = scene(state, int(state.range(0)));
  if (!s) return;
  for (auto _ : state) s->xlibFrame();
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Both frames in turn, so that drift in the server's speed touches both alike.
void BM_ContainerVersusXlib(benchmark::State& state) {
  Scene* s = scene(state, int(state.range(0)));
  if (!s) return;
  double toolkit = 0, xlib = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    s->containerFrame();
    toolkit += millisecondsSince(t0);
    auto t1 = Clock::now();
    s->xlibFrame();
    xlib += millisecondsSince(t1);
  }
  double frames = double(state.iterations());
  state.counters["container_ms"] = toolkit / frames;
  state.counters["xlib_ms"] = xlib / frames;
  state.counters["ratio"] = xlib > 0 ? toolkit / xlib : 0;
}

void BM_ReDrawObj(benchmark::State& state) {
  Scene* s = scene(state, int(state.range(0)));
  if (!s) return;
  int64_t round = 0;
  for (auto _ : state) s->objectFrame(pick(round++, s->count));
  state.SetItemsProcessed(state.iterations());
}

// One full redraw, then kObjects single-object redraws, in turn.
void BM_ReDrawObjVersusFull(benchmark::State& state) {
  constexpr int kObjects = 32;
  Scene* s = scene(state, int(state.range(0)));
  if (!s) return;
  double full = 0, single = 0;
  int64_t round = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    s->containerFrame();
    full += millisecondsSince(t0);
    auto t1 = Clock::now();
    for (int i = 0; i < kObjects; ++i) s->objectFrame(pick(round++, s->count));
    single += millisecondsSince(t1);
  }
  double frames = double(state.iterations());
  double fullMs = full / frames, objectMs = single / double(round);
  state.counters["full_ms"] = fullMs;
  state.counters["object_ms"] = objectMs;
  state.counters["percent"] = fullMs > 0 ? 100 * objectMs / fullMs : 0;
}

constexpr int kSizes[] = {1000, 10000, 100000};

void sizes(benchmark::internal::Benchmark* b) {
  for (int n : kSizes) b->Arg(n);
}

// Real time decides the iteration counts: most of a frame is the server's, not this process's.
BENCHMARK(BM_ContainerRedraw)->Apply(sizes)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_XlibRedraw)->Apply(sizes)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_ContainerVersusXlib)
    ->Apply(sizes)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(3.0);
BENCHMARK(BM_ReDrawObj)->Arg(100000)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_ReDrawObjVersusFull)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(3.0);

}  // namespace
