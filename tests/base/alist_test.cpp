#include "base/alist.h"

#include <gtest/gtest.h>

#include "base/symbol.h"

namespace {

TEST(AListTest, KeepsInsertionOrderAndReplacesInPlace) {
  QelSymbol *a = QelGetSymbol("a"), *b = QelGetSymbol("b"), *c = QelGetSymbol("c");
  int one = 1, two = 2, three = 3, four = 4;
  QelAList list;
  EXPECT_TRUE(list.isEmpty());
  list.set(b, &one);
  list.set(a, &two);
  list.set(c, &three);
  list.set(a, &four);  // replaced where it stands
  ASSERT_EQ(list.length(), 3u);
  EXPECT_EQ(list.getKey(0), b);
  EXPECT_EQ(list.getKey(1), a);
  EXPECT_EQ(list.getValue(1), &four);
  EXPECT_EQ(list.get(c), &three);

  EXPECT_EQ(list.remove(a), &four);
  EXPECT_EQ(list.remove(a), nullptr);
  EXPECT_FALSE(list.contains(a));
  ASSERT_EQ(list.length(), 2u);
  EXPECT_EQ(list.getKey(1), c);
}

TEST(AListTest, NullValuesAreStoredAndDistinguishedByContains) {
  QelAList list;
  QelSymbol* key = QelGetSymbol("flag");
  list.set(key, nullptr);
  EXPECT_TRUE(list.contains(key));
  EXPECT_EQ(list.get(key), nullptr);
  EXPECT_EQ(list.get(QelGetSymbol("other")), nullptr);
}

}  // namespace
