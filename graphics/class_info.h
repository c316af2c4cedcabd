// The class registry: every class that can be read from a data file registers a class info
// under its name, with its superclass and the constructor that reads it.
#pragma once

#include <cstdint>
#include <vector>

#include "base/alist.h"

class QelGraphic;
class QelInputFile;
class QelNamedProperty;
class QelPalette;
class QelSymbol;

class QelClassInfo {
 public:
  // Registers the class unless its name is taken (then warns and keeps the first); the
  // registration number is consumed either way.
  QelClassInfo(const char* name, QelClassInfo* superClass);
  virtual ~QelClassInfo();

  const char* getClassName() const { return _name; }
  QelClassInfo* getSuperClass() const { return _superClass; }
  uint32_t getRegistrationNumber() const { return _number; }
  bool isRegistered() const;

  // Walks the superclass chain from this class.
  bool isSubtypeOf(const QelClassInfo* other) const;
  bool isSubtypeOf(const char* name) const;

  static QelClassInfo* Get(const char* name);
  static bool IsKnown(const char* name);
  static std::vector<const char*> GetRegisteredClassNames();
  static std::vector<QelClassInfo*> GetRegisteredClassInfos();

  QelClassInfo(const QelClassInfo&) = delete;
  QelClassInfo& operator=(const QelClassInfo&) = delete;

 private:
  const char* _name;
  QelClassInfo* _superClass;
  uint32_t _number;
};

// A class info with a small list of per-class properties.
class QelPropClassInfo : public QelClassInfo {
 public:
  using DeleteCallback = void (*)(QelPropClassInfo* info, const QelSymbol* key, void* value);

  QelPropClassInfo(const char* name, QelClassInfo* superClass) : QelClassInfo(name, superClass) {}
  ~QelPropClassInfo() override;

  void* getProperty(const QelSymbol* key) const { return _properties.get(key); }
  bool hasProperty(const QelSymbol* key) const { return _properties.contains(key); }
  // Adds when the key is new; false (and nothing changes) when it is already there.
  bool addProperty(const QelSymbol* key, void* value);
  // Replaces an existing value; false when the key is not there.
  bool replaceProperty(const QelSymbol* key, void* value);
  bool removeProperty(const QelSymbol* key);
  // Called for every property still held when the class info goes.
  void addDeleteCallback(DeleteCallback callback) { _deleteCallbacks.push_back(callback); }

 private:
  QelAList _properties;
  std::vector<DeleteCallback> _deleteCallbacks;
};

// Graphic classes: the reading constructor takes the file and the object's palette.
class QelGraphicClassInfo : public QelPropClassInfo {
 public:
  using Reader = QelGraphic* (*)(QelInputFile& file, QelPalette* palette);
  QelGraphicClassInfo(const char* name, QelClassInfo* superClass, Reader reader)
      : QelPropClassInfo(name, superClass), _reader(reader) {}
  Reader getReader() const { return _reader; }

 private:
  Reader _reader;
};

// Named-property classes: the reading constructor takes the file and the property's name.
class QelNamedPropertyClassInfo : public QelClassInfo {
 public:
  using Reader = QelNamedProperty* (*)(QelInputFile& file, const QelSymbol* name);
  QelNamedPropertyClassInfo(const char* name, QelClassInfo* superClass, Reader reader)
      : QelClassInfo(name, superClass), _reader(reader) {}
  Reader getReader() const { return _reader; }

 private:
  Reader _reader;
};
