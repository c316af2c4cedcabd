#include "graphics/selection.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <limits>
#include <ostream>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define QEL_POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define QEL_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define QEL_POISON(p, n) ((void)(p), (void)(n))
#define QEL_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

#include "base/module_init.h"
#include "display/display.h"
#include "display/palette.h"
#include "graphics/class_info.h"
#include "graphics/input_file.h"
#include "graphics/output_file.h"
#include "graphics/region.h"
#include "graphics/transformer.h"

namespace {

QelGraphicClassInfo* selectionClass = nullptr;
int selectionModuleState = 0;

void initializeSelectionModule() {
  static QelGraphicClassInfo selection("QelDrawSelection", QelSimpleGraphic::ClassInfo(),
                                       QelReadGraphic<QelDrawSelection>);
  selectionClass = &selection;
}

constexpr int kHandleCount = 8;

// Handle codes, in drawing and testing order: the corners come first so that they win where a
// small object makes the handles overlap.
constexpr unsigned int kHandleCodes[kHandleCount] = {QelTop | QelLeft,
                                                     QelTop | QelRight,
                                                     QelBottom | QelRight,
                                                     QelBottom | QelLeft,
                                                     QelLeft,
                                                     QelRight,
                                                     QelTop,
                                                     QelBottom};

struct Centre {
  int64_t x, y;
};

// The handle centres on the object's box under `t`, in 64 bits so that boxes at the ends of
// the coordinate range do not wrap. False when there is no object (and so no handles).
bool handleCentres(const QelGraphic* object, const QelTransformer* t,
                   Centre (&centres)[kHandleCount]) {
  if (!object) return false;
  QelRect box;
  object->boundingBox(box, t);
  const int64_t x = box.x, y = box.y, right = box.right64(), bottom = box.bottom64();
  // Halves round down, so the side handles sit at the lower middle for odd heights.
  const int64_t midX = x + box.w / 2, midY = bottom - box.h / 2;
  const Centre all[kHandleCount] = {{x, y},    {right, y},    {right, bottom}, {x, bottom},
                                    {x, midY}, {right, midY}, {midX, y},       {midX, bottom}};
  for (int i = 0; i < kHandleCount; ++i) centres[i] = all[i];
  return true;
}

QelRect handleRect(const Centre& c, uint32_t size) {
  return QelRectBetween(c.x - size, c.y - size, c.x + size, c.y + size);
}

// A small pool: selections come and go with every click on a segment. Free blocks are listed
// here rather than linked through themselves, so that they can be poisoned whole while they
// wait (a use after delete still shows under the address sanitizer) and stay reachable for the
// leak checker.
constexpr size_t kPoolCapacity = 16;
void* freeBlocks[kPoolCapacity];
size_t freeCount = 0;

}  // namespace

int QelSelectionModuleInit() {
  QelGraphicModuleInit();
  return QelInitializeOnce(selectionModuleState, initializeSelectionModule);
}

void* QelDrawSelection::operator new(size_t size) {
  // Blocks of any other size (subclasses with fields of their own) come from the global heap.
  if (size != sizeof(QelDrawSelection) || !freeCount) return ::operator new(size);
  void* block = freeBlocks[--freeCount];
  QEL_UNPOISON(block, sizeof(QelDrawSelection));
  return block;
}

void QelDrawSelection::operator delete(void* p, size_t size) {
  if (!p) return;
  if (size != sizeof(QelDrawSelection) || freeCount == kPoolCapacity) {
    ::operator delete(p);
    return;
  }
  QEL_POISON(p, sizeof(QelDrawSelection));
  freeBlocks[freeCount++] = p;
}

QelDrawSelection::QelDrawSelection(QelDisplay* display, QelGraphic* object, uint32_t size,
                                   QelPalette* palette)
    : QelSimpleGraphic(display, palette), _size(size), _object(object) {}

QelDrawSelection::QelDrawSelection(QelInputFile& file, QelPalette* palette)
    : QelSimpleGraphic(file.getDisplay(), palette), _size(0), _object(nullptr) {
  std::istream& in = file.getStream();
  // Through 64 bits, so that "-1" fails instead of becoming a handle four billion pixels wide.
  int64_t size = 0;
  if (!(in >> size)) return;
  if (size < 0 || size > int64_t(std::numeric_limits<uint32_t>::max())) {
    in.setstate(std::ios_base::failbit);
    return;
  }
  _size = uint32_t(size);
  _object = file.readReference(file.getDisplay());
}

bool QelDrawSelection::zoomable() const {
  return _object ? _object->zoomable() : true;
}

void QelDrawSelection::apply(QelApplyObject f, void* arg) {
  if (f && _object) f(_object, arg);
}

void QelDrawSelection::applyReferences(QelApplyObject f, void* arg) {
  if (f && _object) f(_object, arg);
}

void QelDrawSelection::draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const {
  const QelPalette* palette = drawingPalette();
  Centre centres[kHandleCount];
  if (!canDrawWith(palette) || !handleCentres(_object, t, centres)) return;
  QelDisplay* display = palette->getDisplay();
  if (clip) display->setClip(palette, clip);
  for (const Centre& c : centres) display->fillRectangle(port, palette, handleRect(c, _size));
  if (clip) display->setClip(palette, static_cast<const QelRegion*>(nullptr));
}

unsigned int QelDrawSelection::direction(const QelPoint& p, const QelTransformer* t) const {
  Centre centres[kHandleCount];
  if (!handleCentres(_object, t, centres)) return 0;
  const int64_t s = _size;
  for (int i = 0; i < kHandleCount; ++i) {
    const int64_t dx = p.x - centres[i].x, dy = p.y - centres[i].y;
    if (-s <= dx && dx <= s && -s <= dy && dy <= s) return kHandleCodes[i];
  }
  return 0;
}

bool QelDrawSelection::contains(const QelPoint&, const QelPoint& tp,
                                const QelTransformer* t) const {
  return direction(tp, t) != 0;
}

void QelDrawSelection::computeRegion(QelRegion& region, const QelTransformer* t) const {
  region.clear();
  Centre centres[kHandleCount];
  if (!handleCentres(_object, t, centres)) return;
  for (const Centre& c : centres) region.add(handleRect(c, _size));
}

void QelDrawSelection::boundingBox(QelRect& rect, const QelTransformer* t) const {
  if (!_object) {
    rect = QelRect();
    return;
  }
  _object->boundingBox(rect, t);
  rect = QelRectBetween(int64_t(rect.x) - _size, int64_t(rect.y) - _size, rect.right64() + _size,
                        rect.bottom64() + _size);
}

QelGraphic* QelDrawSelection::copy() const {
  return new QelDrawSelection(getDisplay(), _object, _size, getPalette());
}

void QelDrawSelection::write(QelOutputFile& file) const {
  file.getStream() << _size;
  file.writeReference(_object);
}

QelClassInfo* QelDrawSelection::ClassInfo() {
  QelSelectionModuleInit();
  return selectionClass;
}

QelClassInfo* QelDrawSelection::getClassInfo() const {
  return ClassInfo();
}
