// The base of every drawing resource a display owns (colours, fonts, line styles, patterns,
// palettes): a name to be cached under and a lock count shared by everyone who keeps it.
#pragma once

#include <cstdint>
#include <string>

class QelDisplay;

class QelResource {
 public:
  QelResource(QelDisplay* display, const char* name = nullptr);
  virtual ~QelResource();
  virtual const char* getName() const;
  // Stores an owned copy (null clears the name).
  virtual void setName(const char* name);

  QelDisplay* getDisplay() const { return _display; }
  uint32_t getLockCount() const { return _lockCount; }
  void lock() { ++_lockCount; }
  // Lowers the lock count and destroys the resource when it reaches zero. A resource nobody
  // locked is its creator's to delete; unlocking it does nothing.
  virtual void unLock();

  QelResource(const QelResource&) = delete;
  QelResource& operator=(const QelResource&) = delete;

 protected:
  // Lowers the count; true when it has just reached zero.
  bool release();

 private:
  QelDisplay* _display;
  uint32_t _lockCount = 0;
  bool _named = false;
  std::string _name;
};
