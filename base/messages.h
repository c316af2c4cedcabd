// The toolkit's message channel: every warning and fatal error of every module goes through
// QelWarning / QelFatalError to one installed QelError object, which decides how the user sees it.
#pragma once

class QelError {
 public:
  virtual ~QelError();
  // The default handler writes the text to standard error; neither operation ends the program,
  // because the toolkit runs inside a host process that owns that decision.
  virtual void fatal(const char* message) const;
  virtual void warning(const char* message) const;
};

// Installs `handler` (which may be null: messages are then dropped) and destroys the previous one
// (the built-in handler that is installed at start lives in static storage and is kept).
void QelSetErrorHandler(QelError* handler);
QelError* QelGetErrorHandler();

// Each formats into a 512-byte buffer; longer texts are truncated, never overflowed.
void QelFatalError(const char* format, ...) __attribute__((format(printf, 1, 2)));
void QelWarning(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Formats the same way and prints the text on standard output followed by a newline.
void QelPrint(const char* format, ...) __attribute__((format(printf, 1, 2)));
