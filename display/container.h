// The container: a view that holds graphic objects, draws them through a transformer (directly
// or through an off-screen bitmap), redraws damaged regions, and hands input events to the
// interactors of the objects under the pointer.
#pragma once

#include <ext/pb_ds/assoc_container.hpp>
#include <ext/pb_ds/tree_policy.hpp>
#include <istream>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "display/view.h"
#include "graphics/graphic.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

class QelBitmap;
class QelContainer;
class QelInputFile;
class QelPalette;
class QelSymbol;

// The behaviour of an object in a container. Interactors are shared by any number of objects
// and are neither locked nor deleted by the container.
class QelViewObjectInteractor {
 public:
  virtual ~QelViewObjectInteractor();
  // Non-zero when the event was consumed.
  virtual int handleEvent(QelGraphic* obj, QelEvent& event, QelContainer* container,
                          QelTransformer* t) = 0;
};

// Gadgets come later in the build than the container, which must still treat them apart: an
// inactive gadget takes no events, one without an interactor handles its own, and a gadget
// holds the keyboard focus while it is the pressed object. The gadget module installs these.
struct QelGadgetSupport {
  bool (*isGadget)(const QelGraphic* obj);
  bool (*isActive)(const QelGraphic* obj);
  int (*handleEvent)(QelGraphic* obj, QelEvent& event, QelContainer* container);
  void (*pressedChanged)(QelGraphic* before, QelGraphic* after);
};

// A keyboard (or other event) binding of the container, run by shortCut.
using QelAcceleratorAction = void (*)(QelContainer* container, QelEvent& event, void* userArg);

class QelContainer : public QelView, public QelGraphicHolder {
 public:
  // A container in a new drawing area inside `parentWidget`.
  QelContainer(QelDisplay* display, void* parentWidget, const QelRect& size, int visible = 1);
  // A container over an existing widget; double buffered from the start when asked.
  QelContainer(QelDisplay* display, void* widget, int doubleBuffering);
  // A top-level container with its own shell.
  QelContainer(QelDisplay* display, const char* name, const char* title, const QelRect& size,
               int visible = 1);
  // Deletes the objects it still holds.
  ~QelContainer() override;

  QelDisplay* getDisplay() const override { return QelView::getDisplay(); }
  QelGraphicCallback resolveCallback(const QelSymbol*) const override { return nullptr; }
  // An object deleted while held leaves the container; what it drew stays until the next redraw
  // of that place (removeObject first to have it erased).
  void objectDeleted(QelGraphic* obj) override;

  void setBackground(QelColor* color) override;
  void callExpose(QelEvent& event) override;
  void callInput(QelEvent& event) override;
  void callResize(QelRect& size) override;

  // Redraws `region` (the whole view when null) after erasing it.
  virtual void reDraw(const QelRegion* region = nullptr);
  // Draws the objects meeting `region` (the whole view when null), clipped to `clip`, and
  // shows the result in the window.
  virtual void draw(const QelRegion* region, const QelRegion* clip = nullptr);
  virtual void handleInput(QelEvent& event);
  virtual void handleResize(QelRect& size);
  virtual void handleExpose(QelEvent& event);
  virtual QelInputFile* createInputFile(std::istream& stream);
  // Adds the objects of a data file (found in the display's path when relative); 0 on failure.
  virtual int readFile(const char* fileName);
  virtual int read(std::istream& stream);
  // Draws every object into another port under `t` (the container's transformer when null).
  virtual void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip);
  // The accelerators: non-zero when one was bound to the event.
  virtual int shortCut(QelEvent& event);
  virtual int dispatchToObjects(QelEvent& event);
  // The container owns the objects it holds.
  virtual void addObject(QelGraphic* obj, int reDraw);
  virtual void addObject(const char* name, QelGraphic* obj, int reDraw);
  // Inserts at `index` of the list (appends past the end or for a negative index); no redraw.
  virtual void insertObject(QelGraphic* obj, int index);
  // Gives the object back to the caller; 0 when it is not in this container.
  virtual int removeObject(QelGraphic* obj, int reDraw);
  virtual void swap(QelGraphic* first, QelGraphic* second);
  // Copies `t`; null is the identity.
  virtual void setTransformer(const QelTransformer* t);
  // Hooks around the drawing of the objects.
  virtual void beforeDraw(QelPort*, const QelTransformer*, const QelRegion*) {}
  virtual void drawFocus(QelPort*, const QelTransformer*, const QelRegion*) {}
  virtual void drawAll(QelPort* port, const QelRegion& region, const QelRegion* clip);
  // Draws the objects of indices first .. end - 1 that meet `region`, in order.
  void drawObjects(QelPort* port, const QelRegion& region, const QelRegion* clip, int first,
                   int end);
  // Draws `obj` when it is visible and its box meets `region`.
  void drawIfDamaged(QelGraphic* obj, QelPort* port, const QelRegion& region,
                     const QelRegion* clip);
  // A key that sorts the objects in drawing order (0 for a stranger).
  uint64_t drawingOrder(const QelGraphic* obj) const;
  // Called before the container measures, draws or picks an object: a subclass that keeps an
  // object's geometry up to date lazily brings it up to date here.
  virtual void prepareObject(QelGraphic*) const {}
  virtual void eraseRegion(const QelRegion& region);

  void reDrawObj(QelGraphic* obj);
  int handleEvent(QelGraphic* obj, QelEvent& event);

  // Returns 1 when the requested state holds, 0 when the bitmap could not be made.
  int setDoubleBuffering(int on);
  int isDoubleBuffering() const { return _doubleBuffer != nullptr; }
  QelBitmap* getDoubleBuffer() const { return _doubleBuffer; }

  void setObjectInteractor(QelGraphic* obj, QelViewObjectInteractor* interactor);
  QelViewObjectInteractor* getObjectInteractor(const QelGraphic* obj) const;

  // Binds `action` to events of `type` (key down by default) whose button field is `key` and
  // whose Ctrl, Meta and Alt modifiers are `modifiers` (Shift and Lock are already in the
  // character). A second binding of the same event replaces the first.
  void addAccelerator(QelAcceleratorAction action, int type, uint16_t key, uint16_t modifiers = 0,
                      void* userArg = nullptr);
  void removeAccelerator(int type, uint16_t key, uint16_t modifiers = 0);

  uint32_t getCardinal() const { return uint32_t(_objects.size()); }
  // A copy of the list, in drawing order.
  std::vector<QelGraphic*> getObjects() const;
  // The object at `index` of the list, or null.
  QelGraphic* getObjectAt(int index) const;
  bool isManaged(const QelGraphic* obj) const;
  int getIndex(const QelGraphic* obj) const;
  QelGraphic* getObject(const char* name) const;
  const char* getObjectName(const QelGraphic* obj) const;
  // Objects that follow the view's edges when it is resized. `sides` is a set of left, right,
  // top and bottom: attached to the right (or the bottom) alone, the object keeps its distance
  // to that edge; attached to both sides of a direction, it stretches with the view. No side
  // detaches it.
  void setAttachment(QelGraphic* obj, QelPosition sides);
  QelPosition getAttachment(const QelGraphic* obj) const;
  // Moves and stretches the attached objects from a view of oldW x oldH to `size`, and redraws
  // where they were and where they are.
  void resizeAttachments(const QelRect& size, uint32_t oldW, uint32_t oldH);
  // The topmost object (the one drawn last) under a point of the view.
  QelGraphic* lastContains(const QelPoint& p) const;
  QelGraphic* getPressedObject() const { return _pressed; }
  // An object set invisible stays in the list but is neither drawn nor picked.
  void setVisible(QelGraphic* obj, bool visible, int reDraw = 0);
  bool isVisible(const QelGraphic* obj) const { return !_hidden.count(obj); }
  const QelTransformer* getTransformer() const { return _transformer.get(); }
  // The object's box in the view, prepared first: what reDrawObj repaints.
  QelRect objectBox(const QelGraphic* obj) const;
  // Writes the objects as a data file; false when the stream fails.
  bool save(std::ostream& stream) const;

  // The property under which an object keeps its interactor.
  static const QelSymbol* InteractorSymbol();
  static void SetGadgetSupport(const QelGadgetSupport* support);

 private:
  struct Accelerator {
    int type;
    uint16_t key;
    uint16_t modifiers;
    QelAcceleratorAction action;
    void* userArg;
  };

  void initContainer();
  void adopt(QelGraphic* obj);
  // Takes the object out of the list, the membership set and the pressed slot.
  void forget(QelGraphic* obj);
  void setPressed(QelGraphic* obj);
  // Copies `rect` of the off-screen bitmap to the same place in the window.
  void showFromBuffer(const QelRect& rect);

  // The list is an order-statistic tree over sparse 64-bit labels: an object's index, and
  // inserting or removing at any place, cost O(log n) even with hundreds of thousands of
  // objects. A label is chosen between its neighbours; when two neighbours leave no room, the
  // neighbourhood is spread out (spreadAround).
  using ObjectList =
      __gnu_pbds::tree<uint64_t, QelGraphic*, std::less<uint64_t>, __gnu_pbds::rb_tree_tag,
                       __gnu_pbds::tree_order_statistics_node_update>;
  void placeAt(QelGraphic* obj, int index);
  uint64_t spreadAround(size_t index);

  ObjectList _objects;
  std::unordered_map<const QelGraphic*, uint64_t> _members;  // each object's label
  std::unordered_set<const QelGraphic*> _hidden;
  std::unordered_map<const QelGraphic*, QelPosition> _attachments;
  std::unique_ptr<QelTransformer> _transformer;
  QelBitmap* _doubleBuffer = nullptr;
  QelGraphic* _pressed = nullptr;
  QelPalette* _erasePalette = nullptr;
  std::vector<Accelerator> _accelerators;
};

// Creates the container's symbols (and the view classes); safe to call many times.
int QelContainerModuleInit();
