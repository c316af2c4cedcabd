#include "base/alist.h"

#include <string>

#include <gtest/gtest.h>

#include "base/symbol.h"

namespace {

// The keys of a list are symbols: one per text, whichever string it was built in.
TEST(SymbolTest, EqualTextsGiveOneSymbolAndFindNeverCreates) {
  EXPECT_EQ(QelSymbol::Get(std::string("callback").c_str()), QelSymbol::Get("callback"));
  EXPECT_NE(QelSymbol::Get("callback"), QelSymbol::Get("Callback"));
  EXPECT_EQ(QelSymbol::Find("never-interned-before"), nullptr);
  EXPECT_EQ(QelSymbol::Find("callback"), QelSymbol::Get("callback"));
}

TEST(AListTest, KeepsInsertionOrderReplacesInPlaceAndStoresNull) {
  QelSymbol *a = QelGetSymbol("a"), *b = QelGetSymbol("b"), *c = QelGetSymbol("c");
  int one = 1, two = 2, four = 4;
  QelAList list;
  list.set(b, &one);
  list.set(a, &two);
  list.set(c, nullptr);  // a null value is still an entry
  list.set(a, &four);    // replaced where it stands
  ASSERT_EQ(list.length(), 3u);
  EXPECT_EQ(list.getKey(1), a);
  EXPECT_EQ(list.getValue(1), &four);
  EXPECT_TRUE(list.contains(c));
  EXPECT_EQ(list.remove(a), &four);
  EXPECT_EQ(list.remove(a), nullptr);  // no second pair of the key survives
  EXPECT_FALSE(list.contains(a));
  ASSERT_EQ(list.length(), 2u);
  EXPECT_EQ(list.getKey(1), c);
}

}  // namespace
