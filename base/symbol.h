// Interned names: one QelSymbol per distinct text, so symbols compare by address. Callback types,
// property keys and value names are symbols.
#pragma once

class QelSymbol {
 public:
  // The symbol of `name`, created on first use; null for a null name. Symbols live as long as
  // the process, so a pointer to one may be kept anywhere.
  static QelSymbol* Get(const char* name);
  // The symbol of `name` if one was ever made, else null.
  static QelSymbol* Find(const char* name);

  const char* name() const { return _name; }

  QelSymbol(const QelSymbol&) = delete;
  QelSymbol& operator=(const QelSymbol&) = delete;

 private:
  explicit QelSymbol(const char* name) : _name(name) {}
  const char* _name;
};

inline QelSymbol* QelGetSymbol(const char* name) { return QelSymbol::Get(name); }
