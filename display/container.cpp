#include "display/container.h"

#include <Xm/Xm.h>

#include <algorithm>
#include <cstring>
#include <fstream>

#include "base/messages.h"
#include "base/module_init.h"
#include "base/path.h"
#include "base/symbol.h"
#include "display/color.h"
#include "display/display.h"
#include "display/palette.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"

namespace {

const QelGadgetSupport* gadgetSupport = nullptr;

// Around a damaged rectangle, room for thick lines and selection handles.
constexpr int32_t kRedrawMargin = 2;

// Accelerators tell bindings apart by these modifiers only: Shift and Lock already changed the
// character, and held buttons do not matter to a key.
constexpr uint16_t kAcceleratorModifiers = QelCtrlModifier | QelMetaModifier | QelMnemonicModifier;

// Key and button events: the ones objects receive, and the only ones whose button field holds a
// key or button.
bool isKeyOrButtonEvent(int type) {
  switch (type) {
    case QelKeyUp:
    case QelKeyDown:
    case QelButtonDown:
    case QelButtonUp:
    case QelButtonDragged:
    case QelDoubleClick:
    case QelMultiClick:
      return true;
    default:
      return false;
  }
}

}  // namespace

QelViewObjectInteractor::~QelViewObjectInteractor() = default;

int QelContainerModuleInit() {
  static int state = 0;
  QelViewModuleInit();
  return QelInitializeOnce(state, [] { QelContainer::InteractorSymbol(); });
}

// --- Construction ------------------------------------------------------------------------------

QelContainer::QelContainer(QelDisplay* display, void* parentWidget, const QelRect& size,
                           int visible)
    : QelView(display, parentWidget, size, visible) {
  initContainer();
}

QelContainer::QelContainer(QelDisplay* display, void* widget, int doubleBuffering)
    : QelView(display, widget) {
  initContainer();
  if (doubleBuffering) setDoubleBuffering(1);
}

QelContainer::QelContainer(QelDisplay* display, const char* name, const char* title,
                           const QelRect& size, int visible)
    : QelView(display, name, title, size, visible) {
  initContainer();
}

// The window's background is the toolkit's: erasing, in the window or in the bitmap, then
// gives the same pixels.
void QelContainer::initContainer() {
  if (QelDisplay* display = getDisplay(); display && display->getXDisplay())
    setBackground(display->defaultBackground());
}

QelContainer::~QelContainer() {
  setDoubleBuffering(0);
  if (_erasePalette) _erasePalette->unLock();
  // Later objects may refer to earlier ones (a selection to what it frames): delete them first.
  std::vector<QelGraphic*> objects = getObjects();
  _objects.clear();
  _members.clear();
  for (auto it = objects.rbegin(); it != objects.rend(); ++it) {
    (*it)->setHolder(nullptr);
    delete *it;
  }
}

void QelContainer::setBackground(QelColor* color) {
  if (!color) return;
  QelView::setBackground(color);
  QelPalette* palette = getDisplay()->getPalette(nullptr, color);
  if (!palette) return;
  palette->lock();
  if (_erasePalette) _erasePalette->unLock();
  _erasePalette = palette;
}

// --- Objects -----------------------------------------------------------------------------------

namespace {
constexpr uint64_t kLabelGap = uint64_t(1) << 32;
constexpr uint64_t kFirstLabel = uint64_t(1) << 62;
}  // namespace

uint64_t QelContainer::spreadAround(size_t index) {
  const size_t n = _objects.size();
  constexpr uint64_t kMinGap = uint64_t(1) << 12;
  for (size_t half = 1;; half *= 2) {
    size_t lo = index > half ? index - half : 0;
    size_t hi = std::min(n, index + half);
    uint64_t low = lo == 0 ? 0 : _objects.find_by_order(lo - 1)->first;
    uint64_t high = hi == n ? ~uint64_t(0) : _objects.find_by_order(hi)->first;
    uint64_t slots = uint64_t(hi - lo) + 1;  // the window's objects and the new one
    uint64_t gap = (high - low) / (slots + 1);
    if (gap < kMinGap && !(lo == 0 && hi == n)) continue;
    if (gap < 2) gap = 2;  // only a list of billions of objects comes here
    // No wider than appending leaves: a window that reaches the end of the list would
    // otherwise use up the free labels above it, a fifth at each spread, and inserting again
    // and again before the last objects would spread ever wider windows.
    if (gap > kLabelGap) gap = kLabelGap;
    std::vector<QelGraphic*> window;
    window.reserve(hi - lo);
    for (size_t i = lo; i < hi; ++i)
      window.push_back(_objects.find_by_order(lo)->second),
          _objects.erase(_objects.find_by_order(lo));
    uint64_t label = low + gap, reserved = 0;
    size_t next = 0;
    for (size_t slot = lo; slot <= hi; ++slot, label += gap) {
      if (slot == index) {
        reserved = label;
        continue;
      }
      QelGraphic* obj = window[next++];
      _objects.insert({label, obj});
      _members[obj] = label;
    }
    return reserved;
  }
}

void QelContainer::placeAt(QelGraphic* obj, int index) {
  const size_t n = _objects.size();
  const size_t at = index < 0 || size_t(index) > n ? n : size_t(index);
  uint64_t before = at == 0 ? 0 : _objects.find_by_order(at - 1)->first;
  uint64_t after = at == n ? ~uint64_t(0) : _objects.find_by_order(at)->first;
  uint64_t label;
  if (n == 0)
    label = kFirstLabel;
  else if (at == n && after - before > kLabelGap)
    label = before + kLabelGap;  // appending keeps the usual gap
  else if (at == 0 && before == 0 && after > kLabelGap)
    label = after - kLabelGap;
  else if (after - before >= 2)
    label = before + (after - before) / 2;
  else
    label = spreadAround(at);
  _objects.insert({label, obj});
  _members[obj] = label;
}

void QelContainer::adopt(QelGraphic* obj) {
  obj->setHolder(this);
}

std::vector<QelGraphic*> QelContainer::getObjects() const {
  std::vector<QelGraphic*> objects;
  objects.reserve(_objects.size());
  for (const auto& entry : _objects) objects.push_back(entry.second);
  return objects;
}

QelGraphic* QelContainer::getObjectAt(int index) const {
  if (index < 0 || size_t(index) >= _objects.size()) return nullptr;
  return _objects.find_by_order(size_t(index))->second;
}

void QelContainer::addObject(QelGraphic* obj, int reDraw) {
  if (!obj || isManaged(obj)) return;
  placeAt(obj, -1);
  adopt(obj);
  if (reDraw) reDrawObj(obj);
}

void QelContainer::addObject(const char* name, QelGraphic* obj, int reDraw) {
  if (!obj || isManaged(obj)) return;
  if (name) obj->setName(name);
  addObject(obj, reDraw);
}

void QelContainer::insertObject(QelGraphic* obj, int index) {
  if (!obj || isManaged(obj)) return;
  placeAt(obj, index);
  adopt(obj);
}

int QelContainer::removeObject(QelGraphic* obj, int reDraw) {
  if (!isManaged(obj)) return 0;
  // The box is taken while the object is still here to be measured.
  QelRegion damaged(objectBox(obj), 8);
  forget(obj);
  if (obj->getHolder() == this) obj->setHolder(nullptr);
  if (reDraw) this->reDraw(&damaged);
  return 1;
}

void QelContainer::objectDeleted(QelGraphic* obj) {
  if (isManaged(obj)) forget(obj);
}

void QelContainer::forget(QelGraphic* obj) {
  auto member = _members.find(obj);
  if (member == _members.end()) return;
  _objects.erase(member->second);
  _members.erase(member);
  _hidden.erase(obj);
  _attachments.erase(obj);
  if (_pressed == obj) _pressed = nullptr;
}

void QelContainer::setPressed(QelGraphic* obj) {
  if (obj == _pressed) return;
  QelGraphic* before = _pressed;
  _pressed = obj;
  if (gadgetSupport && gadgetSupport->pressedChanged) gadgetSupport->pressedChanged(before, obj);
}

void QelContainer::swap(QelGraphic* first, QelGraphic* second) {
  if (first == second || !isManaged(first) || !isManaged(second)) return;
  uint64_t& a = _members[first];
  uint64_t& b = _members[second];
  _objects.find(a)->second = second;
  _objects.find(b)->second = first;
  std::swap(a, b);
}

bool QelContainer::isManaged(const QelGraphic* obj) const {
  return obj && _members.count(obj);
}

int QelContainer::getIndex(const QelGraphic* obj) const {
  auto member = _members.find(obj);
  return member == _members.end() ? -1 : int(_objects.order_of_key(member->second));
}

QelGraphic* QelContainer::getObject(const char* name) const {
  if (!name) return nullptr;
  for (const auto& [label, obj] : _objects)
    if (const char* objName = obj->getName(); objName && std::strcmp(objName, name) == 0)
      return obj;
  return nullptr;
}

const char* QelContainer::getObjectName(const QelGraphic* obj) const {
  return isManaged(obj) ? obj->getName() : nullptr;
}

void QelContainer::setVisible(QelGraphic* obj, bool visible, int reDraw) {
  if (!isManaged(obj) || visible == isVisible(obj)) return;
  if (visible)
    _hidden.erase(obj);
  else
    _hidden.insert(obj);
  if (reDraw) reDrawObj(obj);
}

void QelContainer::setTransformer(const QelTransformer* t) {
  _transformer.reset(t ? new QelTransformer(*t) : nullptr);
}

QelRect QelContainer::objectBox(const QelGraphic* obj) const {
  prepareObject(const_cast<QelGraphic*>(obj));
  QelRect box;
  obj->boundingBox(box, _transformer.get());
  return box;
}

void QelContainer::setAttachment(QelGraphic* obj, QelPosition sides) {
  if (!obj || !isManaged(obj)) return;
  const unsigned edges = unsigned(sides) & (QelLeft | QelRight | QelTop | QelBottom);
  if (edges)
    _attachments[obj] = QelPosition(edges);
  else
    _attachments.erase(obj);
}

QelPosition QelContainer::getAttachment(const QelGraphic* obj) const {
  auto it = _attachments.find(obj);
  return it == _attachments.end() ? QelPosition(0) : it->second;
}

void QelContainer::resizeAttachments(const QelRect& size, uint32_t oldW, uint32_t oldH) {
  const int64_t dw = int64_t(size.w) - oldW, dh = int64_t(size.h) - oldH;
  if (dw == 0 && dh == 0) return;
  QelRegion damaged;
  for (const auto& [constObj, sides] : _attachments) {
    auto* obj = const_cast<QelGraphic*>(constObj);
    QelRect box = objectBox(obj);
    int64_t x = box.x, y = box.y, w = box.w, h = box.h;
    // Right alone moves, left and right stretch; the same down the view.
    if (sides & QelRight) (sides & QelLeft) ? w += dw : x += dw;
    if (sides & QelBottom) (sides & QelTop) ? h += dh : y += dh;
    QelRect next(QelClampToInt32(x), QelClampToInt32(y), QelClampToUint32(std::max<int64_t>(w, 1)),
                 QelClampToUint32(std::max<int64_t>(h, 1)));
    if (next == box) continue;
    damaged.add(box);
    if (_transformer && !_transformer->inverse(next)) continue;
    obj->moveResize(next);
    damaged.add(objectBox(obj));
  }
  if (!damaged.isEmpty()) reDraw(&damaged);
}

QelGraphic* QelContainer::lastContains(const QelPoint& p) const {
  QelPoint model = p;
  if (_transformer && !_transformer->inverse(model)) return nullptr;
  for (auto it = _objects.rbegin(); it != _objects.rend(); ++it) {
    if (!isVisible(it->second)) continue;
    prepareObject(it->second);
    if (it->second->contains(model, p, _transformer.get())) return it->second;
  }
  return nullptr;
}

// --- Interactors and input ---------------------------------------------------------------------

const QelSymbol* QelContainer::InteractorSymbol() {
  static const QelSymbol* symbol = QelSymbol::Get("__QelObjectInteractor");
  return symbol;
}

void QelContainer::SetGadgetSupport(const QelGadgetSupport* support) {
  gadgetSupport = support;
}

void QelContainer::setObjectInteractor(QelGraphic* obj, QelViewObjectInteractor* interactor) {
  if (!obj) return;
  if (interactor)
    obj->setProperty(InteractorSymbol(), interactor);
  else
    obj->removeProperty(InteractorSymbol());
}

QelViewObjectInteractor* QelContainer::getObjectInteractor(const QelGraphic* obj) const {
  return obj ? static_cast<QelViewObjectInteractor*>(obj->getProperty(InteractorSymbol()))
             : nullptr;
}

void QelContainer::callInput(QelEvent& event) {
  QelView::callInput(event);
  handleInput(event);
}

void QelContainer::handleInput(QelEvent& event) {
  if (!dispatchToObjects(event)) shortCut(event);
}

int QelContainer::dispatchToObjects(QelEvent& event) {
  if (!isKeyOrButtonEvent(event.type)) return 0;
  QelGraphic* target = _pressed;
  if (event.type != QelButtonUp && event.type != QelButtonDragged) {
    QelGraphic* found = lastContains(QelPoint(event.x, event.y));
    // Only a plain button down picks a new pressed object; the second click of a double click
    // and modified presses go on to the object pressed first.
    if (event.type == QelButtonDown && (event.modifiers & 0xf) == 0) setPressed(found);
    target = _pressed ? _pressed : found;
  }
  return handleEvent(target, event);
}

int QelContainer::handleEvent(QelGraphic* obj, QelEvent& event) {
  if (!obj || !obj->isSensitive()) return 0;
  bool gadget = gadgetSupport && gadgetSupport->isGadget(obj);
  if (gadget && !gadgetSupport->isActive(obj)) return 0;
  if (QelViewObjectInteractor* interactor = getObjectInteractor(obj))
    return interactor->handleEvent(obj, event, this, _transformer.get());
  return gadget ? gadgetSupport->handleEvent(obj, event, this) : 0;
}

void QelContainer::addAccelerator(QelAcceleratorAction action, int type, uint16_t key,
                                  uint16_t modifiers, void* userArg) {
  removeAccelerator(type, key, modifiers);
  if (action)
    _accelerators.push_back(
        {type, key, uint16_t(modifiers & kAcceleratorModifiers), action, userArg});
}

void QelContainer::removeAccelerator(int type, uint16_t key, uint16_t modifiers) {
  modifiers &= kAcceleratorModifiers;
  _accelerators.erase(std::remove_if(_accelerators.begin(), _accelerators.end(),
                                     [&](const Accelerator& a) {
                                       return a.type == type && a.key == key &&
                                              a.modifiers == modifiers;
                                     }),
                      _accelerators.end());
}

int QelContainer::shortCut(QelEvent& event) {
  uint16_t modifiers = event.modifiers & kAcceleratorModifiers;
  uint16_t key = isKeyOrButtonEvent(event.type) ? event.button : 0;
  for (const Accelerator& a : _accelerators)
    if (a.type == event.type && a.key == key && a.modifiers == modifiers) {
      a.action(this, event, a.userArg);
      return 1;
    }
  return 0;
}

// --- Drawing -----------------------------------------------------------------------------------

void QelContainer::reDrawObj(QelGraphic* obj) {
  if (!obj) return;
  QelRegion region(objectBox(obj), 8);
  reDraw(&region);
}

void QelContainer::reDraw(const QelRegion* region) {
  QelRect area = _doubleBuffer ? QelRect(0, 0, _doubleBuffer->width(), _doubleBuffer->height())
                               : QelRect(0, 0, width(), height());
  if (!region) {
    QelRegion whole(area);
    eraseRegion(whole);
    draw(&whole, nullptr);
    return;
  }
  QelRegion damaged(*region);
  damaged.translate(-kRedrawMargin, -kRedrawMargin);
  damaged.grow(2 * kRedrawMargin, 2 * kRedrawMargin);
  damaged.intersection(area);
  if (damaged.isEmpty()) return;
  eraseRegion(damaged);
  draw(&damaged, &damaged);
}

void QelContainer::draw(const QelRegion* region, const QelRegion* clip) {
  QelDisplay* display = getDisplay();
  if (!display || !display->getXDisplay()) return;
  QelRegion whole(QelRect(0, 0, width(), height()));
  if (!region) region = &whole;
  if (!_doubleBuffer || display->getDumpDevice()) {
    if (getDrawable()) drawAll(this, *region, clip);
    return;
  }
  drawAll(_doubleBuffer, *region, clip);
  for (uint16_t i = 0; i < region->getCount(); ++i) showFromBuffer(region->getRect(i));
}

void QelContainer::showFromBuffer(const QelRect& rect) {
  QelDisplay* display = getDisplay();
  if (!getDrawable() || !_doubleBuffer) return;
  QelPalette* palette = display->defaultPalette();
  QelDrawMode mode = palette->getMode();
  display->setMode(palette, QelDrawModeSet);
  display->copyArea(this, palette, _doubleBuffer, rect, QelPoint(rect.x, rect.y));
  display->setMode(palette, mode);
}

void QelContainer::drawAll(QelPort* port, const QelRegion& region, const QelRegion* clip) {
  QelDisplay* display = getDisplay();
  display->openDrawing(port, clip);
  beforeDraw(port, _transformer.get(), clip);
  drawObjects(port, region, clip, 0, int(_objects.size()));
  drawFocus(port, _transformer.get(), clip);
  display->closeDrawing();
}

void QelContainer::drawObjects(QelPort* port, const QelRegion& region, const QelRegion* clip,
                               int first, int end) {
  if (first < 0) first = 0;
  if (end > int(_objects.size())) end = int(_objects.size());
  auto it = _objects.find_by_order(size_t(first));
  for (int i = first; i < end; ++i, ++it) drawIfDamaged(it->second, port, region, clip);
}

void QelContainer::drawIfDamaged(QelGraphic* obj, QelPort* port, const QelRegion& region,
                                 const QelRegion* clip) {
  // The common cases stay cheap: nothing hidden, and a damaged area of one rectangle, which
  // its bounding box answers alone.
  if (!_hidden.empty() && _hidden.count(obj)) return;
  prepareObject(obj);
  QelRect box;
  obj->boundingBox(box, _transformer.get());
  if (region.getBBox().intersects(box) && (region.getCount() == 1 || region.intersects(box)))
    obj->draw(port, _transformer.get(), clip);
}

uint64_t QelContainer::drawingOrder(const QelGraphic* obj) const {
  auto member = _members.find(obj);
  return member == _members.end() ? 0 : member->second;
}

void QelContainer::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) {
  QelDisplay* display = getDisplay();
  if (!port || !display) return;
  if (!t) t = _transformer.get();
  display->openDrawing(port, clip);
  for (const auto& [label, obj] : _objects)
    if (isVisible(obj)) {
      prepareObject(obj);
      obj->draw(port, t, clip);
    }
  display->closeDrawing();
}

void QelContainer::eraseRegion(const QelRegion& region) {
  QelDisplay* display = getDisplay();
  if (_doubleBuffer && _erasePalette) {
    for (uint16_t i = 0; i < region.getCount(); ++i)
      display->fillRectangle(_doubleBuffer, _erasePalette, region.getRect(i));
    // The server clears the buffer while the objects are worked out.
    display->flush();
  } else if (getDrawable()) {
    display->clearArea(this, region, 0);
  }
}

// --- Double buffering, expose and resize -------------------------------------------------------

int QelContainer::setDoubleBuffering(int on) {
  if (!on) {
    if (_doubleBuffer) _doubleBuffer->unLock();
    _doubleBuffer = nullptr;
    return 1;
  }
  if (_doubleBuffer) return 1;
  QelDisplay* display = getDisplay();
  if (!display || !display->getXDisplay()) return 0;
  auto* bitmap = new QelBitmap(display, width(), height(), depth());
  bitmap->lock();
  if (!bitmap->isValid()) {
    QelWarning("%s", display->getMessage("&QelCSDBCouldntAllBm"));
    bitmap->unLock();
    return 0;
  }
  _doubleBuffer = bitmap;
  reDraw();
  return 1;
}

void QelContainer::callExpose(QelEvent& event) {
  QelView::callExpose(event);
  handleExpose(event);
}

void QelContainer::handleExpose(QelEvent& event) {
  QelRect exposed = event.width
                        ? QelRect(event.x, event.y, uint32_t(event.width), uint32_t(event.height))
                        : QelRect(0, 0, width(), height());
  if (_doubleBuffer) {
    showFromBuffer(exposed);
  } else if (!event.width) {
    reDraw();
  } else {
    QelRegion region(exposed);
    reDraw(&region);
  }
}

void QelContainer::callResize(QelRect& size) {
  QelView::callResize(size);
  handleResize(size);
}

void QelContainer::handleResize(QelRect& size) {
  if (!_doubleBuffer) return;
  if (_doubleBuffer->width() == size.w && _doubleBuffer->height() == size.h) return;
  setDoubleBuffering(0);
  setDoubleBuffering(1);
}

// --- Data files --------------------------------------------------------------------------------

QelInputFile* QelContainer::createInputFile(std::istream& stream) {
  return new QelInputFile(stream);
}

int QelContainer::readFile(const char* fileName) {
  if (!fileName || !*fileName) return 0;
  std::ifstream stream(fileName);
  // A name that is not where it says is looked for along the display's data path.
  QelPathName found;
  if (!stream && fileName[0] != '/' && getDisplay()->findInPath(fileName, found))
    stream.open(found.getString());
  if (!stream) {
    QelWarning("QelContainer::readFile: Cannot open file %s", fileName);
    return 0;
  }
  return read(stream);
}

int QelContainer::read(std::istream& stream) {
  std::unique_ptr<QelInputFile> file(createInputFile(stream));
  if (!file) return 0;
  std::vector<QelGraphic*> objects = file->readObjects(getDisplay());
  if (file->hasFailed()) return 0;
  for (QelGraphic* obj : objects) addObject(obj, 0);
  if (!objects.empty()) reDraw();
  return 1;
}

bool QelContainer::save(std::ostream& stream) const {
  std::vector<QelGraphic*> objects = getObjects();
  return QelSaveGraphics(stream, uint32_t(objects.size()), objects.data());
}
