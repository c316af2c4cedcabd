#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "charts/scale.h"
#include "display/palette.h"
#include "graphics/region.h"
#include "graphics/transformer.h"
#include "tests/support/data_files.h"
#include "tests/support/display_fixture.h"
#include "tests/support/messages.h"

namespace kestrel::test {
namespace {

constexpr uint32_t kWhite = 0xffffff, kBlue = 0x0000ff;

class ScaleTest : public DisplayTest {
 protected:
  void SetUp() override { QelScaleModuleInit(); }
  // Blue text and lines in the core font "fixed" (6 by 13 cells).
  QelPalette* fixed() {
    return display->getPalette(display->getColor("white"), display->getColor("blue"), nullptr,
                               nullptr, display->getFont("fixed"));
  }
  std::unique_ptr<QelRectangularScale> scale(QelPoint origin, uint32_t size, QelPosition direction,
                                             QelPosition position, uint16_t steps,
                                             uint16_t subSteps = 0, const char* format = nullptr) {
    return std::make_unique<QelRectangularScale>(display, origin, size, format, 0.0f, 100.0f,
                                                 direction, position, steps, subSteps, 5, 3,
                                                 fixed());
  }
  Image drawn(const QelRectangularScale& s, int w = 200, int h = 200,
              const QelTransformer* t = nullptr) {
    QelPort* port = windowPort(w, h);
    s.draw(port, t, nullptr);
    return read(port);
  }
  // The ink the labels add to the scale drawn without them.
  QelRect labelInk(QelRectangularScale& s, uint16_t count, const char* const* texts) {
    s.setLabels(count, texts);
    Image labelled = drawn(s);
    s.setLabels(count, nullptr);
    const Image bare = drawn(s);
    return extentOf(labelled, kBlue, &bare);
  }
  static uint32_t labelWidth(const QelScale& s, uint16_t index) {
    uint32_t w, a, d;
    s.getLabelSizes(index, w, a, d);
    return w;
  }
};

TEST_F(ScaleTest, GeneratedLabelsAccumulateInSinglePrecision) {
  // Min, max, ticks, format, and a label worked out by hand, one float addition at a time;
  // min + index * delta would give "0.8000000" and "7.8" in the first two rows.
  using Row = std::tuple<float, float, uint16_t, const char*, uint16_t, const char*>;
  for (auto [min, max, count, format, index, label] :
       {Row{0, 1, 11, "%.7f", 8, "0.8000001"}, Row{0, 10, 101, "%.6g", 78, "7.79999"},
        Row{-5, 5, 3, "%+.1f", 2, "+5.0"}}) {
    QelRectangularScale s(display, QelPoint(), 100, format, min, max, QelLeft, QelBottom, count, 0,
                          4, 2, fixed());
    EXPECT_STREQ(s.getLabel(index), label) << format;
  }

  QelRectangularScale s(display, QelPoint(), 100, "%.100f", 0, 1, QelLeft, QelBottom, 2, 0, 4, 2,
                        fixed());
  EXPECT_TRUE(std::strlen(s.getLabel(1)) == 79u && labelWidth(s, 1) == 79u * 6 &&
              !labelWidth(s, 2));

  // One tick, no format, or a format that would read something else than one double: the
  // step count is kept and there are no labels.
  s.setLabels(1, 0, 1, "%g");
  EXPECT_TRUE(s.getSteps() == 1u && !s.hasLabels());
  s.setLabels(5, 0, 1, nullptr);
  EXPECT_TRUE(s.getSteps() == 5u && !s.hasLabels());
  for (const char* bad : {"%s", "%d", "%g %g", "%*g", "%n", "%1000g", "%Lg", "%"}) {
    CapturedMessages messages;
    s.setLabels(3, 0, 1, bad);
    EXPECT_TRUE(!s.hasLabels() && messages.warnings().size() == 1u) << bad;
  }
  s.setLabels(3, NAN, INFINITY, "%g");
  EXPECT_STREQ(s.getLabel(0), "nan");
  // Relabelling with the same count measures again what changed.
  const char* texts[] = {"a", nullptr, "ccc"};
  s.setLabels(3, texts);
  s.setLabel(1, "bb");
  EXPECT_TRUE(labelWidth(s, 2) == 18u && labelWidth(s, 1) == 12u);
  // Scrolled forward, then back by two: every text has its own size wherever it went.
  for (float from : {8.0f, 9.0f, 7.0f}) {
    s.setLabels(12, from, from + 11, "%.0f");
    for (uint16_t i = 0; i < 12; ++i)
      EXPECT_EQ(labelWidth(s, i), 6u * std::strlen(s.getLabel(i))) << from << " " << i;
  }
}

TEST_F(ScaleTest, RectangleAndOriginRoundTripForEveryDirectionAndPosition) {
  // Direction, position, rectangle: origin (100, 50), length 200, thickness 5 (the longer tick).
  using Row = std::tuple<QelPosition, QelPosition, QelRect>;
  const Row rows[] = {
      {QelLeft, QelBottom, {100, 50, 200, 5}},    {QelLeft, QelTop, {100, 45, 200, 5}},
      {QelRight, QelBottom, {-100, 50, 200, 5}},  {QelRight, QelTop, {-100, 45, 200, 5}},
      {QelTop, QelRight, {100, 50, 5, 200}},      {QelTop, QelLeft, {95, 50, 5, 200}},
      {QelBottom, QelRight, {100, -150, 5, 200}}, {QelBottom, QelLeft, {95, -150, 5, 200}},
  };
  for (auto [direction, position, rect] : rows) {
    auto s = scale(QelPoint(100, 50), 200, direction, position, 3);
    SCOPED_TRACE(testing::Message() << direction << ' ' << position);
    QelPoint origin;
    EXPECT_EQ(s->getRect(), rect);
    EXPECT_TRUE(s->computeSize(origin) == 200u && origin == QelPoint(100, 50));
    s->computeRect(QelPoint(7, 9), 0);  // a length of 0 is 1
    s->getOrigin(origin);
    EXPECT_TRUE(s->getSize() == 1u && origin == QelPoint(7, 9));
  }
  // Orientation words and positions across the wrong axis are mapped.
  auto h = scale(QelPoint(), 10, QelHorizontal, QelLeft, 2),
       v = scale(QelPoint(), 10, QelVertical, QelBottom, 2);
  EXPECT_TRUE(h->getDirection() == QelLeft && h->getPosition() == QelBottom);
  EXPECT_TRUE(v->getDirection() == QelBottom && v->getPosition() == QelLeft);
}

TEST_F(ScaleTest, TicksStandAtTruncatedStepsFromEitherEnd) {
  // Direction, position, origin, a row (horizontal) or column (vertical) through the ticks only,
  // integer steps and the ticks. Four steps over 100 pixels: 33.33 apart, truncated, from
  // whichever end the origin is. Integer steps truncate the step itself.
  using Row = std::tuple<QelPosition, QelPosition, QelPoint, int, bool, std::vector<int>>;
  const std::vector<int> exact = {20, 53, 86, 120};
  const Row rows[] = {
      {QelLeft, QelBottom, {20, 30}, 33, false, exact},
      {QelRight, QelBottom, {120, 30}, 33, false, exact},
      {QelLeft, QelTop, {20, 30}, 27, false, exact},
      {QelTop, QelRight, {30, 20}, 33, false, exact},
      {QelBottom, QelLeft, {30, 120}, 27, false, exact},
      {QelLeft, QelBottom, {20, 30}, 33, true, {20, 56, 92, 128}},
  };
  for (const auto& [direction, position, origin, across, integer, expected] : rows) {
    // With integer steps, 110 pixels: steps of 36.67 cut to 36, never rounded to 37.
    auto s = scale(origin, integer ? 110 : 100, direction, position, 4);
    s->setIntegerSteps(integer);
    Image image = drawn(*s, 160, 160);
    std::vector<int> ticks;
    const bool horizontal = direction == QelLeft || direction == QelRight;
    for (int i = 0; i < 160; ++i)
      if ((horizontal ? image.at(i, across) : image.at(across, i)) == kBlue) ticks.push_back(i);
    EXPECT_EQ(ticks, expected) << direction << ' ' << position << ' ' << integer;
    // With integer steps the base line ends at the last tick, too.
    if (integer) {
      EXPECT_TRUE(pixelsAre(image, {{128, 30, kBlue}, {129, 30, kWhite}}));
    }
  }
}

TEST_F(ScaleTest, LabelSkipFollowsLabelWidthsAndOverlap) {
  // Steps, size and the skip. Nine-character labels are 54 pixels wide. Five steps on 100 pixels:
  // (4 * 58) / 100 = 2, but label 2 (x 43..97, grown 41..99) overlaps label 0 (x -7..47), so k = 3;
  // label 3 (grown 66..124) clears it and the walk ends. Eleven steps on 300 pixels: 580 / 300 = 1;
  // label 1 (grown 21..79) overlaps label 0, k = 2, and every second label clears the last.
  // Three steps on 110 pixels: label 1 (x 48..102) clears label 0 only by a pixel, too close.
  for (auto [steps, size, skip] :
       {std::tuple<uint16_t, uint32_t, uint16_t>{5, 100, 3}, {11, 300, 2}, {3, 110, 2}}) {
    auto s = scale(QelPoint(20, 30), size, QelLeft, QelBottom, steps, 2);
    std::vector<const char*> texts(steps, "123456789");
    s->setLabels(steps, texts.data());
    ASSERT_EQ(labelWidth(*s, 0), 54u);
    EXPECT_EQ(s->getNumberOfSkippedSteps(), 1u) << "keep all labels is the default";
    s->setKeepAllLabels(0);
    s->setModified(1);
    EXPECT_EQ(s->getNumberOfSkippedSteps(), skip) << steps;
  }

  // Minor ticks halfway between majors (20 + 12.5, three pixels long), only while every tick is
  // drawn: with the skip, tick 1 is left out and tick 3 drawn.
  auto s = scale(QelPoint(20, 30), 100, QelLeft, QelBottom, 5, 2);
  EXPECT_TRUE(pixelsAre(drawn(*s), {{32, 32, kBlue}, {45, 34, kBlue}}));
  std::vector<const char*> texts(5, "123456789");
  s->setLabels(5, texts.data());
  s->setKeepAllLabels(0);
  EXPECT_TRUE(pixelsAre(drawn(*s), {{32, 32, kWhite}, {45, 34, kWhite}, {95, 34, kBlue}}));

  // On an axis of one pixel only the first label shows.
  s->setSize(1);
  EXPECT_EQ(s->getNumberOfSkippedSteps(), 5u);
  QelRect first, all;
  s->labelBBox(0, first);
  s->labelsBBox(all);
  EXPECT_EQ(all, first);
}

TEST_F(ScaleTest, LabelsStandFourPixelsBeyondTheTickEnd) {
  // Where "Ag" puts its ink relative to the start of its baseline.
  QelPort* reference = windowPort(100, 100);
  display->drawString(reference, fixed(), QelPoint(50, 50), "Ag", 2);
  QelRect ink = extentOf(read(reference), kBlue);
  ASSERT_FALSE(ink.isEmpty());
  ink.translate(-50, -50);

  uint32_t w, a, d;
  auto probe = scale(QelPoint(), 100, QelLeft, QelBottom, 2);
  const char* texts[] = {"Ag", nullptr};
  probe->setLabels(2, texts);
  probe->getLabelSizes(0, w, a, d);
  ASSERT_EQ(w, 12u);
  const int32_t W = int32_t(w), A = int32_t(a), D = int32_t(d);
  // Direction, position, vertical labels, and where the baseline starts; the tick is at (60, 60).
  using Row = std::tuple<QelPosition, QelPosition, bool, QelPoint>;
  const Row rows[] = {
      {QelLeft, QelBottom, false, {60 - W / 2, 65 + A - D + 4}},
      {QelLeft, QelTop, false, {60 - W / 2, 55 - (D + 4)}},
      {QelTop, QelRight, false, {65 + 4, 60 + A / 2 - D}},
      {QelTop, QelLeft, false, {55 - (W + 4), 60 + A / 2 - D}},
      {QelLeft, QelBottom, true, {60 - A / 2, 65 + W + 4}},
      {QelLeft, QelTop, true, {60 - A / 2, 55 - 4}},
      {QelTop, QelRight, true, {65 + 4, 60 + W / 2}},
      {QelTop, QelLeft, true, {55 - (A + 4), 60 + W / 2}},
  };
  for (auto [direction, position, vertical, text] : rows) {
    auto s = scale(QelPoint(60, 60), 100, direction, position, 2);
    s->setVerticalLabels(vertical);
    QelRect expected = ink;
    expected.translate(text.x, text.y);
    EXPECT_EQ(labelInk(*s, 2, texts), expected) << direction << ' ' << position << ' ' << vertical;
  }

  // Between ticks each label moves half a step on, and the last one is left out: "a" from
  // 45 - 3, "b" from 95 - 3 and no "c" at 145 - 3.
  const char* abc[] = {"a", "b", "c"};
  auto s = scale(QelPoint(20, 30), 100, QelLeft, QelBottom, 3);
  s->setLabelsBetweenTicks(1);
  QelRect text = labelInk(*s, 3, abc);
  EXPECT_GE(text.x, 42);
  EXPECT_GT(text.right64(), 92);
  EXPECT_LE(text.right64(), 98);
}

TEST_F(ScaleTest, BoundingBoxCoversEverythingDrawn) {
  // Direction, position, vertical labels, labels between ticks, integer steps.
  using Row = std::tuple<QelPosition, QelPosition, bool, bool, bool>;
  const Row rows[] = {
      {QelLeft, QelBottom, false, false, false}, {QelRight, QelTop, false, true, false},
      {QelTop, QelRight, false, false, true},    {QelBottom, QelLeft, false, false, false},
      {QelLeft, QelTop, true, false, false},     {QelRight, QelBottom, true, false, true},
      {QelTop, QelLeft, true, true, false},      {QelBottom, QelRight, true, false, false},
  };
  const QelTransformer zoom(1.5, 1.5);
  for (auto [direction, position, vertical, between, integer] : rows) {
    for (const QelTransformer* t : {static_cast<const QelTransformer*>(nullptr), &zoom}) {
      SCOPED_TRACE(testing::Message() << direction << ' ' << position << ' ' << vertical << ' '
                                      << between << ' ' << integer << ' ' << bool(t));
      const bool horizontal = direction == QelLeft || direction == QelRight;
      QelPoint origin(horizontal ? (direction == QelLeft ? 40 : 140) : 100,
                      horizontal ? 100 : (direction == QelTop ? 40 : 140));
      auto s = scale(origin, 100, direction, position, 7, 3, "%.1f");
      s->setVerticalLabels(vertical);
      s->setLabelsBetweenTicks(between);
      s->setIntegerSteps(integer);
      QelRect box, ticks;
      s->boundingBox(box, t);
      EXPECT_TRUE(box.contains(extentOf(drawn(*s, 300, 300, t), kBlue)));
      // Without labels the box is exactly what is painted.
      s->setLabels(7, nullptr);
      s->ticksBBox(ticks, t);
      EXPECT_EQ(ticks, extentOf(drawn(*s, 300, 300, t), kBlue));
    }
  }
}

TEST_F(ScaleTest, ScalesRoundTripThroughDataFiles) {
  auto s = scale(QelPoint(-70000, 12), 300, QelRight, QelTop, 4, 2, nullptr);
  const char* texts[] = {"say \"hi\"", nullptr, "", "back\\slash"};
  s->setLabels(4, texts);
  s->setVerticalLabels(1);
  s->setKeepAllLabels(0);
  auto bare = scale(QelPoint(5, 6), 40, QelBottom, QelRight, 3);
  bare->setIntegerSteps(1);
  bare->setLabelsBetweenTicks(1);
  std::vector<std::unique_ptr<QelGraphic>> loaded;
  std::string text;
  ASSERT_TRUE(readBackSavesTheSame(display, {s.get(), bare.get()}, loaded, text));
  // Label sizes and the skip are not in the file: measured again.
  auto* read = static_cast<QelRectangularScale*>(loaded[0].get());
  EXPECT_TRUE(labelWidth(*read, 0) == 6u * 8 &&
              read->getNumberOfSkippedSteps() == s->getNumberOfSkippedSteps());

  // Labels on a scale of fewer than two steps, short label lists, steps beyond 16 bits, a
  // direction that is no side, a position along the axis, flags beyond 0 and 1, and missing
  // fields are refused.
  const char *fields = "-70300 7 300 5 4 2 5 3 1", *flags = "2 4 0 1 0 0";
  CapturedMessages messages;
  for (const char* to :
       {"-70300 7 300 5 1 2 5 3 1", "-70300 7 300 5 5 2 5 3 1", "-70300 7 300 5 65536 2 5 3 1"})
    EXPECT_TRUE(loadEdited(display, text, fields, to).empty()) << to;
  for (const char* to : {"3 4 0 1 0 0", "2 1 0 1 0 0", "2 4 2 1 0 0", "2 4 0 1 0"})
    EXPECT_TRUE(loadEdited(display, text, flags, to).empty()) << to;
}

TEST_F(ScaleTest, DrawingStartsOnlyNearTheVisiblePart) {
  auto s = scale(QelPoint(0, 50), 100, QelLeft, QelBottom, 2);
  QelPort port(display, 0, 100, 100);
  const QelRegion clip(QelRect(10, 10, 10, 10)), nothing;
  using Row = std::tuple<QelPoint, const QelRegion*, bool>;  // point, clip, worth drawing from
  for (auto [point, region, inside] :
       {Row{{299, 50}, nullptr, true}, Row{{300, 50}, nullptr, false},
        Row{{-199, -199}, nullptr, true}, Row{{-200, 50}, nullptr, false},
        Row{{219, 15}, &clip, true}, Row{{220, 15}, &clip, false}, Row{{15, 15}, &nothing, false}})
    EXPECT_EQ(s->liesIn(&port, point, region), inside) << point.x << ' ' << point.y;

  // A recording port takes everything, however far out; on the screen only what can show is
  // sent. 65,535 ticks across two billion pixels, minor ticks closer than a pixel, odd values and
  // a turned view: drawing still ends, and only near the window.
  auto huge = scale(QelPoint(-1000000000, 50), 2000000000u, QelLeft, QelBottom, 65535, 65535, "%g");
  huge->setLabels(65535, -INFINITY, NAN, "%g");
  QelPort* window = windowPort(100, 100);
  const QelTransformer turn(QelPoint(50, 50), 30);
  for (const QelTransformer* t : {static_cast<const QelTransformer*>(nullptr), &turn})
    huge->draw(window, t, nullptr);
  EXPECT_GT(read(window).count(kBlue), 0u);
  // Four billion minor ticks on 100 pixels are a hundred lines.
  scale(QelPoint(0, 50), 100, QelLeft, QelBottom, 65535, 65535)->draw(window, nullptr, nullptr);
}

}  // namespace
}  // namespace kestrel::test
