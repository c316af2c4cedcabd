// The message database: user-visible texts stored under keys, per language. A message name that
// begins with '&' is a key; any other name is its own text.
#pragma once

#include <map>
#include <string>

class QelMessageDatabase {
 public:
  // Starts with the toolkit's built-in English texts; the language is "C".
  QelMessageDatabase();

  // The text of `name` in the current language, else its built-in text, else `name` itself
  // (null stays null). The result lives as long as the database and its entry.
  const char* getMessage(const char* name) const;

  // Adds or replaces the text of `key` for `language` (null: the current language).
  void setMessage(const char* key, const char* text, const char* language = nullptr);

  void setLanguage(const char* language) { _language = language && *language ? language : "C"; }
  const char* getLanguage() const { return _language.c_str(); }

 private:
  const std::string* lookup(const std::string& language, const char* key) const;

  std::string _language = "C";
  std::map<std::pair<std::string, std::string>, std::string> _texts;  // (language, key) → text
};
