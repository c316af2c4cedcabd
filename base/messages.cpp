#include "base/messages.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t kMessageSize = 512;

// The handler slot is reached through a function so that messages issued during the static
// initialisation of other modules already find the default handler.
QelError*& handlerSlot() {
  static QelError* handler = new QelError;
  return handler;
}

void formatMessage(char (&buffer)[kMessageSize], const char* format, va_list args) {
  std::vsnprintf(buffer, kMessageSize, format ? format : "", args);
}

void writeLine(FILE* stream, const char* prefix, const char* message) {
  size_t length = std::strlen(message);
  const char* newline = (length && message[length - 1] == '\n') ? "" : "\n";
  std::fprintf(stream, "%s%s%s", prefix, message, newline);
  std::fflush(stream);
}

}  // namespace

QelError::~QelError() = default;

void QelError::fatal(const char* message) const { writeLine(stderr, "Fatal error: ", message); }

void QelError::warning(const char* message) const { writeLine(stderr, "Warning: ", message); }

void QelSetErrorHandler(QelError* handler) {
  QelError*& slot = handlerSlot();
  if (slot == handler) return;
  delete slot;
  slot = handler;
}

QelError* QelGetErrorHandler() { return handlerSlot(); }

void QelFatalError(const char* format, ...) {
  char buffer[kMessageSize];
  va_list args;
  va_start(args, format);
  formatMessage(buffer, format, args);
  va_end(args);
  if (const QelError* handler = handlerSlot()) handler->fatal(buffer);
}

void QelWarning(const char* format, ...) {
  char buffer[kMessageSize];
  va_list args;
  va_start(args, format);
  formatMessage(buffer, format, args);
  va_end(args);
  if (const QelError* handler = handlerSlot()) handler->warning(buffer);
}

void QelPrint(const char* format, ...) {
  char buffer[kMessageSize];
  va_list args;
  va_start(args, format);
  formatMessage(buffer, format, args);
  va_end(args);
  std::printf("%s\n", buffer);
}
