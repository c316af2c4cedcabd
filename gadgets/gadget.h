// Gadgets: graphic objects with a relief frame that behave like the toolkit's widgets (scroll
// bars, labels). A gadget's look is not its own: the display's look-and-feel handler has one
// handler per gadget class that lays it out, draws it and says how big it wants to be.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>

#include "display/palette.h"
#include "graphics/simple_graphic.h"

class QelContainer;
class QelGadget;
class QelPalette;
struct QelEvent;

// The clip set on each of a gadget's palettes while a figure is drawn with several of them: each
// palette once, and put back in the reverse order.
class QelGadgetClips {
 public:
  QelGadgetClips(std::initializer_list<const QelPalette*> palettes, const QelRegion* clip) {
    size_t n = 0;
    for (const QelPalette* p : palettes) {
      if (!p || n == _scopes.size() ||
          std::find(_palettes.begin(), _palettes.begin() + n, p) != _palettes.begin() + n)
        continue;
      _palettes[n] = p;
      _scopes[n++].emplace(p, clip);
    }
  }
  ~QelGadgetClips() {
    for (auto it = _scopes.rbegin(); it != _scopes.rend(); ++it) it->reset();
  }
  QelGadgetClips(const QelGadgetClips&) = delete;
  QelGadgetClips& operator=(const QelGadgetClips&) = delete;

 private:
  std::array<const QelPalette*, 4> _palettes{};
  std::array<std::optional<QelPaletteClip>, 4> _scopes;
};

// What a look does for one gadget class. Subclasses for a class add what that class needs
// (a scroll bar's layout, a label's text); a look registers one handler per class.
class QelGadgetLookHandler {
 public:
  virtual ~QelGadgetLookHandler();
  // Draws the whole gadget; the base draws its relief frame and, with the focus, the highlight.
  virtual void draw(const QelGadget& gadget, QelPort* port, const QelTransformer* t,
                    const QelRegion* clip) const;
  // The keyboard focus: a highlight rectangle just inside the gadget's box.
  virtual void drawFocus(const QelGadget& gadget, QelPort* port, const QelTransformer* t,
                         const QelRegion* clip) const;
};

class QelGadget : public QelSimpleGraphic {
 public:
  // A null palette means the display's default palette.
  QelGadget(QelDisplay* display, const QelRect& rect, uint16_t thickness,
            QelPalette* palette = nullptr);
  // Reads "x y w h thickness sensitive".
  QelGadget(QelInputFile& file, QelPalette* palette);
  ~QelGadget() override;

  void draw(QelPort* port, const QelTransformer* t, const QelRegion* clip) const override;
  // Hit anywhere inside, edges included.
  bool contains(const QelPoint& p, const QelPoint& tp, const QelTransformer* t) const override;
  void boundingBox(QelRect& rect, const QelTransformer* t = nullptr) const override;
  // Moves and sizes the rectangle; a side never drops to 0.
  void applyTransform(const QelTransformer* t) override;
  void write(QelOutputFile& file) const override;
  QelClassInfo* getClassInfo() const override;
  // Every palette change (each colour setter ends here) recomputes the derived palettes.
  void setPalette(QelPalette* palette) override;

  // Events the container hands a gadget that has no interactor of its own; non-zero when used.
  virtual int handleEvent(QelEvent& event, QelContainer* container);
  // Takes the keyboard focus (or gives it up) and redraws where the holder shows it.
  virtual void focusChanged(bool focus);

  const QelRect& getRect() const { return _rect; }
  uint16_t getThickness() const { return _thickness; }
  void setThickness(uint16_t thickness) { _thickness = thickness; }
  // Derived from the palette's background: the face, and the lit and shaded relief edges.
  const QelPalette* getBackgroundPalette() const { return _backgroundPalette; }
  const QelPalette* getTopShadowPalette() const { return _topShadowPalette; }
  const QelPalette* getBottomShadowPalette() const { return _bottomShadowPalette; }
  // The trough of a sunken part, a shade darker than the face.
  const QelPalette* getSelectPalette() const { return _selectPalette; }
  // The display's handler for this gadget's class (or its nearest registered superclass).
  QelGadgetLookHandler* getLookHandler() const;
  // Redraws the gadget through its container, when it has one.
  void reDraw() const;
  // The container holding the gadget, or null.
  QelContainer* getContainer() const;

  static QelClassInfo* ClassInfo();

 protected:
  void setFlag(uint32_t flag) { _flags |= flag; }
  // Recomputes the derived palettes from the current palette.
  void computePalettes();
  // Stipples the drawn gadget with its face colour: an insensitive gadget looks greyed out.
  void drawInsensitive(QelPort* port, const QelTransformer* t, const QelRegion* clip) const;

  QelRect _rect;
  uint16_t _thickness;

 private:
  void releasePalettes();

  QelPalette* _backgroundPalette = nullptr;
  QelPalette* _topShadowPalette = nullptr;
  QelPalette* _bottomShadowPalette = nullptr;
  QelPalette* _selectPalette = nullptr;
  uint32_t _flags = 0;
  uint32_t _reserved[3] = {0, 0, 0};
};

// Registers QelGadget and installs the container's gadget support; safe to call many times.
int QelGadgetModuleInit();
