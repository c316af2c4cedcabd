// A small typed value with a name: how graphics and gadgets expose named attributes ("width",
// "foreground", a scroll bar's "value") to generic code.
#pragma once

#include <cstdint>
#include <string>

#include "base/symbol.h"

enum QelValueType : int {
  QelValueNone = 0,
  QelValueInt,
  QelValueUInt,
  QelValueFloat,
  QelValueString,
  QelValuePointer,
};

class QelValue {
 public:
  explicit QelValue(const QelSymbol* name = nullptr) : _name(name) {}
  explicit QelValue(const char* name) : _name(QelSymbol::Get(name)) {}
  QelValue(const QelSymbol* name, int32_t v) : _name(name), _type(QelValueInt) { _int = v; }
  QelValue(const QelSymbol* name, uint32_t v) : _name(name), _type(QelValueUInt) { _uint = v; }
  QelValue(const QelSymbol* name, float v) : _name(name), _type(QelValueFloat) { _float = v; }
  QelValue(const QelSymbol* name, const char* v) : _name(name) { set(v); }
  QelValue(const QelSymbol* name, void* v) : _name(name), _type(QelValuePointer) { _pointer = v; }

  const QelSymbol* getName() const { return _name; }
  QelValueType getType() const { return _type; }

  void set(int32_t v) { _type = QelValueInt, _int = v; }
  void set(uint32_t v) { _type = QelValueUInt, _uint = v; }
  void set(float v) { _type = QelValueFloat, _float = v; }
  // Keeps a copy; null is an empty string.
  void set(const char* v) { _type = QelValueString, _string = v ? v : ""; }
  void set(void* v) { _type = QelValuePointer, _pointer = v; }

  // Each converts between the numeric kinds (truncating toward zero, saturating); a string or
  // pointer value reads as 0, and a number as a null string or pointer.
  int32_t asInt() const;
  uint32_t asUInt() const;
  float asFloat() const;
  const char* asString() const { return _type == QelValueString ? _string.c_str() : nullptr; }
  void* asPointer() const { return _type == QelValuePointer ? _pointer : nullptr; }

 private:
  const QelSymbol* _name;
  QelValueType _type = QelValueNone;
  union {
    int32_t _int;
    uint32_t _uint;
    float _float;
    void* _pointer = nullptr;
  };
  std::string _string;
};
