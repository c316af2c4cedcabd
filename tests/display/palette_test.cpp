#include <gtest/gtest.h>

#include <tuple>

#include "display/color.h"
#include "display/font.h"
#include "display/line_style.h"
#include "display/palette.h"
#include "display/pattern.h"
#include "display/port.h"
#include "graphics/region.h"
#include "tests/display/rules.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {

void checkPaletteRules(QelDisplay* display) {
  // Asking by the default objects themselves is asking for the default palette.
  QelPalette* defaults = display->getPalette(nullptr, nullptr);
  ASSERT_NE(defaults, nullptr);
  EXPECT_EQ(display->getPalette("default"), defaults);
  EXPECT_EQ(display->getPalette(display->defaultBackground(), display->defaultForeground(),
                                display->solidPattern(), nullptr, display->defaultFont(),
                                display->solidLineStyle()),
            defaults);
  QelColor* red = display->getColor("red");
  QelPalette* redLines = display->getPalette(nullptr, red, nullptr, nullptr, nullptr, nullptr, 2);
  EXPECT_EQ(display->getPalette(nullptr, red, nullptr, nullptr, nullptr, nullptr, 2), redLines);
  EXPECT_NE(display->getPalette(nullptr, red, nullptr, nullptr, nullptr, nullptr, 2, QelFillPattern,
                                QelArcPie, QelEvenOddRule, QelDrawModeXor),
            redLines);

  // A shared palette holds its resources and lets them go with its last lock.
  QelColor* teal = display->getColor("#008080");
  uint8_t dashes[] = {3, 5};
  QelLineStyle* style = display->getLineStyle(2, dashes, 1);
  style->setName("kestrel-dashes");
  QelPalette* shared = display->getPalette(nullptr, teal, nullptr, nullptr, nullptr, style, 3);
  display->setPaletteName(shared, "kestrel-shared");
  EXPECT_EQ(teal->getLockCount() + style->getLockCount(), 2u);
  shared->lock();
  shared->lock();
  shared->unLock();
  EXPECT_EQ(display->getPalette("kestrel-shared"), shared);
  shared->unLock();
  EXPECT_EQ(display->getPalette("kestrel-shared"), nullptr);
  EXPECT_EQ(display->findColor("#008080"), nullptr);
  EXPECT_EQ(display->getLineStyle("kestrel-dashes"), nullptr);

  // An unshared palette outlives its last lock; its owner deletes it.
  QelPaletteAttributes attributes;
  attributes.foreground = display->getColor("blue");
  QelPalette* own = new QelPalette(display, attributes, 0);
  own->lock();
  own->unLock();
  EXPECT_NE(display->getPalette(nullptr, attributes.foreground), own);  // never handed out
  delete own;
}

namespace {

class PaletteTest : public DisplayTest {
 protected:
  XGCValues gcValues(const QelPalette* palette, unsigned long mask) {
    XGCValues values;
    EXPECT_TRUE(XGetGCValues(xDisplay, palette->getGC(), mask, &values));
    return values;
  }
};

TEST_F(PaletteTest, GraphicsContextCarriesExactlyTheAttributesAndSettersChangeIt) {
  QelColor* fg = display->getColor("red");
  QelColor* bg = display->getColor("yellow");
  QelPalette* palette =
      display->getPalette(bg, fg, nullptr, nullptr, nullptr, display->getLineStyle("dash"), 3,
                          QelFillPattern, QelArcChord, QelWindingRule, QelDrawModeXor, 1);
  const unsigned long all = GCFunction | GCPlaneMask | GCForeground | GCBackground | GCLineWidth |
                            GCLineStyle | GCFillStyle | GCFillRule | GCArcMode | GCSubwindowMode;
  XGCValues v = gcValues(palette, all);
  EXPECT_EQ(std::make_tuple(v.function, v.plane_mask, v.foreground, v.background, v.line_width,
                            v.line_style, v.fill_style, v.fill_rule, v.arc_mode, v.subwindow_mode),
            std::make_tuple(GXxor, 0xffffffUL, fg->getIndex(), bg->getIndex(), 3, LineOnOffDash,
                            FillSolid, WindingRule, ArcChord, IncludeInferiors));
  const int functions[] = {GXcopy,         GXor,         GXand,         GXxor,   GXinvert,
                           GXcopyInverted, GXorInverted, GXandInverted, GXequiv, GXcopy};
  for (int mode = 0; mode <= 9; ++mode) {
    QelPalette* p =
        display->getPalette(nullptr, fg, nullptr, nullptr, nullptr, nullptr, 0, QelFillPattern,
                            QelArcPie, QelEvenOddRule, QelDrawMode(mode));
    EXPECT_EQ(gcValues(p, GCFunction).function, functions[mode]) << mode;
  }

  // A setter changes the context and files a shared palette under its new attributes.
  QelColor* blue = display->getColor("blue");
  blue->lock();
  palette->lock();
  palette->setForeground(blue);
  palette->setMode(QelDrawModeOr);
  palette->setFillRule(QelEvenOddRule);
  v = gcValues(palette, GCForeground | GCFunction | GCFillRule);
  EXPECT_TRUE(v.foreground == blue->getIndex() && v.function == GXor && v.fill_rule == EvenOddRule);
  EXPECT_EQ(display->getPalette(bg, blue, nullptr, nullptr, nullptr, display->getLineStyle("dash"),
                                3, QelFillPattern, QelArcChord, QelEvenOddRule, QelDrawModeOr, 1),
            palette);
  palette->unLock();
  blue->unLock();
}

// A pattern fills with the foreground where it is set and with the background where it is
// not; a named pattern is the display's and outlives the palettes using it.
TEST_F(PaletteTest, PatternsPaintBothColoursAndANamedOneOutlivesItsPalettes) {
  const unsigned char bits[] = {0x55, 0xaa, 0x55, 0xaa, 0x55, 0xaa, 0x55, 0xaa};
  auto* pattern = new QelPattern(display, 8, 8, bits, "kestrel-checker");
  QelPalette* palette =
      display->getPalette(display->getColor("yellow"), display->getColor("red"), pattern);
  palette->lock();
  EXPECT_EQ(pattern->getLockCount(), 0u);  // colours, font and line style only
  QelPort* port = windowPort(4, 2);
  display->fillRectangle(port, palette, QelRect(0, 0, 4, 2));
  EXPECT_TRUE(pixelsAre(read(port), {{0, 0, 0xff0000}, {1, 0, 0xffff00}, {0, 1, 0xffff00}}));
  palette->unLock();
  ASSERT_EQ(display->getPattern("kestrel-checker"), pattern);
  delete pattern;
}

// A chart clips its palette to the damaged region and a graphic it draws clips the same palette
// again: the inner scope's end must give the outer clip back, not remove it.
TEST_F(PaletteTest, NestedClipScopesPutThePreviousClipBack) {
  QelPort* port = windowPort(30, 10);
  QelPalette* red = display->getPalette(nullptr, display->getColor("red"));
  red->lock();
  QelRegion left(QelRect(0, 0, 10, 10)), middle(QelRect(5, 0, 10, 10));
  {
    QelPaletteClip outer(red, &left);
    {
      QelPaletteClip inner(red, &middle);
      QelPaletteClip none(red, nullptr);  // no clip given: nothing changes
    }
    display->fillRectangle(port, red, QelRect(0, 0, 30, 10));
  }
  EXPECT_FALSE(red->hasClip());
  Image expected(30, 10, 0xffffff);
  expected.fillRect(0, 0, 10, 10, 0xff0000);
  EXPECT_TRUE(imagesMatch(read(port), expected, "nested-clip-scopes"));

  // A scope with another single rectangle is not the clip the palette has: it draws inside it,
  // and its end gives the first rectangle back.
  QelRegion right(QelRect(20, 0, 10, 10));
  QelPort* second = windowPort(30, 10);
  display->setClip(red, &left);
  {
    QelPaletteClip scope(red, &right);
    display->fillRectangle(second, red, QelRect(0, 0, 30, 10));
  }
  EXPECT_TRUE(pixelsAre(read(second), {{25, 5, 0xff0000}, {5, 5, 0xffffff}}));
  EXPECT_TRUE(red->hasClip() && red->getClip().sameRectangles(left));

  // A mask clip comes back as the mask, at its origin.
  const unsigned char bits[] = {0xff, 0xff};
  QelBitmap mask(display, 8, 2, bits);
  display->setClip(red, 3, 4, &mask);
  { QelPaletteClip scope(red, &middle); }
  EXPECT_EQ(red->getClipMask(), mask.getPixmap());
  XGCValues v = gcValues(red, GCClipXOrigin | GCClipYOrigin);
  EXPECT_TRUE(v.clip_x_origin == 3 && v.clip_y_origin == 4);
  display->setClip(red, static_cast<const QelRegion*>(nullptr));
  red->unLock();
}

}  // namespace
}  // namespace kestrel::test
