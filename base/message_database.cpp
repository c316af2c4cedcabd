#include "base/message_database.h"

namespace {

struct BuiltinMessage {
  const char* key;
  const char* text;
};

const BuiltinMessage builtinMessages[] = {
    {"&QelCSDBCouldntAllBm",
     "QelContainer::setDoubleBuffering: Couldn't allocate the off-screen bitmap; "
     "drawing directly to the window"},
};

}  // namespace

QelMessageDatabase::QelMessageDatabase() {
  for (const BuiltinMessage& message : builtinMessages) setMessage(message.key, message.text, "C");
}

const std::string* QelMessageDatabase::lookup(const std::string& language, const char* key) const {
  auto found = _texts.find({language, key});
  return found == _texts.end() ? nullptr : &found->second;
}

const char* QelMessageDatabase::getMessage(const char* name) const {
  if (!name || name[0] != '&') return name;
  const std::string* text = lookup(_language, name);
  if (!text) text = lookup("C", name);
  return text ? text->c_str() : name;
}

void QelMessageDatabase::setMessage(const char* key, const char* text, const char* language) {
  if (!key || key[0] != '&' || !text) return;
  _texts[{language ? language : _language, key}] = text;
}
