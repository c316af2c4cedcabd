// Collects what QelWarning and QelFatalError send to the handler, for tests that check texts.
#pragma once

#include <string>
#include <vector>

#include "base/messages.h"

namespace kestrel::test {

class MessageLog : public QelError {
 public:
  void fatal(const char* message) const override { fatals.push_back(message); }
  void warning(const char* message) const override { warnings.push_back(message); }
  mutable std::vector<std::string> fatals;
  mutable std::vector<std::string> warnings;
};

// Installs a MessageLog for the scope, then puts a default handler back.
class CapturedMessages {
 public:
  CapturedMessages() : _log(new MessageLog) { QelSetErrorHandler(_log); }
  ~CapturedMessages() { QelSetErrorHandler(new QelError); }
  const std::vector<std::string>& warnings() const { return _log->warnings; }
  const std::vector<std::string>& fatals() const { return _log->fatals; }

 private:
  MessageLog* _log;  // owned by the handler slot
};

}  // namespace kestrel::test
