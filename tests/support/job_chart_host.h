// Job chart tests: a chart made through the entry points in a Motif host on the private server.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "gadgets/motif_look.h"
#include "kestrel.h"
#include "src/ko_chart/job_chart.h"
#include "tests/support/display_fixture.h"
#include "tests/support/motif_host.h"
#include "tests/support/pixels.h"

// After gtest and the toolkit: Xlib's macros would break their declarations.
#include <X11/Xlib.h>
#include <Xm/Xm.h>

namespace kestrel::test {

constexpr uint32_t kGreen = 0x00ff00, kRed = 0xff0000, kBlue = 0x0000ff;

class JobChartTest : public DisplayTest {
 protected:
  explicit JobChartTest(int width = 600, int height = 400) : _width(width), _height(height) {}
  void SetUp() override {
    setenv("QELHOME", "/usr/share/kestrel/", 1);  // no message about the home: only refusals
    // What loading libKestrel.so.1 does for a host: the gadgets' look among the rest.
    QelMotifScrollBarModuleInit();
    QelMotifMessageLabelModuleInit();
    host = std::make_unique<MotifHost>(xDisplay, 20, 20, _width, _height);
  }
  void TearDown() override {
    if (chart) chartDestructor(chart);
    host.reset();
    DisplayTest::TearDown();
  }
  Ko_chart* make(std::vector<const char*> names, Widget on = nullptr) {
    chart = static_cast<Ko_chart*>(chartConstructor(
        on ? on : host->board(), const_cast<char**>(names.data()), int(names.size())));
    return chart;
  }
  // What the chart's window shows once the server is done with it.
  Image shot() {
    host->settle();
    return readWindow(xDisplay, XtWindow(chart->getWidget()), 0, 0, chart->width(),
                      chart->height());
  }
  std::unique_ptr<MotifHost> host;
  Ko_chart* chart = nullptr;

 private:
  int _width, _height;
};

}  // namespace kestrel::test
