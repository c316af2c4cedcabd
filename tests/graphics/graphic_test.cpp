#include <gtest/gtest.h>

#include <vector>

#include "base/symbol.h"
#include "graphics/graphic.h"
#include "graphics/simple_graphic.h"
#include "graphics/transformer.h"
#include "tests/support/display_fixture.h"

namespace kestrel::test {
namespace {

// A graphic that is just a floating-point box, to watch the base's geometry rules.
class BoxGraphic : public QelSimpleGraphic {
 public:
  explicit BoxGraphic(QelDisplay* display, QelFloatRect box = QelFloatRect(0, 0, 1, 1))
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
};

// Callbacks that record their turn; two of them edit the list while it is being walked.
struct Hooks {
  static inline std::vector<int> calls;
  static const QelSymbol* on() { return QelSymbol::Get("activate"); }
  static void record(QelGraphic*, void* data) { calls.push_back(*static_cast<int*>(data)); }
  static void last(QelGraphic*, void*) { calls.push_back(30); }
  static void self(QelGraphic* g, void*) { calls.push_back(10), g->removeCallback(on(), self); }
  static void dropLast(QelGraphic* g, void*) { calls.push_back(20), g->removeCallback(on(), last); }
};

TEST_F(GraphicTest, CallbacksAreKeptOncePerFunctionAndSurviveEditsDuringTheWalk) {
  BoxGraphic g(display);
  int one = 1, two = 2;
  g.addCallback(Hooks::on(), Hooks::record, &one);
  g.addCallback(Hooks::on(), Hooks::record, &two);  // same function: nothing changes
  // One callback removes itself, the next removes a later one before its turn.
  for (QelGraphicCallback f : {Hooks::self, Hooks::dropLast, Hooks::last})
    g.addCallback(Hooks::on(), f);
  g.callCallbacks(Hooks::on());
  g.callCallbacks(Hooks::on());
  EXPECT_EQ(Hooks::calls, (std::vector<int>{1, 10, 20, 1, 20}));
  g.setCallback(Hooks::on(), static_cast<QelGraphicCallback>(nullptr));
  EXPECT_FALSE(g.hasCallback(Hooks::on()));
}

TEST_F(GraphicTest, BaseGeometryFollowsTheBoundingBox) {
  BoxGraphic g(display, QelFloatRect(10, 20, 40, 60));
  // The right and bottom edges hold.
  EXPECT_TRUE(g.contains({}, QelPoint(40, 60), nullptr) &&
              !g.contains({}, QelPoint(41, 60), nullptr));
  g.move(0, 0);
  EXPECT_EQ(g.box, QelFloatRect(0, 0, 30, 40));
  g.scale(2, 0.5f);  // the top-left corner stays
  EXPECT_EQ(g.box, QelFloatRect(0, 0, 60, 20));
  g.moveResize(QelRect(5, 5, 30, 10));
  EXPECT_EQ(g.box, QelFloatRect(5, 5, 35, 15));

  BoxGraphic flat(display, QelFloatRect(3, 3, 3, 8));
  flat.resize(100, 50);  // zero width counts as 1: x scales by 100
  EXPECT_EQ(flat.box, QelFloatRect(3, 3, 3, 53));
}

}  // namespace
}  // namespace kestrel::test
