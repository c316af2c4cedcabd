// The job monitor end to end: the real program on the private server, replaying the trace slice
// that ships with it, driven by xdotool and read back. What it should show is computed here from
// the slice itself: which job holds which row by a given time, and in which state.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <queue>
#include <string>
#include <vector>

#include "display/display.h"
#include "display/font.h"
#include "examples/swf_trace.h"
#include "tests/support/display_fixture.h"
#include "tests/support/pixels.h"
#include "tests/support/programs.h"
#include "tests/support/waiting.h"
#include "tests/support/x_server.h"

#include <X11/Xutil.h>

namespace kestrel::test {
namespace {

constexpr uint32_t kGreen = 0x00ff00, kRed = 0xff0000, kBlue = 0x0000ff, kBlack = 0x000000;
constexpr int kSites = 8, kSlots = 4, kRows = kSites * kSlots;  // the monitor's defaults
constexpr long kAt = 186180;  // a whole minute of the third day, when jobs of all three kinds show
constexpr double kWindow = 3600;  // the default window: the last hour, in minutes
const char* const kAxisFont = "-*-*-medium-r-normal--*-*-*-*-*-*";  // the chart's time axis

// A drawn job as the replay rules place it: the first free row of its site, ends before starts
// at equal times, sites by number of jobs (the busiest at the top rows).
struct DrawnJob {
  long number;
  int row;  // the chart's job ID: 0 is the bottom row
  double start, end;
  bool failed;
};

std::vector<DrawnJob> replay(const SwfTrace& trace) {
  std::vector<const SwfJob*> jobs;
  for (size_t i = 0; i < trace.jobCount; ++i)
    if (trace.jobs[i].submit >= 0 && trace.jobs[i].run >= 0) jobs.push_back(&trace.jobs[i]);
  std::stable_sort(jobs.begin(), jobs.end(),
                   [](const SwfJob* a, const SwfJob* b) { return swfStart(a) < swfStart(b); });
  std::map<long, size_t> counts;
  for (const SwfJob* job : jobs) ++counts[job->partition];
  std::vector<std::pair<long, size_t>> sites(counts.begin(), counts.end());
  std::stable_sort(sites.begin(), sites.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  std::map<long, int> firstRow;  // the site's lowest row
  for (int rank = 0; rank < kSites && rank < int(sites.size()); ++rank)
    firstRow[sites[size_t(rank)].first] = kRows - (rank + 1) * kSlots;

  const double origin = jobs.empty() ? 0 : double(swfStart(jobs.front()));
  std::vector<bool> busy(kRows, false);
  std::vector<DrawnJob> drawn;
  // Ends waiting, earliest first (ties in start order), with their row.
  using End = std::tuple<double, size_t, int>;
  std::priority_queue<End, std::vector<End>, std::greater<End>> ends;
  for (size_t i = 0; i < jobs.size(); ++i) {
    const double start = double(swfStart(jobs[i])) - origin;
    for (; !ends.empty() && std::get<0>(ends.top()) <= start; ends.pop())
      if (std::get<2>(ends.top()) >= 0) busy[size_t(std::get<2>(ends.top()))] = false;
    int row = -1;
    auto site = firstRow.find(jobs[i]->partition);
    for (int k = 0; site != firstRow.end() && k < kSlots && row < 0; ++k)
      if (!busy[size_t(site->second + k)]) row = site->second + k;
    if (row >= 0) {
      busy[size_t(row)] = true;
      drawn.push_back({jobs[i]->number, row, start, start + double(jobs[i]->run),
                       swfKilledAtLimit(jobs[i]) != 0});
    }
    ends.emplace(start + double(jobs[i]->run), i, row);
  }
  return drawn;
}

// Where the chart lies in a picture of the monitor's window: its two axes are the longest black
// lines. The rows lie on the job axis at their values 1 ... rows of a range that reaches two
// past the last row, and the time axis shows whole minutes from `minuteMin` to `minuteMax`.
struct ChartGeometry {
  int axisX = -1, axisY = -1, top = 0, left = 0, right = 0;
  double minuteMin = 0, minuteMax = 1;

  int rowY(int row) const {
    return axisY - int(std::lround((row + 1) * double(axisY - top) / (kRows + 2)));
  }
  int x(double seconds) const {
    return left + int((seconds / 60 - minuteMin) / (minuteMax - minuteMin) * (right - left));
  }
};

int longestRun(const Image& image, bool vertical, int line, uint32_t colour, int* from) {
  const int length = vertical ? image.height : image.width;
  int best = 0, run = 0;
  for (int i = 0; i < length; ++i) {
    run = (vertical ? image.at(line, i) : image.at(i, line)) == colour ? run + 1 : 0;
    if (run > best) best = run, *from = i - run + 1;
  }
  return best;
}

ChartGeometry findChart(const Image& image, double atSeconds) {
  ChartGeometry g;
  int bestV = 0, bestH = 0, from = 0;
  for (int x = 0; x < image.width; ++x)
    if (int run = longestRun(image, true, x, kBlack, &from); run > bestV)
      bestV = run, g.axisX = x, g.top = from;
  for (int y = 0; y < image.height; ++y)
    if (int run = longestRun(image, false, y, kBlack, &from); run > bestH)
      bestH = run, g.axisY = y, g.left = from, g.right = from + run - 1;
  g.minuteMax = double(long(atSeconds / 60));
  g.minuteMin = double(long((atSeconds - kWindow) / 60));
  return g;
}

bool found(const ChartGeometry& g) {
  return g.axisX > 0 && g.axisY > g.top + 100 && g.right > g.left + 100;
}

// Somewhere near (x, y) in that colour; (-1, -1) when nowhere.
std::pair<int, int> near(const Image& image, int x, int y, uint32_t colour) {
  for (int dx = 0; dx <= 6; ++dx)
    for (int sign : {1, -1})
      for (int dy : {0, -1, 1})
        if (image.at(x + sign * dx, y + dy) == colour) return {x + sign * dx, y + dy};
  return {-1, -1};
}

// The black pixels of an image, cut to their box.
Image ink(const Image& image, const QelRect& area) {
  Image mask(int(area.w), int(area.h), 0);
  for (int y = 0; y < int(area.h); ++y)
    for (int x = 0; x < int(area.w); ++x)
      if (image.at(area.x + x, area.y + y) == kBlack) mask.set(x, y, 1);
  QelRect box = extentOf(mask, 1);
  Image cut(int(box.w), int(box.h), 0);
  for (int y = 0; y < int(box.h); ++y)
    for (int x = 0; x < int(box.w); ++x) cut.set(x, y, mask.at(box.x + x, box.y + y));
  return cut;
}

class JobMonitorTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // The monitor runs in this locale (English or German), and the test draws its texts so.
    setlocale(LC_ALL, "C.UTF-8");
    x = XOpenDisplay(PrivateXEnvironment::displayName());
    ASSERT_NE(x, nullptr);
    // The monitor's windows come and go under the test's requests: failures are answers.
    previousHandler = XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    directory = std::filesystem::temp_directory_path() /
                ("kestrel-job-monitor-" + std::to_string(getpid()));
    std::filesystem::create_directories(directory);
    SwfTrace trace;
    char error[256];
    ASSERT_EQ(swfRead(KESTREL_MONITOR_TRACE, &trace, error, sizeof error), 0) << error;
    drawn = replay(trace);
    swfFree(&trace);
  }
  void TearDown() override {
    if (HasFailure() && shell && isViewable(x, shell))
      writePng(screen(), outputDirectory() + "/job_monitor.png");
    monitor.reset();
    std::filesystem::remove_all(directory);
    if (x) XCloseDisplay(x);
    XSetErrorHandler(previousHandler);
  }

  void launch(std::vector<std::string> args) {
    args.insert(args.begin(), {"-geometry", "1000x700+0+0", "--print-status"});
    monitor =
        std::make_unique<Program>(KESTREL_JOB_MONITOR, args, directory,
                                  std::vector<std::string>{"LANG=C.UTF-8", "LC_ALL=", "LANGUAGE="});
    ASSERT_TRUE(eventually([&] { return (shell = viewableTopLevel(x, "JobMonitor")) != None; }))
        << "the monitor's window never showed";
  }

  Image screen() {
    XSync(x, False);
    QelRect box = rootGeometry(x, shell);
    return readWindow(x, shell, 0, 0, box.w, box.h);
  }

  // The status line's lines so far with that tag ("status" or "job").
  std::vector<std::string> status(const std::string& tag) {
    std::vector<std::string> lines;
    const std::string& out = monitor->output();
    for (size_t at = 0, end; (end = out.find('\n', at)) != std::string::npos; at = end + 1)
      if (out.compare(at, tag.size() + 2, tag + ": ") == 0)
        lines.push_back(out.substr(at + tag.size() + 2, end - at - tag.size() - 2));
    return lines;
  }

  void click(int px, int py) {
    // Apart from the click before by more than the double-click time: a second click would go
    // to the job pressed first.
    usleep(300000);
    QelRect box = rootGeometry(x, shell);
    ASSERT_TRUE(xdotoolClick(QelPoint(box.x + px, box.y + py)));
  }

  void drag(int fromX, int toX, int y) {
    QelRect box = rootGeometry(x, shell);
    std::vector<QelPoint> path;
    for (int step = 0; step <= 4; ++step)
      path.push_back(QelPoint(box.x + fromX + (toX - fromX) * step / 4, box.y + y));
    ASSERT_TRUE(xdotoolDrag(path));
  }

  // Opens the menu `title` of the menu bar (0 is File) and chooses its item `item`.
  void choose(int title, int item) {
    // The menu bar holds the title under the window's top-left corner.
    Window first = deepestAt(x, shell, 10, 15), root = None, bar = None, *list = nullptr;
    unsigned count = 0;
    if (XQueryTree(x, first, &root, &bar, &list, &count) && list) XFree(list);
    std::vector<Window> titles = children(x, bar);
    std::sort(titles.begin(), titles.end(),
              [&](Window a, Window b) { return rootGeometry(x, a).x < rootGeometry(x, b).x; });
    ASSERT_GT(titles.size(), size_t(title));
    QelRect t = rootGeometry(x, titles[size_t(title)]);
    ASSERT_TRUE(xdotoolClick(QelPoint(t.x + int(t.w / 2), t.y + int(t.h / 2))));
    std::vector<Window> items;
    ASSERT_TRUE(eventually([&] {
      return (items = postedMenuItems(x, shell)).size() > size_t(item);
    })) << "no menu with item "
        << item << " opened";
    QelRect r = rootGeometry(x, items[size_t(item)]);
    ASSERT_TRUE(xdotoolClick(QelPoint(r.x + int(r.w / 2), r.y + int(r.h / 2))));
    ASSERT_TRUE(eventually([&] { return postedMenuItems(x, shell).empty(); }));
  }

  // The caption under the time axis, as black ink.
  Image caption(const Image& image, const ChartGeometry& g) {
    return ink(image, QelRect(g.left, g.axisY + 19, uint32_t(g.right - g.left), 26));
  }

  // The text as the time axis's font draws it, as black ink: the font as the toolkit finds it
  // for the chart, in the locale the monitor runs in.
  Image rendered(const char* text) {
    Display* xt = openXtDisplay(PrivateXEnvironment::displayName());
    auto* display = new QelDisplay(xt, "X");
    QelFont* font = display->getFont(kAxisFont);
    Image result;
    if (font && font->isValid()) {
      const int length = int(std::strlen(text));
      const int width = font->textWidth(text, length) + 8, height = font->height() + 8;
      const int screen = DefaultScreen(xt);
      Pixmap pixmap = XCreatePixmap(xt, DefaultRootWindow(xt), unsigned(width), unsigned(height),
                                    unsigned(DefaultDepth(xt, screen)));
      GC gc = XCreateGC(xt, pixmap, 0, nullptr);
      XSetForeground(xt, gc, WhitePixel(xt, screen));
      XFillRectangle(xt, pixmap, gc, 0, 0, unsigned(width), unsigned(height));
      XSetForeground(xt, gc, BlackPixel(xt, screen));
      if (font->getFontSet()) {
        XmbDrawString(xt, pixmap, font->getFontSet(), gc, 4, 4 + font->ascent(), text, length);
      } else {
        XSetFont(xt, gc, font->getXFontStruct()->fid);
        XDrawString(xt, pixmap, gc, 4, 4 + font->ascent(), text, length);
      }
      Image image = readDrawable(xt, pixmap, DefaultVisual(xt, screen), DefaultColormap(xt, screen),
                                 0, 0, unsigned(width), unsigned(height));
      XFreeGC(xt, gc);
      XFreePixmap(xt, pixmap);
      result = ink(image, QelRect(0, 0, uint32_t(width), uint32_t(height)));
    }
    delete display;
    closeXtDisplay(xt);
    return result;
  }

  Display* x = nullptr;
  XErrorHandler previousHandler = nullptr;
  std::filesystem::path directory;
  std::vector<DrawnJob> drawn;
  std::unique_ptr<Program> monitor;
  Window shell = None;
};

TEST_F(JobMonitorTest, ReplayShowsTheTraceAndAnswersClicksMenusAndTheScrollBar) {
  ASSERT_NO_FATAL_FAILURE(launch({"--at", std::to_string(kAt), "--speed", "600"}));
  ASSERT_TRUE(eventually([&] {
    auto lines = status("status");
    return !lines.empty() && lines.back().find("paused") != std::string::npos;
  })) << monitor->output();
  Image image;
  ChartGeometry g;
  ASSERT_TRUE(eventually([&] {
    g = findChart(image = screen(), double(kAt));
    return found(g);
  })) << "no chart axes";

  // Every job of the last hour long enough to sample, in the colour of its state at kAt.
  std::map<uint32_t, std::vector<std::pair<const DrawnJob*, std::pair<int, int>>>> found;
  for (const DrawnJob& job : drawn) {
    const double from = std::max(job.start, double(kAt) - kWindow);
    const double to = std::min(job.end, double(kAt));
    if (g.x(to) - g.x(from) < 30) continue;
    const uint32_t colour = job.end > double(kAt) ? kGreen : job.failed ? kRed : kBlue;
    const int px = (g.x(from) + g.x(to)) / 2, py = g.rowY(job.row);
    auto pixel = near(image, px, py, colour);
    EXPECT_NE(pixel.first, -1) << "job " << job.number << " on row " << job.row << " at (" << px
                               << ", " << py << ")";
    found[colour].push_back({&job, pixel});
  }
  for (uint32_t colour : {kGreen, kRed, kBlue}) ASSERT_FALSE(found[colour].empty()) << colour;

  // A click on a job puts its number and state in the status line.
  for (auto [colour, state] : {std::pair(kBlue, "succeeded"), std::pair(kRed, "failed")}) {
    auto [job, pixel] = found[colour].front();
    ASSERT_NO_FATAL_FAILURE(click(pixel.first, pixel.second));
    const std::string expected = "Job " + std::to_string(job->number) + " on ";
    EXPECT_TRUE(eventually([&] {
      auto lines = status("job");
      return !lines.empty() && lines.back().rfind(expected, 0) == 0 &&
             lines.back().find(state) != std::string::npos;
    })) << "clicked job "
        << job->number << " at " << pixel.first << ", " << pixel.second;
  }

  // View > Seconds and View > Minutes change the caption.
  EXPECT_EQ(caption(screen(), g).rgb, rendered("Time in Minutes").rgb);
  ASSERT_NO_FATAL_FAILURE(choose(1, 0));
  EXPECT_TRUE(
      eventually([&] { return caption(screen(), g).rgb == rendered("Time in Seconds").rgb; }));
  ASSERT_NO_FATAL_FAILURE(choose(1, 1));
  EXPECT_TRUE(
      eventually([&] { return caption(screen(), g).rgb == rendered("Time in Minutes").rgb; }));

  // Replay > Resume; the scroll bar dragged back holds the window while the replay goes on.
  ASSERT_NO_FATAL_FAILURE(choose(2, 1));
  const int barY = g.axisY + 60;
  auto labels = [&] {
    Image shot = screen();
    Image strip(g.right - g.left + 20, 16, 0);
    for (int y = 0; y < 16; ++y)
      for (int x = 0; x < strip.width; ++x)
        strip.set(x, y, shot.at(g.left - 10 + x, g.axisY + 2 + y));
    return strip.rgb;
  };
  auto ticksLater = [&](size_t ticks) {
    const size_t seen = status("status").size();
    return eventually([&] { return status("status").size() >= seen + ticks; });
  };
  ASSERT_TRUE(ticksLater(3));
  ASSERT_NO_FATAL_FAILURE(drag(g.right - 24, g.left + 200, barY));
  ASSERT_TRUE(ticksLater(3));
  const auto held = labels();
  ASSERT_TRUE(ticksLater(10));  // ten minutes of the trace later
  EXPECT_EQ(labels(), held) << "the window moved although the scroll bar was dragged back";

  // Dragged to the end, it follows again.
  Image bar = screen();
  int slider = -1;  // the first pixel of the slider: unlike the trough left of it
  const uint32_t trough = bar.at(g.left + 40, barY);
  for (int px = g.left + 40; px < g.right - 20 && slider < 0; ++px)
    if (bar.at(px, barY) != trough) slider = px;
  ASSERT_NE(slider, -1);
  ASSERT_NO_FATAL_FAILURE(drag(slider + 4, g.right + 200, barY));
  ASSERT_TRUE(ticksLater(3));
  const auto following = labels();
  EXPECT_NE(following, held);
  ASSERT_TRUE(ticksLater(3));
  EXPECT_NE(labels(), following) << "the window did not follow the present again";

  // File > Quit.
  ASSERT_NO_FATAL_FAILURE(choose(0, 0));
  EXPECT_EQ(monitor->waitForExit(), 0);
}

TEST_F(JobMonitorTest, ScreenshotAtATraceTimeInGerman) {
  const std::string png = (directory / "monitor.png").string();
  {
    Program run(KESTREL_JOB_MONITOR,
                {"-geometry", "1000x700+0+0", "--screenshot", png, "--at", std::to_string(kAt)},
                directory, {"LANG=C.UTF-8", "LC_ALL=", "LANGUAGE=de"});
    // (LANGUAGE chooses among translations only in a locale other than C.)
    ASSERT_EQ(run.waitForExit(30), 0);
  }
  const Image image = readPng(png);
  ASSERT_EQ(image.width, 1000);
  ASSERT_EQ(image.height, 700);
  for (uint32_t colour : {kGreen, kRed, kBlue}) EXPECT_GT(image.count(colour), 20u) << colour;
  ChartGeometry g = findChart(image, double(kAt));
  ASSERT_TRUE(found(g));
  EXPECT_EQ(caption(image, g).rgb, rendered("Zeit in Minuten").rgb);
}

}  // namespace
}  // namespace kestrel::test
