#include "base/symbol.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

// Keys view the symbols' own texts, which never move once the symbol is made. The table is
// destroyed with the library (at exit or when a host unloads it), taking the symbols with it.
struct QelSymbolTable {
  std::unordered_map<std::string_view, std::unique_ptr<QelSymbol>> symbols;
};

namespace {

QelSymbolTable& table() {
  static QelSymbolTable symbols;
  return symbols;
}

}  // namespace

QelSymbol* QelSymbol::Get(const char* name) {
  if (!name) return nullptr;
  auto& symbols = table().symbols;
  auto found = symbols.find(name);
  if (found != symbols.end()) return found->second.get();
  std::unique_ptr<QelSymbol> symbol(new QelSymbol(name));
  QelSymbol* made = symbol.get();
  symbols.emplace(std::string_view(made->_name), std::move(symbol));
  return made;
}

QelSymbol* QelSymbol::Find(const char* name) {
  if (!name) return nullptr;
  auto& symbols = table().symbols;
  auto found = symbols.find(name);
  return found == symbols.end() ? nullptr : found->second.get();
}
