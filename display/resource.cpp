#include "display/resource.h"

QelResource::QelResource(QelDisplay* display, const char* name) : _display(display) {
  setName(name);
}

QelResource::~QelResource() = default;

const char* QelResource::getName() const { return _named ? _name.c_str() : nullptr; }

void QelResource::setName(const char* name) {
  _named = name != nullptr;
  _name = name ? name : "";
}

bool QelResource::release() {
  if (_lockCount == 0) return false;
  return --_lockCount == 0;
}

void QelResource::unLock() {
  if (release()) delete this;
}
