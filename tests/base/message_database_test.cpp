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
  // Built-in texts exist in "C" only, and are found in any language.
  EXPECT_STRNE(database.getMessage("&QelCSDBCouldntAllBm"), "&QelCSDBCouldntAllBm");
  for (const char* own : {"&NoSuchKey", "not-a-key", ""})
    EXPECT_STREQ(database.getMessage(own), own);
}

}  // namespace
