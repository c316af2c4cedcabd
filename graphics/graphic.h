// The base of every drawable object. A graphic carries one pointer of its own: a property list
// that holds everything optional (name, callbacks, client data, holder, named properties, tags,
// focus and sensitivity marks), created on first use.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <vector>

#include "graphics/geometry.h"
#include "graphics/value.h"

class QelAList;
class QelClassInfo;
class QelColor;
class QelColorPattern;
class QelDisplay;
class QelFont;
class QelGraphic;
class QelGraphicClassInfo;
class QelInputFile;
class QelLineStyle;
class QelNamedProperty;
class QelOutputFile;
class QelPalette;
class QelPattern;
class QelPort;
class QelRegion;
class QelSymbol;
class QelTransformer;
struct QelEvent;

using QelGraphicCallback = void (*)(QelGraphic* graphic, void* clientData);
using QelApplyObject = void (*)(QelGraphic* graphic, void* arg);

// Told of changes a graphic reports instead of calling its own callbacks (a holder that records
// or forwards them provides one).
class QelGraphicObserver {
 public:
  virtual ~QelGraphicObserver();
  virtual void notify(QelGraphic* graphic, const QelSymbol* what) = 0;
};

// What holds graphics (a container, a manager): it resolves named callbacks and is told when an
// object it holds needs redrawing.
class QelGraphicHolder {
 public:
  virtual ~QelGraphicHolder();
  virtual QelDisplay* getDisplay() const = 0;
  // The function a callback name stands for in this holder, or null.
  virtual QelGraphicCallback resolveCallback(const QelSymbol* name) const = 0;
  // An object still held is being destroyed: the holder forgets it (without measuring or
  // drawing it, since only its base part is left).
  virtual void objectDeleted(QelGraphic*) {}
  // The observer of an object's changes, when the holder has one.
  virtual QelGraphicObserver* getObserver(const QelGraphic*) const { return nullptr; }
};

// A persistent, named attachment of a graphic, written with it in data files.
class QelNamedProperty {
 public:
  explicit QelNamedProperty(const QelSymbol* name) : _name(name) {}
  virtual ~QelNamedProperty();
  virtual bool isPersistent() const { return true; }
  virtual QelClassInfo* getClassInfo() const;
  virtual void write(QelOutputFile& file) const;
  const QelSymbol* getName() const { return _name; }

  static QelClassInfo* ClassInfo();

 private:
  const QelSymbol* _name;
};

class QelGraphic {
 public:
  QelGraphic() = default;
  QelGraphic(const QelGraphic&) = delete;
  QelGraphic& operator=(const QelGraphic&) = delete;

  virtual ~QelGraphic();
  virtual void apply(QelApplyObject f, void* arg);
  virtual void applyReferences(QelApplyObject f, void* arg);
  virtual bool zoomable() const { return true; }
  virtual void setBackground(QelColor*) {}
  virtual void setForeground(QelColor*) {}
  virtual void setFont(QelFont*) {}
  virtual void setColorPattern(QelColorPattern*) {}
  virtual void setPattern(QelPattern*) {}
  virtual void setOverwrite(int) {}
  virtual void setMode(int) {}
  virtual void setFillStyle(int) {}
  virtual void setLineStyle(QelLineStyle*) {}
  virtual void setLineWidth(uint16_t) {}
  virtual void setPlaneMask(uint32_t) {}
  virtual void setArcMode(int) {}
  virtual void setFillRule(int) {}
  virtual void setPalette(QelPalette*) {}
  virtual void invert(int) {}
  virtual void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const = 0;
  // Draws with another palette (for highlighting); the base draws normally.
  virtual void drawPalette(const QelPalette* palette, QelPort* port, const QelTransformer* t,
                           const QelRegion* clip) const;
  // `p` is the point in object coordinates, `tp` the same point in view coordinates.
  virtual bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const;
  virtual bool intersects(const QelRegion& region, const QelTransformer* t) const;
  virtual bool inside(const QelRegion& region, const QelTransformer* t) const;
  virtual void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const = 0;
  virtual void move(int32_t x, int32_t y);
  virtual void translate(int32_t dx, int32_t dy);
  virtual void applyTransform(const QelTransformer* t) = 0;
  virtual void rotate(const QelPoint& center, float angle);
  virtual void scale(float sx, float sy);
  virtual void resize(uint32_t w, uint32_t h);
  // Mirrors the object across its box's vertical (QelVertical) or horizontal axis.
  virtual void symmetry(unsigned int axis);
  // Reads the X resources of `objectName` (class `objectClass`) through the display.
  virtual void applyResources(QelDisplay* display, const char* objectName, const char* objectClass);
  virtual QelGraphic* copy() const = 0;
  virtual void write(QelOutputFile& file) const = 0;
  virtual void print(std::ostream& out, int level = 0) const;
  virtual QelGraphicHolder* getHolder() const;
  virtual void setHolder(QelGraphicHolder* holder);
  // Named values: queryValue fills `value` for its name; applyValue sets from it. Both answer
  // false for names the class does not know. changeValue applies through applyValue.
  virtual bool queryValue(QelValue& value) const;
  virtual void queryValues(QelValue* values, uint16_t count) const;
  virtual bool changeValue(const QelValue& value);
  virtual void changeValues(const QelValue* values, uint16_t count);
  virtual bool applyValue(const QelValue& value);
  virtual void getAccessors(const QelSymbol* const** names, const QelValueType** types,
                            uint32_t& count) const;
  // The registered name of the interactor objects of this class use by default (null: none).
  virtual const char* getDefaultInteractor() const { return nullptr; }
  virtual void setName(const char* name);
  virtual bool handleAccelerator(QelEvent& event);
  virtual void callCallbacks(const QelSymbol* type);
  virtual uint32_t getCallbackTypes(const char* const** names,
                                    const QelSymbol* const** types) const;
  virtual bool classFocusable() const { return true; }
  virtual void initialize(QelPalette*) {}
  virtual void drawFocus(QelPort* port, const QelPalette* palette, const QelTransformer* t,
                         const QelRegion* clip) const;
  virtual void computeFocusRegion(QelRegion& region, const QelTransformer* t) const;
  virtual void computeHighlightRegion(QelRegion& region, const QelTransformer* t) const;
  virtual QelClassInfo* getClassInfo() const;

  // --- Geometry helpers --------------------------------------------------------------------
  bool intersects(const QelRect& rect, const QelRect& trect, const QelTransformer* t) const;
  bool inside(const QelRect& rect, const QelRect& trect, const QelTransformer* t) const;
  void moveResize(const QelRect& rect);

  // --- Properties ----------------------------------------------------------------------------
  const char* getName() const;
  void* getProperty(const QelSymbol* key) const;
  bool hasProperty(const QelSymbol* key) const;
  // Adds or replaces; the property list is made on first use.
  void setProperty(const QelSymbol* key, void* value);
  // Takes the key out and returns its value (null when absent).
  void* removeProperty(const QelSymbol* key);
  void setClientData(void* data);
  void* getClientData() const;
  void addTag(const QelSymbol* tag);
  void removeTag(const QelSymbol* tag);
  bool hasTag(const QelSymbol* tag) const;
  void setFocusable(bool focusable);
  bool isFocusable() const;
  // An insensitive object ignores events (its mark is the "sensitive" symbol's property).
  void setSensitive(bool sensitive);
  bool isSensitive() const;
  void setHighlight(bool highlight);
  bool isHighlighted() const;
  void setFocus(bool focus);
  bool hasFocus() const;
  // The first named property reaches the graphic; later ones only replace it by name.
  QelNamedProperty* setNamedProperty(QelNamedProperty* property);
  QelNamedProperty* getNamedProperty(const QelSymbol* name) const;
  QelNamedProperty* removeNamedProperty(const QelSymbol* name);
  // The graphic's named properties, in order (empty when it has none).
  std::vector<QelNamedProperty*> getNamedProperties() const;
  void copyProperties(const QelGraphic& other);
  void removeProperties();
  bool isSubtypeOf(const char* className) const;

  // --- Callbacks -----------------------------------------------------------------------------
  void setCallback(const QelSymbol* type, QelGraphicCallback callback, void* data = nullptr);
  void setCallback(const QelSymbol* type, const QelSymbol* name, void* data = nullptr);
  void addCallback(const QelSymbol* type, QelGraphicCallback callback, void* data = nullptr);
  void addCallback(const QelSymbol* type, const QelSymbol* name, void* data = nullptr);
  void removeCallback(const QelSymbol* type, QelGraphicCallback callback);
  void removeCallback(const QelSymbol* type, const QelSymbol* name);
  bool hasCallback(const QelSymbol* type) const;
  // The first record's function (or name) of a type.
  QelGraphicCallback getCallback(const QelSymbol* type) const;
  const QelSymbol* getCallbackName(const QelSymbol* type) const;
  void* getCallbackData(const QelSymbol* type) const;
  void setCallbackData(const QelSymbol* type, void* data);
  bool hasCallbackData(const QelSymbol* type) const;
  struct CallbackRecord;
  // Records are shared so that a walk over the list survives callbacks that edit it.
  using CallbackList = std::vector<std::shared_ptr<CallbackRecord>>;
  // The type's records in call order, or null.
  const CallbackList* getCallbacks(const QelSymbol* type) const;

  static QelClassInfo* ClassInfo();
  // The property keys and the accessor names, made by the graphic module's initialiser.
  // The main callback type ("__QelCallback"): what a graphic calls when it is activated.
  static const QelSymbol* CallbackSymbol();
  static const QelSymbol* NameSymbol();
  static const QelSymbol* CallbackListSymbol();
  static const QelSymbol* ClientDataSymbol();
  static const QelSymbol* ObjectPropertySymbol();
  static const QelSymbol* NamedPropSymbol();
  static const QelSymbol* TagsSymbol();
  static const QelSymbol* SensitiveSymbol();
  static const QelSymbol* FocusableSymbol();

 private:
  struct ObjectProperty;
  QelAList* properties(bool create);
  CallbackList* callbackList(const QelSymbol* type, bool create);
  void addRecord(const QelSymbol* type, std::shared_ptr<CallbackRecord> record);
  void clearCallbacks(const QelSymbol* type, bool dropList);

  QelAList* _properties = nullptr;
};

// A callback record: a function with its own data, or a name the holder resolves at call time.
struct QelGraphic::CallbackRecord {
  QelGraphicCallback function = nullptr;
  const QelSymbol* name = nullptr;
  void* data = nullptr;
  bool hasData = false;
};

int QelGraphicModuleInit();
