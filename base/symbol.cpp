#include "base/symbol.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

namespace {

// Keys view the symbols' own texts, which never move: each text is a heap string owned here.
using SymbolTable = std::unordered_map<std::string_view, QelSymbol*>;

SymbolTable& table() {
  static SymbolTable* symbols = new SymbolTable;  // never destroyed: symbols outlive exit handlers
  return *symbols;
}

}  // namespace

QelSymbol* QelSymbol::Get(const char* name) {
  if (!name) return nullptr;
  SymbolTable& symbols = table();
  auto found = symbols.find(name);
  if (found != symbols.end()) return found->second;
  std::string* text = new std::string(name);
  QelSymbol* symbol = new QelSymbol(text->c_str());
  symbols.emplace(std::string_view(*text), symbol);
  return symbol;
}

QelSymbol* QelSymbol::Find(const char* name) {
  if (!name) return nullptr;
  auto found = table().find(name);
  return found == table().end() ? nullptr : found->second;
}
