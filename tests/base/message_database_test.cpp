#include "base/message_database.h"

#include <gtest/gtest.h>

namespace {

TEST(MessageDatabaseTest, KeysResolveInTheLanguageThenInCAndOtherNamesAreTheirOwnText) {
  QelMessageDatabase database;
  database.setMessage("&Greeting", "Hello");
  database.setMessage("&Greeting", "Bonjour", "fr");
  database.setMessage("not-a-key", "ignored");
  EXPECT_STREQ(database.getMessage("&Greeting"), "Hello");
  database.setLanguage("fr");
  EXPECT_STREQ(database.getMessage("&Greeting"), "Bonjour");
  // Built-in texts exist in "C" only.
  EXPECT_NE(std::string(database.getMessage("&QelCSDBCouldntAllBm")).find("bitmap"),
            std::string::npos);
  for (const char* own : {"&NoSuchKey", "not-a-key", ""})
    EXPECT_STREQ(database.getMessage(own), own);
}

}  // namespace
