#include "base/alist.h"

#include <gtest/gtest.h>

#include "base/symbol.h"

namespace {

TEST(AListTest, KeepsInsertionOrderReplacesInPlaceAndStoresNull) {
  QelSymbol *a = QelGetSymbol("a"), *b = QelGetSymbol("b"), *c = QelGetSymbol("c");
  int one = 1, two = 2, four = 4;
  QelAList list;
  list.set(b, &one);
  list.set(a, &two);
  list.set(c, nullptr);  // a null value is still an entry
  list.set(a, &four);    // replaced where it stands
  ASSERT_EQ(list.length(), 3u);
  EXPECT_EQ(list.getValue(1), &four);
  EXPECT_EQ(list.remove(a), &four);
  EXPECT_EQ(list.remove(a), nullptr);  // no second pair of the key survives
  ASSERT_EQ(list.length(), 2u);
  EXPECT_EQ(list.getKey(1), c);
}

}  // namespace
