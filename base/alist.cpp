#include "base/alist.h"

void* QelAList::get(const QelSymbol* key) const {
  for (const auto& pair : _pairs)
    if (pair.first == key) return pair.second;
  return nullptr;
}

bool QelAList::contains(const QelSymbol* key) const {
  for (const auto& pair : _pairs)
    if (pair.first == key) return true;
  return false;
}

void QelAList::set(const QelSymbol* key, void* value) {
  for (auto& pair : _pairs)
    if (pair.first == key) {
      pair.second = value;
      return;
    }
  _pairs.emplace_back(key, value);
}

void* QelAList::remove(const QelSymbol* key) {
  for (auto it = _pairs.begin(); it != _pairs.end(); ++it)
    if (it->first == key) {
      void* value = it->second;
      _pairs.erase(it);
      return value;
    }
  return nullptr;
}
