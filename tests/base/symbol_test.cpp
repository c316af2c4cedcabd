#include "base/symbol.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(SymbolTest, EqualTextsGiveTheSameSymbol) {
  std::string a = "callback", b = "call";
  b += "back";
  EXPECT_EQ(QelSymbol::Get(a.c_str()), QelSymbol::Get(b.c_str()));
  EXPECT_NE(QelSymbol::Get("callback"), QelSymbol::Get("Callback"));
  EXPECT_STREQ(QelSymbol::Get("callback")->name(), "callback");
  EXPECT_NE(QelSymbol::Get(""), nullptr);
  EXPECT_EQ(QelSymbol::Get(nullptr), nullptr);
}

TEST(SymbolTest, FindDoesNotCreate) {
  EXPECT_EQ(QelSymbol::Find("never-interned-before"), nullptr);
  QelSymbol* made = QelGetSymbol("never-interned-before");
  EXPECT_EQ(QelSymbol::Find("never-interned-before"), made);
}

}  // namespace
