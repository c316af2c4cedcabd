// A palette: one bundle of drawing attributes (colours, font, pattern, line style and width,
// fill, draw mode, clip) realised as one X graphics context. Shared palettes are cached by the
// display and handed to every caller asking for the same attributes.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>

#include "display/resource.h"
#include "graphics/region.h"

class QelColor;
class QelColorPattern;
class QelFont;
class QelLineStyle;
class QelPattern;

enum QelDrawMode : int {
  QelDrawModeSet = 0,
  QelDrawModeOr = 1,
  QelDrawModeAnd = 2,
  QelDrawModeXor = 3,
  QelDrawModeInvert = 4,
  QelDrawModeCopyInverted = 5,
  QelDrawModeOrInverted = 6,
  QelDrawModeAndInverted = 7,
  QelDrawModeEquivalent = 8,
};
enum QelFillStyle : int { QelFillPattern = 0, QelFillMaskPattern = 1, QelFillColorPattern = 2 };
enum QelArcMode : int { QelArcPie = 0, QelArcChord = 1 };
enum QelFillRule : int { QelEvenOddRule = 0, QelWindingRule = 1 };

// The X graphics-context function of a draw mode (copy for unknown modes).
int QelXFunctionOfMode(int mode);

// Everything that tells two palettes apart; shared palettes are cached under it.
struct QelPaletteAttributes {
  QelColor* background = nullptr;
  QelColor* foreground = nullptr;
  QelPattern* pattern = nullptr;
  QelColorPattern* colorPattern = nullptr;
  QelFont* font = nullptr;
  QelLineStyle* lineStyle = nullptr;
  uint16_t lineWidth = 0;
  QelFillStyle fillStyle = QelFillPattern;
  QelArcMode arcMode = QelArcPie;
  QelFillRule fillRule = QelEvenOddRule;
  QelDrawMode mode = QelDrawModeSet;
  int overwrite = 0;
  uint32_t planeMask = 0xffffffff;  // what the caller asked for; the GC's mask is computed

  bool operator==(const QelPaletteAttributes& o) const;
  size_t hash() const;
};

// The X fill style of a set of attributes (`solid` is the display's solid pattern).
int QelXFillStyleOf(const QelPaletteAttributes& attributes, const QelPattern* solid);

class QelPalette : public QelResource {
 public:
  // All defaults of the display.
  explicit QelPalette(QelDisplay* display, int shared = 0);
  // Null colours, font, pattern and line style become the display's defaults.
  QelPalette(QelDisplay* display, const QelPaletteAttributes& attributes, int shared = 0);
  // An unshared palette from its attributes in this order (null resources are the defaults).
  QelPalette(QelDisplay* display, QelColor* background, QelColor* foreground,
             QelFont* font = nullptr, QelPattern* pattern = nullptr,
             QelColorPattern* colorPattern = nullptr, QelLineStyle* lineStyle = nullptr,
             uint16_t lineWidth = 0, int overwrite = 0, QelFillStyle fillStyle = QelFillPattern,
             QelArcMode arcMode = QelArcPie, QelFillRule fillRule = QelEvenOddRule);
  ~QelPalette() override;

  // Shared palettes die at lock count zero; an unshared one stays for its owner to delete.
  void unLock() override;

  GC getGC() const { return _gc; }
  int isShared() const { return _shared; }
  const QelPaletteAttributes& getAttributes() const { return _attributes; }
  QelColor* getBackground() const { return _attributes.background; }
  QelColor* getForeground() const { return _attributes.foreground; }
  QelFont* getFont() const { return _attributes.font; }
  QelPattern* getPattern() const { return _attributes.pattern; }
  QelColorPattern* getColorPattern() const { return _attributes.colorPattern; }
  QelLineStyle* getLineStyle() const { return _attributes.lineStyle; }
  uint16_t getLineWidth() const { return _attributes.lineWidth; }
  QelDrawMode getMode() const { return _attributes.mode; }
  QelFillStyle getFillStyle() const { return _attributes.fillStyle; }
  QelArcMode getArcMode() const { return _attributes.arcMode; }
  QelFillRule getFillRule() const { return _attributes.fillRule; }
  int getOverwrite() const { return _attributes.overwrite; }
  uint32_t getPlaneMask() const { return _planeMask; }
  const QelRegion& getClip() const { return _clip; }
  bool hasClip() const { return _hasClip; }
  // The mask bitmap's pixmap when the clip is a mask (setClip with a bitmap), else None.
  Pixmap getClipMask() const { return _clipMask; }
  const QelPoint& getClipOrigin() const { return _clipOrigin; }

  // Each replaces the attribute (locking the new colour, font or line style and unlocking the
  // old one) and changes the graphics context in place. A shared palette is re-filed under its
  // new attributes. Virtual, so that a palette kind can follow its attributes.
  virtual void setForeground(QelColor* color);
  virtual void setBackground(QelColor* color);
  virtual void setFont(QelFont* font);
  virtual void setLineStyle(QelLineStyle* style);
  virtual void setLineWidth(uint16_t width);
  // Patterns are not locked: the display's pattern lists keep them.
  virtual void setPattern(QelPattern* pattern);
  virtual void setColorPattern(QelColorPattern* pattern);
  virtual void setMode(QelDrawMode mode);
  virtual void setFillStyle(QelFillStyle style);
  virtual void setArcMode(QelArcMode mode);
  virtual void setFillRule(QelFillRule rule);
  virtual void setOverwrite(int overwrite);
  virtual void setPlaneMask(uint32_t mask);
  // A null rectangle or region removes the clip.
  virtual void setClip(const QelRect* rect);
  virtual void setClip(const QelRegion* region);

 private:
  friend class QelDisplay;      // the GC operations keep the clip and plane mask current
  friend class QelPaletteClip;  // puts a mask clip back as it was
  void makePalette();
  template <typename Resource>
  void replace(Resource*& field, Resource* value);
  // Stores a plain attribute, changes the graphics context through `toGC`, re-files if shared.
  template <typename Field, typename ToGC>
  void setPlain(Field& field, Field value, ToGC toGC);
  void attributesChanged(const QelPaletteAttributes& before);

  int _shared;
  QelPaletteAttributes _attributes;
  uint32_t _planeMask = 0xffff;
  // The clip is drawing state, changed through const palettes by the display's setClip.
  mutable QelRegion _clip;
  mutable bool _hasClip = false;
  mutable Pixmap _clipMask = None;
  mutable QelPoint _clipOrigin;
  // What the graphics context holds of the clip. A clip set is sent only when something is
  // drawn with the palette (QelDisplay::drawingGC): a clip set around every figure and put
  // back after then costs requests only when it really changes between two figures.
  enum class SentClip : uint8_t { Unclipped, Rectangles, Other };
  mutable SentClip _sentClip = SentClip::Unclipped;
  mutable QelRegion _sentRegion{1};
  mutable QelPoint _sentOrigin;
  mutable bool _clipPending = false;
  GC _gc = nullptr;
};

// Sets `clip` (when there is one) on the palette for one drawing, and puts the palette's
// previous clip back after, so that scopes on one palette nest.
class QelPaletteClip {
 public:
  QelPaletteClip(const QelPalette* palette, const QelRegion* clip);
  ~QelPaletteClip();
  QelPaletteClip(const QelPaletteClip&) = delete;
  QelPaletteClip& operator=(const QelPaletteClip&) = delete;

 private:
  const QelPalette* _palette;
  const QelRegion* _clip;
  bool _hadClip = false;
  QelRegion _previous;
  Pixmap _previousMask = None;
  QelPoint _previousOrigin;
};
