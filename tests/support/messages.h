// Collects what QelWarning and QelFatalError send to the handler, for tests that check texts.
#pragma once

#include <string>
#include <vector>

#include "base/messages.h"

namespace kestrel::test {

// Installed for the scope, then a default handler is put back.
class CapturedMessages {
  struct Log : QelError {
    void fatal(const char* message) const override { fatals.push_back(message); }
    void warning(const char* message) const override { warnings.push_back(message); }
    mutable std::vector<std::string> fatals, warnings;
  };
  Log* _log = new Log;  // owned by the handler slot

 public:
  CapturedMessages() { QelSetErrorHandler(_log); }
  ~CapturedMessages() { QelSetErrorHandler(new QelError); }
  const std::vector<std::string>& warnings() const { return _log->warnings; }
  const std::vector<std::string>& fatals() const { return _log->fatals; }
};

}  // namespace kestrel::test
