#include <gtest/gtest.h>

#include "display/color.h"
#include "display/palette.h"
#include "tests/support/display_fixture.h"
#include "tests/support/server_resources.h"

#include <X11/extensions/XRes.h>

namespace kestrel::test {
namespace {

TEST(ResourceLeakTest, ADisplayAndAThousandPalettesGiveBackEveryServerResource) {
  Display* x = openXtDisplay();
  ASSERT_NE(x, nullptr);
  int major, minor;
  ASSERT_TRUE(XResQueryVersion(x, &major, &minor));
  Window probe = mapWindow(x, 4, 4);
  // The first display on a connection leaves the cursor font open: Xlib keeps it for the
  // connection's lifetime. Measure from there.
  delete new QelDisplay(x, "kestrel-warm-up");
  long before = serverResources(x, probe);
  {
    QelDisplay display(x, "kestrel-leaks");
    ASSERT_NE(display.getXDisplay(), nullptr);
    long made = serverResources(x, probe);
    EXPECT_GT(made, before);
    for (int i = 0; i < 1000; ++i) {
      QelColor* color = display.getColor((unsigned short)(i * 61), 0x8000, (unsigned short)(i * 7));
      QelPalette* palette =
          display.getPalette(nullptr, color, nullptr, nullptr, nullptr, nullptr, uint16_t(i % 5));
      palette->lock();
      palette->unLock();
    }
    XSync(x, False);
    EXPECT_EQ(serverResources(x, probe), made);  // each palette's GC went with it
  }
  XSync(x, False);
  EXPECT_EQ(serverResources(x, probe), before);
  XDestroyWindow(x, probe);
  closeXtDisplay(x);
}

}  // namespace
}  // namespace kestrel::test
