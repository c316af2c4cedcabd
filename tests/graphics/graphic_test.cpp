#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "base/symbol.h"
#include "display/color.h"
#include "display/palette.h"
#include "graphics/class_info.h"
#include "graphics/graphic.h"
#include "graphics/simple_graphic.h"
#include "graphics/transformer.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

// A graphic that is just a floating-point box, to watch the base's geometry rules.
class BoxGraphic : public QelSimpleGraphic {
 public:
  BoxGraphic(QelDisplay* display, QelFloatRect box)
      : QelSimpleGraphic(display, nullptr), box(box) {}
  void draw(QelPort*, const QelTransformer*, const QelRegion*) const override {}
  void boundingBox(QelRect& rect, const QelTransformer* t) const override {
    rect = QelRect(int32_t(box.minx), int32_t(box.miny), uint32_t(box.width()),
                   uint32_t(box.height()));
    if (t) t->apply(rect);
  }
  void applyTransform(const QelTransformer* t) override {
    QelFloatPoint a(box.minx, box.miny), b(box.maxx, box.maxy);
    t->apply(a);
    t->apply(b);
    box = QelFloatRect(a);
    box.add(b);
  }
  QelGraphic* copy() const override { return new BoxGraphic(getDisplay(), box); }
  void write(QelOutputFile&) const override {}
  QelFloatRect box;
};

class GraphicTest : public DisplayTest {
 protected:
  void SetUp() override { QelGraphicModuleInit(); }
  const QelSymbol* type = QelSymbol::Get("named");
};

std::vector<int> calls;
const QelSymbol* activate() {
  return QelSymbol::Get("activate");
}
void record(QelGraphic*, void* data) {
  calls.push_back(*static_cast<int*>(data));
}
void last(QelGraphic*, void*) {
  calls.push_back(30);
}
void selfRemoving(QelGraphic* graphic, void*) {
  calls.push_back(10);
  graphic->removeCallback(activate(), selfRemoving);
}
void removeLast(QelGraphic* graphic, void*) {
  calls.push_back(20);
  graphic->removeCallback(activate(), last);
}

TEST_F(GraphicTest, CallbacksAreKeptOncePerFunctionAndSurviveEditsDuringTheWalk) {
  BoxGraphic g(display, QelFloatRect(0, 0, 10, 10));
  int one = 1, two = 2;
  g.addCallback(activate(), record, &one);
  g.addCallback(activate(), record, &two);  // same function: nothing changes
  ASSERT_EQ(g.getCallbacks(activate())->size(), 1u);
  EXPECT_EQ(g.getCallbackData(activate()), &one);

  // One callback removes itself, the next removes a later one before its turn.
  g.addCallback(activate(), selfRemoving);
  g.addCallback(activate(), removeLast);
  g.addCallback(activate(), last);
  calls.clear();
  g.callCallbacks(activate());
  EXPECT_EQ(calls, (std::vector<int>{1, 10, 20}));
  EXPECT_EQ(g.getCallbacks(activate())->size(), 2u);
  g.callCallbacks(activate());
  EXPECT_EQ(calls, (std::vector<int>{1, 10, 20, 1, 20}));

  g.setCallback(activate(), QelSymbol::Get("by-name"));  // replaces every record of the type
  EXPECT_EQ(g.getCallbacks(activate())->size(), 1u);
  EXPECT_EQ(g.getCallbackName(activate()), QelSymbol::Get("by-name"));
  g.setCallback(activate(), static_cast<QelGraphicCallback>(nullptr));
  EXPECT_FALSE(g.hasCallback(activate()));
  EXPECT_EQ(g.getCallbacks(activate()), nullptr);
  g.callCallbacks(activate());  // no list: nothing happens
}

class Holder : public QelGraphicHolder {
 public:
  explicit Holder(QelDisplay* display) : _display(display) {}
  QelDisplay* getDisplay() const override { return _display; }
  QelGraphicCallback resolveCallback(const QelSymbol* name) const override {
    if (name != QelSymbol::Get("record")) return nullptr;
    return [](QelGraphic*, void* data) { calls.push_back(data ? *static_cast<int*>(data) : -1); };
  }

 private:
  QelDisplay* _display;
};

TEST_F(GraphicTest, NamedCallbacksResolveThroughTheHolderWithClientDataAsFallback) {
  Holder holder(display);  // outlives the graphic, which tells it when it goes
  BoxGraphic g(display, QelFloatRect(0, 0, 1, 1));
  int own = 7, client = 8;
  g.addCallback(type, QelSymbol::Get("record"), &own);
  g.addCallback(type, QelSymbol::Get("record"));  // same name: kept once
  calls.clear();
  g.callCallbacks(type);
  EXPECT_TRUE(calls.empty());  // no holder yet
  g.setHolder(&holder);
  EXPECT_EQ(g.getHolder(), &holder);
  g.callCallbacks(type);
  g.setCallback(type, QelSymbol::Get("record"));
  g.setClientData(&client);
  g.callCallbacks(type);
  g.setCallback(type, QelSymbol::Get("unknown"));
  g.callCallbacks(type);
  EXPECT_EQ(calls, (std::vector<int>{7, 8}));
}

class Note : public QelNamedProperty {
 public:
  using QelNamedProperty::QelNamedProperty;
};

TEST_F(GraphicTest, OnlyTheFirstNamedPropertyAndItsReplacementsAttach) {
  BoxGraphic g(display, QelFloatRect(0, 0, 1, 1));
  const QelSymbol* a = QelSymbol::Get("a");
  Note* first = new Note(a);
  EXPECT_EQ(g.setNamedProperty(first), nullptr);
  Note other(QelSymbol::Get("b"));
  EXPECT_EQ(g.setNamedProperty(&other), nullptr);  // a second name does not attach
  EXPECT_EQ(g.getNamedProperty(QelSymbol::Get("b")), nullptr);
  Note* replacement = new Note(a);
  EXPECT_EQ(g.setNamedProperty(replacement), first);
  delete first;
  EXPECT_EQ(g.getNamedProperty(a), replacement);
  EXPECT_EQ(g.getNamedProperties().size(), 1u);
}  // the graphic deletes `replacement`

TEST_F(GraphicTest, PropertiesLiveInOneListMadeOnFirstUse) {
  BoxGraphic g(display, QelFloatRect(0, 0, 1, 1));
  EXPECT_EQ(g.getName(), nullptr);
  EXPECT_TRUE(g.isSensitive());
  EXPECT_FALSE(g.hasTag(QelSymbol::Get("job")));
  g.setName("first");
  g.setName(g.getName());  // its own pointer: kept
  EXPECT_STREQ(g.getName(), "first");
  g.setName(nullptr);
  EXPECT_EQ(g.getName(), nullptr);
  g.addTag(QelSymbol::Get("job"));
  EXPECT_TRUE(g.hasTag(QelSymbol::Get("job")));
  g.setSensitive(false);
  EXPECT_TRUE(g.hasProperty(QelSymbol::Get("sensitive")));  // the insensitive mark
  EXPECT_FALSE(g.isSensitive());
  g.setFocusable(true);
  EXPECT_TRUE(g.hasProperty(QelSymbol::Get("__QelFocusableSymbol")));

  g.setName("copied");
  BoxGraphic copy(display, QelFloatRect(0, 0, 1, 1));
  copy.copyProperties(g);
  EXPECT_STREQ(copy.getName(), "copied");
  EXPECT_FALSE(copy.isSensitive());
  EXPECT_TRUE(copy.hasTag(QelSymbol::Get("job")));
}

TEST_F(GraphicTest, BaseGeometryFollowsTheBoundingBox) {
  BoxGraphic g(display, QelFloatRect(10, 20, 40, 60));
  EXPECT_TRUE(g.contains(QelPoint(), QelPoint(40, 60), nullptr));  // right and bottom edges
  EXPECT_FALSE(g.contains(QelPoint(), QelPoint(41, 60), nullptr));
  g.move(0, 0);
  EXPECT_EQ(g.box, QelFloatRect(0, 0, 30, 40));
  g.scale(2, 0.5f);  // the top-left corner stays
  EXPECT_EQ(g.box, QelFloatRect(0, 0, 60, 20));
  g.moveResize(QelRect(5, 5, 30, 10));
  EXPECT_EQ(g.box, QelFloatRect(5, 5, 35, 15));

  BoxGraphic flat(display, QelFloatRect(3, 3, 3, 8));
  flat.resize(100, 50);  // zero width counts as 1: x scales by 100
  EXPECT_FLOAT_EQ(flat.box.minx, 3);
  EXPECT_FLOAT_EQ(flat.box.width(), 0);
  EXPECT_FLOAT_EQ(flat.box.height(), 50);

  QelValue width(QelSymbol::Get("width"));
  ASSERT_TRUE(g.queryValue(width));
  EXPECT_EQ(width.asUInt(), 30u);
  EXPECT_TRUE(g.applyValue(QelValue(QelSymbol::Get("width"), uint32_t(60))));
  EXPECT_EQ(g.box.width(), 60);
  QelValue unknown(QelSymbol::Get("no-such-value"));
  EXPECT_FALSE(g.queryValue(unknown));
}

TEST_F(GraphicTest, AttributeSettersSwapSharedPalettesAndKeepLockCounts) {
  QelColor* red = display->getColor("red");
  red->lock();
  BoxGraphic a(display, QelFloatRect(0, 0, 1, 1)), b(display, QelFloatRect(0, 0, 1, 1));
  QelPalette* start = a.getPalette();
  EXPECT_EQ(start, display->defaultPalette());
  uint32_t defaultLocks = start->getLockCount();
  a.setForeground(red);
  b.setForeground(red);
  EXPECT_EQ(a.getPalette(), b.getPalette());  // the same shared palette
  EXPECT_EQ(a.getPalette()->getForeground(), red);
  EXPECT_EQ(a.getPalette()->getLockCount(), 2u);
  EXPECT_EQ(start->getLockCount(), defaultLocks - 2);
  QelPalette* redPalette = a.getPalette();
  a.setForeground(red);  // already so: nothing changes
  EXPECT_EQ(a.getPalette(), redPalette);
  a.setLineWidth(3);
  EXPECT_EQ(a.getPalette()->getLineWidth(), 3);
  EXPECT_EQ(a.getPalette()->getForeground(), red);
  EXPECT_EQ(redPalette->getLockCount(), 1u);

  QelValue lineWidth(QelSymbol::Get("lineWidth"));
  ASSERT_TRUE(a.queryValue(lineWidth));
  EXPECT_EQ(lineWidth.asUInt(), 3u);
  red->unLock();
}

TEST(ValueTest, ConversionsSaturateAndNeverMixKinds) {
  const QelSymbol* n = QelSymbol::Get("value");
  EXPECT_EQ(QelValue(n, -5).asUInt(), 0u);
  EXPECT_EQ(QelValue(n, uint32_t(4000000000u)).asInt(), INT32_MAX);
  EXPECT_EQ(QelValue(n, 1e20f).asInt(), INT32_MAX);
  EXPECT_EQ(QelValue(n, std::nanf("")).asInt(), 0);
  EXPECT_EQ(QelValue(n, -2.7f).asInt(), -2);
  EXPECT_EQ(QelValue(n, "text").asInt(), 0);
  EXPECT_STREQ(QelValue(n, static_cast<const char*>(nullptr)).asString(), "");
  EXPECT_EQ(QelValue(n, 3).asString(), nullptr);
  EXPECT_EQ(QelValue(n, 3).asPointer(), nullptr);
}

}  // namespace
}  // namespace kestrel::test
