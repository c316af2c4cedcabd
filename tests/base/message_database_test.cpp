#include "base/message_database.h"

#include <gtest/gtest.h>

namespace {

TEST(MessageDatabaseTest, KeysResolveAndOtherNamesAreTheirOwnText) {
  QelMessageDatabase database;
  const char* bitmap = database.getMessage("&QelCSDBCouldntAllBm");
  ASSERT_NE(bitmap, nullptr);
  EXPECT_NE(std::string(bitmap).find("bitmap"), std::string::npos);
  EXPECT_STREQ(database.getMessage("&NoSuchKey"), "&NoSuchKey");
  EXPECT_STREQ(database.getMessage("plain text"), "plain text");
  EXPECT_STREQ(database.getMessage(""), "");
  EXPECT_EQ(database.getMessage(nullptr), nullptr);
}

TEST(MessageDatabaseTest, CurrentLanguageFirstThenBuiltInText) {
  QelMessageDatabase database;
  database.setMessage("&Greeting", "Hello");
  database.setMessage("&Greeting", "Bonjour", "fr");
  EXPECT_STREQ(database.getMessage("&Greeting"), "Hello");
  database.setLanguage("fr");
  EXPECT_STREQ(database.getMessage("&Greeting"), "Bonjour");
  EXPECT_STRNE(database.getMessage("&QelCSDBCouldntAllBm"), "&QelCSDBCouldntAllBm");
  database.setMessage("not-a-key", "ignored");
  EXPECT_STREQ(database.getMessage("not-a-key"), "not-a-key");
}

}  // namespace
