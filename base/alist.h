// An association list from symbols to untyped pointers, kept in insertion order. Graphics keep
// their optional properties in one, so an object without properties costs a single null pointer.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

class QelSymbol;

class QelAList {
 public:
  // The value stored under `key`, or null.
  void* get(const QelSymbol* key) const;
  bool contains(const QelSymbol* key) const;
  // Replaces the value of an existing key in place; a new key goes to the end.
  void set(const QelSymbol* key, void* value);
  // Takes the key out and returns its value (null when absent); later pairs keep their order.
  void* remove(const QelSymbol* key);

  size_t length() const { return _pairs.size(); }
  bool isEmpty() const { return _pairs.empty(); }
  const QelSymbol* getKey(size_t index) const { return _pairs[index].first; }
  void* getValue(size_t index) const { return _pairs[index].second; }

 private:
  std::vector<std::pair<const QelSymbol*, void*>> _pairs;
};
