// A host that makes every mistake: any bytes become a chart with any row names and a sequence of
// the twelve entry points with any numbers, resizes of the host widget and clicks through the X
// event path, on a real chart on a private server. After every call the chart must still tell
// the truth: a busy row has a running last job, a returned job ID is a row of that name that was
// free, the scroll bar lies within its bounds and the time window is finite.
// The test support (gtest) goes before any X header: Xlib's macros break gtest.
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"

#include <Xm/Xm.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "base/messages.h"
#include "gadgets/motif_look.h"
#include "gadgets/scroll_bar.h"
#include "kestrel.h"
#include "src/ko_chart/job_chart.h"
#include "src/ko_chart/timeline.h"

extern "C" {
const char* __lsan_default_suppressions() {
  // Motif's bulletin board and drawing area copy font lists that the widget's destroy never frees.
  return "leak:XmFontListAppendEntry\n";
}
}

namespace {

using kestrel::test::MotifHost;
using kestrel::test::PrivateDisplay;

struct Session {
  PrivateDisplay server{"kestrel-fuzz"};
  MotifHost* host = nullptr;
};

Session& session() {
  static Session* s = [] {
    QelSetErrorHandler(nullptr);  // host mistakes are reported by design: keep the run quiet
    QelMotifScrollBarModuleInit();
    QelMotifMessageLabelModuleInit();
    auto* made = new Session;
    if (!made->server.display()) std::abort();
    made->host = new MotifHost(made->server.xDisplay(), 0, 0, 400, 300);
    if (!made->host->realize()) std::abort();
    return made;
  }();
  return *s;
}

class Input {
 public:
  Input(const uint8_t* data, size_t size) : _data(data), _size(size) {}
  bool more() const { return _at < _size; }
  uint8_t byte() { return _at < _size ? _data[_at++] : 0; }
  uint16_t half() {
    uint16_t high = byte();
    return uint16_t(high << 8 | byte());
  }
  uint32_t word() {
    uint32_t w = 0;
    for (int i = 0; i < 4; ++i) w = w << 8 | byte();
    return w;
  }
  // Mostly the values hosts get wrong, sometimes plain times, sometimes any bits at all.
  float time() {
    static const float special[] = {0.0f,
                                    -0.0f,
                                    std::numeric_limits<float>::quiet_NaN(),
                                    std::numeric_limits<float>::infinity(),
                                    -std::numeric_limits<float>::infinity(),
                                    std::numeric_limits<float>::denorm_min(),
                                    -1.0f,
                                    3e38f,
                                    std::numeric_limits<float>::max(),
                                    -std::numeric_limits<float>::max(),
                                    16777217.0f,
                                    1e9f,
                                    0.5f,
                                    59.9f,
                                    3600.0f,
                                    2147483648.0f};
    uint8_t kind = byte();
    if (kind < 64) return special[kind % (sizeof special / sizeof *special)];
    if (kind < 200) return float(byte()) + float(byte()) / 256.0f;
    uint32_t bits = word();
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
  }
  std::string name() {
    static const char* const known[] = {"a", "b", "c", "", " ", "a\x01\x7f", "\xff\xfe\xc3"};
    uint8_t kind = byte();
    if (kind < 200) return known[kind % (sizeof known / sizeof *known)];
    if (kind < 230) return std::string(size_t(byte()) * 16, 'x');
    std::string bytes;
    for (uint8_t n = byte() % 24; n; --n) bytes += char(byte());
    return bytes.c_str();  // up to the first NUL, as C hands it over
  }

 private:
  const uint8_t* _data;
  size_t _size;
  size_t _at = 0;
};

Ko_chart* chart = nullptr;
Input* input = nullptr;
int callbackKind = 0;

[[noreturn]] void broken(const char* what) {
  std::fprintf(stderr, "invariant broken: %s\n", what);
  std::abort();
}

void check() {
  if (!chart) return;
  for (int32_t i = 0; i < chart->getNumTimeLines(); ++i) {
    Ko_timeline* row = chart->getTimeLine(i);
    if (!row) continue;
    Ko_timeline_segment* last = row->getSegments()->last();
    bool running = last && last->getCurrentPalette() == Ko_timeline_segment::jobInProgressPalette;
    if (row->isActive() && !running) broken("busy row without a running last job");
    if (!row->isActive() && running) broken("free row whose last job still runs");
    for (int32_t j = 0; j < row->getSegments()->getCount(); ++j)
      if (row->getSegments()->at(j)->getXScaleFactor() != chart->getXScaleFactor())
        broken("job drawn in another unit than the axis");
  }
  QelScrollBar* bar = chart->getScrollBar();
  if (bar->getMin() > bar->getValue() || bar->getSliderSize() < 1 ||
      int64_t(bar->getValue()) + bar->getSliderSize() > bar->getMax())
    broken("scroll bar beyond its bounds");
  if (!std::isfinite(chart->getStartTime()) || !std::isfinite(chart->getEndTime()) ||
      !(chart->getStartTime() <= chart->getEndTime()))
    broken("time window not a finite range");
  if (!std::isfinite(chart->getViewableTime()) || !(chart->getViewableTime() > 0))
    broken("viewable time not a positive number");
}

int32_t start(const std::string& name, float when) {
  int32_t expected = -1;  // a start that is no time takes no row
  for (int32_t i = 0; expected < 0 && std::isfinite(when) && i < chart->getNumTimeLines(); ++i) {
    Ko_timeline* row = chart->getTimeLine(i);
    if (row && !row->isActive() && name == row->getName()) expected = i;
  }
  int32_t id = startJobTracking(chart, name.c_str(), when, nullptr);
  if (id != expected) broken("job ID not the first free row of its name");
  if (id >= 0 && !chart->getTimeLine(id)->isActive()) broken("started job's row not busy");
  return id;
}

// What the host does when the user clicks a job: each kind of host the issue lists.
void* hostCallback(void* data) {
  if (!chart || !input) return data;
  switch (callbackKind) {
    case 1: {
      int id = input->byte() % 8;
      stopJobTracking(chart, id, input->byte() & 1);
    } break;
    case 2: {
      std::string name = input->name();
      startJobTracking(chart, name.c_str(), input->time(), nullptr);
    } break;
    case 3:
      setTimeUnits(chart, KoTimeUnit(input->byte() % 4));
      break;
    case 4:
      chartDestructor(chart);
      chart = nullptr;
      break;
    default:
      break;
  }
  return data;
}

// Drains what the server sent (configures, exposures) without waiting for more.
void pump(Display* x) {
  XtAppContext context = XtDisplayToApplicationContext(x);
  XSync(x, False);
  for (int n = 0; n < 1000 && XtAppPending(context); ++n) XtAppProcessEvent(context, XtIMAll);
}

void make(Input& in) {
  std::vector<std::string> names(in.byte() % 9);
  for (auto& name : names) name = in.name();
  std::vector<char*> pointers;
  for (auto& name : names) pointers.push_back(name.data());
  chart = static_cast<Ko_chart*>(
      chartConstructor(session().host->board(), pointers.data(), int(pointers.size())));
  if (!chart) std::abort();
  check();
}

void click(Display* x, int16_t px, int16_t py, unsigned button, Time& when) {
  Window window = XtWindow(chart->getWidget());
  for (int type : {ButtonPress, ButtonRelease}) {
    if (!chart) return;
    XEvent event{};
    event.xbutton.type = type;
    event.xbutton.display = x;
    event.xbutton.window = window;
    event.xbutton.root = DefaultRootWindow(x);
    event.xbutton.time = when;
    event.xbutton.x = event.xbutton.x_root = px;
    event.xbutton.y = event.xbutton.y_root = py;
    event.xbutton.button = button;
    event.xbutton.state = type == ButtonRelease ? Button1Mask << (button - 1) : 0;
    event.xbutton.same_screen = True;
    XtDispatchEvent(&event);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  session();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Session& s = session();
  Display* x = s.server.xDisplay();
  Input in(data, size);
  input = &in;
  callbackKind = 0;

  XtVaSetValues(s.host->shell(), XmNwidth, Dimension(400), XmNheight, Dimension(300), nullptr);
  make(in);
  Time when = 1;
  while (chart && in.more()) {
    switch (in.byte() % 14) {
      case 0:
        scrollToTime(chart, in.time());
        break;
      case 1:
        setViewableTime(chart, in.time());
        break;
      case 2:
        setElapsedTime(chart, in.time());
        break;
      case 3:
        getElapsedTime(chart);
        break;
      case 4: {
        std::string name = in.name();
        start(name, in.time());
      } break;
      case 5: {
        int id = in.byte() < 200 ? int(in.byte() % 10) - 1 : int(in.word());
        stopJobTracking(chart, id, int(in.word()));
      } break;
      case 6:
        updateActiveJobs(chart, in.time());
        break;
      case 7:
        callbackKind = in.byte() % 6;
        setUserCallback(chart, callbackKind == 5 ? nullptr : hostCallback);
        break;
      case 8:
        callUserCallback(chart, &in);
        break;
      case 9:
        setTimeUnits(chart, KoTimeUnit(int(in.word())));
        break;
      case 10: {
        // Up to 2048 pixels, or more than a pixmap may have (the double buffer then fails at
        // once): sizes between would have the server fill gigabytes for every input.
        auto side = [&] {
          uint16_t v = in.half();
          return Dimension(v > 2048 && v <= 32767 ? v % 2048 + 1 : v ? v : 1);
        };
        Dimension w = side(), h = side();
        XtVaSetValues(s.host->shell(), XmNwidth, w, XmNheight, h, nullptr);
        pump(x);
        break;
      }
      case 11: {
        // Mostly inside the window, where the jobs are; sometimes anywhere a 16-bit event reaches.
        int16_t px, py;
        uint8_t aim = in.byte();
        Ko_timeline* row = chart->getTimeLine(aim % 8);
        Ko_timeline_segment* job = row ? row->getSegments()->last() : nullptr;
        if (aim < 96 && job) {  // on a job, where the user would click it
          QelRect box;
          job->boundingBox(box, chart->getTransformer());
          px = int16_t(QelClampToInt32(int64_t(box.x) + box.w / 2));
          py = int16_t(QelClampToInt32(int64_t(box.y) + box.h / 2));
        } else if (aim < 192) {
          px = int16_t(in.byte() * 3);
          py = int16_t(in.byte() * 2);  // (each a statement: the order the bytes are read in)
        } else {
          px = int16_t(in.half());
          py = int16_t(in.half());
        }
        when += in.byte() < 128 ? 100 : 5000;  // quick ones make double clicks
        unsigned button = 1 + in.byte() % 3;
        click(x, px, py, button, when);
        break;
      }
      case 12:
        pump(x);
        break;
      default:  // the host replaces its chart: what one chart left behind must not touch the next
        chartDestructor(chart);
        make(in);
        break;
    }
    check();
  }
  input = nullptr;
  if (chart) chartDestructor(chart);
  chart = nullptr;
  pump(x);
  return 0;
}
