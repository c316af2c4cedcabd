#include "base/messages.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

constexpr size_t kMessageSize = 512;

// The built-in handler lives in static storage and is never destroyed, so messages issued
// during static initialisation or at exit still find it, and nothing is left on the heap.
QelError* builtinHandler() {
  alignas(QelError) static unsigned char storage[sizeof(QelError)];
  static QelError* handler = new (storage) QelError;
  return handler;
}

QelError*& handlerSlot() {
  static QelError* handler = builtinHandler();
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

void QelError::fatal(const char* message) const {
  writeLine(stderr, "Fatal error: ", message);
}

void QelError::warning(const char* message) const {
  writeLine(stderr, "Warning: ", message);
}

void QelSetErrorHandler(QelError* handler) {
  QelError*& slot = handlerSlot();
  if (slot == handler) return;
  if (slot != builtinHandler()) delete slot;
  slot = handler;
}

QelError* QelGetErrorHandler() {
  return handlerSlot();
}

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
