// Interned names: one QelSymbol per distinct text, so symbols compare by address. Callback types,
// property keys and value names are symbols.
#pragma once

#include <memory>
#include <string>

class QelSymbol {
 public:
  // The symbol of `name`, created on first use; null for a null name. Symbols live as long as
  // the process, so a pointer to one may be kept anywhere.
  static QelSymbol* Get(const char* name);
  // The symbol of `name` if one was ever made, else null.
  static QelSymbol* Find(const char* name);

  const char* name() const { return _name.c_str(); }

  QelSymbol(const QelSymbol&) = delete;
  QelSymbol& operator=(const QelSymbol&) = delete;

 private:
  explicit QelSymbol(const char* name) : _name(name) {}
  friend struct std::default_delete<QelSymbol>;
  ~QelSymbol() = default;
  const std::string _name;
};

inline QelSymbol* QelGetSymbol(const char* name) {
  return QelSymbol::Get(name);
}
