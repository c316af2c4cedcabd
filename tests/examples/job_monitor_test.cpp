// The job monitor end to end, replaying the trace slice that ships with it. What it should show is
// computed here from the slice itself: which job holds which row by a given time, and in which
// state.
// gtest before Xlib: Xlib's macros (None, Bool) would break gtest's declarations.
#include "tests/examples/program_window.h"
#include "tests/support/display_fixture.h"

#include <clocale>
#include <cmath>
#include <map>
#include <queue>

#include "display/color.h"
#include "display/display.h"
#include "display/font.h"
#include "display/palette.h"
#include "display/port.h"
#include "examples/swf_trace.h"

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
// past the last row, and the time axis shows whole minutes of the last hour before kAt.
struct ChartGeometry {
  int axisX = -1, axisY = -1, top = 0, left = 0, right = 0;
  double minuteMin = double(long((kAt - kWindow) / 60)), minuteMax = double(kAt / 60);

  explicit ChartGeometry(const Image& image) {
    int bestV = 0, bestH = 0;
    for (bool vertical : {true, false})
      for (int line = 0; line < (vertical ? image.width : image.height); ++line)
        for (int i = 0, run = 0; i < (vertical ? image.height : image.width); ++i) {
          run = (vertical ? image.at(line, i) : image.at(i, line)) == kBlack ? run + 1 : 0;
          if (vertical && run > bestV) bestV = run, axisX = line, top = i - run + 1;
          if (!vertical && run > bestH) bestH = run, axisY = line, left = i - run + 1, right = i;
        }
  }
  bool found() const { return axisX > 0 && axisY > top + 100 && right > left + 100; }
  int rowY(int row) const {
    return axisY - int(std::lround((row + 1) * double(axisY - top) / (kRows + 2)));
  }
  int x(double seconds) const {
    return left + int((seconds / 60 - minuteMin) / (minuteMax - minuteMin) * (right - left));
  }
};

// Somewhere near (x, y) in that colour; (-1, -1) when nowhere.
std::pair<int, int> near(const Image& image, int x, int y, uint32_t colour) {
  for (int dx = 0; dx <= 6; ++dx)
    for (int sign : {1, -1})
      for (int dy : {0, -1, 1})
        if (image.at(x + sign * dx, y + dy) == colour) return {x + sign * dx, y + dy};
  return {-1, -1};
}

// The black pixels of an area of an image, cut to their box.
std::vector<uint32_t> ink(const Image& image, const QelRect& area) {
  QelRect box;
  for (int y = area.y; y < area.bottom(); ++y)
    for (int x = area.x; x < area.right(); ++x)
      if (image.at(x, y) == kBlack) box.add(QelRect(x, y, 1, 1));
  std::vector<uint32_t> cut{box.w};
  for (int y = box.y; y < box.bottom(); ++y)
    for (int x = box.x; x < box.right(); ++x) cut.push_back(image.at(x, y) == kBlack);
  return cut;
}

// The caption under the time axis, as black ink.
std::vector<uint32_t> caption(const Image& image, const ChartGeometry& g) {
  return ink(image, QelRect(g.left, g.axisY + 19, uint32_t(g.right - g.left), 26));
}

// The text as the toolkit draws it in the time axis's font, as black ink, in the locale the
// monitor runs in.
std::vector<uint32_t> rendered(const char* text) {
  Display* xt = openXtDisplay(PrivateXEnvironment::displayName());
  std::vector<uint32_t> result;
  {
    QelDisplay display(xt, "X");
    QelBitmap bitmap(&display, 400, 40, uint16_t(display.depth()));
    display.fillRectangle(&bitmap, display.getPalette(nullptr, display.getColor("white")),
                          QelRect(0, 0, 400, 40));
    display.drawString(&bitmap,
                       display.getPalette(nullptr, display.getColor("black"), nullptr, nullptr,
                                          display.getFont(kAxisFont)),
                       QelPoint(4, 4), text, -1, QelLeft | QelTop);
    XSync(xt, False);
    result = ink(readDrawable(xt, bitmap.getDrawable(), display.getVisual(),
                              DefaultColormap(xt, DefaultScreen(xt)), 0, 0, 400, 40),
                 QelRect(0, 0, 400, 40));
  }
  closeXtDisplay(xt);
  return result;
}

class JobMonitorTest : public ProgramWindowTest {
 protected:
  void SetUp() override {
    // The monitor runs in this locale (English or German), and the test draws its texts so.
    setlocale(LC_ALL, "C.UTF-8");
    ProgramWindowTest::SetUp();
  }
  // (LANGUAGE chooses among translations only in a locale other than C.)
  static std::vector<std::string> locale(const char* language = "") {
    return {"LANG=C.UTF-8", "LC_ALL=", std::string("LANGUAGE=") + language};
  }
  // The status line's lines so far with that tag ("status" or "job").
  std::vector<std::string> status(const std::string& tag) {
    std::vector<std::string> lines;
    const std::string& out = program->output();
    for (size_t at = 0, end; (end = out.find('\n', at)) != std::string::npos; at = end + 1)
      if (out.compare(at, tag.size() + 2, tag + ": ") == 0)
        lines.push_back(out.substr(at + tag.size() + 2, end - at - tag.size() - 2));
    return lines;
  }
};

// The screenshot option in German first; then the replay on screen, clicked, its units changed
// from the menus and its scroll bar dragged back.
TEST_F(JobMonitorTest, ShowsTheTraceAndAnswersClicksMenusAndTheScrollBar) {
  ASSERT_EQ(Program(KESTREL_JOB_MONITOR,
                    {"-geometry", "1000x700+0+0", "--screenshot", "monitor.png", "--at",
                     std::to_string(kAt)},
                    directory, locale("de"))
                .waitForExit(30),
            0);
  const Image german = readPng((directory / "monitor.png").string());
  ASSERT_EQ(std::make_pair(german.width, german.height), std::make_pair(1000, 700));
  for (uint32_t colour : {kGreen, kRed, kBlue}) EXPECT_GT(german.count(colour), 20u) << colour;
  ASSERT_TRUE(ChartGeometry(german).found());
  EXPECT_EQ(caption(german, ChartGeometry(german)), rendered("Zeit in Minuten"));

  SwfTrace trace;
  char error[256];
  ASSERT_EQ(swfRead(KESTREL_MONITOR_TRACE, &trace, error, sizeof error), 0) << error;
  const std::vector<DrawnJob> drawn = replay(trace);
  swfFree(&trace);
  ASSERT_NO_FATAL_FAILURE(launch(KESTREL_JOB_MONITOR, "JobMonitor", "1000x700",
                                 {"--print-status", "--speed", "600", "--at", std::to_string(kAt)},
                                 locale()));
  ASSERT_TRUE(eventually([&] {
    auto lines = status("status");
    return !lines.empty() && lines.back().find("paused") != std::string::npos;
  })) << program->output();
  Image image;
  ChartGeometry g(image);
  ASSERT_TRUE(eventually([&] { return (g = ChartGeometry(image = read(shell))).found(); }))
      << "no chart axes";

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

  // A click on a job puts its number and state in the status line (the clicks apart by more
  // than the double-click time: a second click would go to the job pressed first).
  for (auto [colour, state] : {std::pair(kBlue, "succeeded"), std::pair(kRed, "failed")}) {
    auto [job, pixel] = found[colour].front();
    usleep(300000);
    ASSERT_TRUE(click(at(shell, pixel.first, pixel.second)));
    const std::string expected = "Job " + std::to_string(job->number) + " on ";
    EXPECT_TRUE(eventually([&] {
      auto lines = status("job");
      return !lines.empty() && lines.back().rfind(expected, 0) == 0 &&
             lines.back().find(state) != std::string::npos;
    })) << "clicked job "
        << job->number << " at " << pixel.first << ", " << pixel.second;
  }

  // View > Seconds and View > Minutes change the caption.
  EXPECT_EQ(caption(read(shell), g), rendered("Time in Minutes"));
  for (auto [item, text] : {std::pair(0, "Time in Seconds"), std::pair(1, "Time in Minutes")}) {
    ASSERT_NO_FATAL_FAILURE(choose(1, item));
    EXPECT_TRUE(eventually([&] { return caption(read(shell), g) == rendered(text); })) << text;
  }

  // Replay > Resume; the scroll bar dragged back holds the window while the replay goes on.
  ASSERT_NO_FATAL_FAILURE(choose(2, 1));
  auto labels = [&] {  // the strip of the time axis's labels
    Image shot = read(shell);
    std::vector<uint32_t> strip;
    for (int y = 0; y < 16; ++y)
      for (int x = g.left - 10; x < g.right + 10; ++x) strip.push_back(shot.at(x, g.axisY + 2 + y));
    return strip;
  };
  auto ticksLater = [&](size_t ticks) {
    const size_t seen = status("status").size();
    return eventually([&] { return status("status").size() >= seen + ticks; });
  };
  ASSERT_TRUE(ticksLater(3));
  const int barY = g.axisY + 60;
  ASSERT_TRUE(drag({at(shell, g.right - 24, barY), at(shell, g.right - 100, barY),
                    at(shell, g.left + 200, barY)}));
  ASSERT_TRUE(ticksLater(3));
  const auto held = labels();
  ASSERT_TRUE(ticksLater(10));  // ten minutes of the trace later
  EXPECT_EQ(labels(), held) << "the window moved although the scroll bar was dragged back";

  ASSERT_NO_FATAL_FAILURE(choose(0, 0));  // File > Quit
  EXPECT_EQ(program->waitForExit(), 0);
}

}  // namespace
}  // namespace kestrel::test
