// The display: the toolkit's connection to one X server. It owns and caches every drawing
// resource (colours, fonts, line styles, patterns, bitmaps, palettes), answers X resource
// lookups, knows the toolkit's home and data path, and performs all drawing into ports.
//
// Where its methods live (display/):
//   display.cpp          construction and initialisation, X resources, home and path,
//                        colours, freeing the X side, line styles, patterns, bitmaps, cursors,
//                        palettes, views
//   display_fonts.cpp    fonts: lookup, loading, aliases, the predefined fonts
//   gc.cpp               changing a palette's graphics context (setForeground ... setClipOrigin)
//   drawing_session.cpp  openDrawing, closeDrawing, flush, sync, synchronize, bell
//   draw_shapes.cpp      points, lines, polylines, rectangles, arcs, Bézier curves, paths
//   draw_text.cpp        strings, 16-bit characters, labels
//   draw_copy.cpp        copyArea, copyTransparentArea, clearArea, drawBitmap
//   draw_relief.cpp      shadows and relief, markers, arrows
//   main_loop.cpp        reading and dispatching events
//   look_and_feel.cpp    the gadgets' look-and-feel handler
//   x_errors.cpp         X error count and trapping (and the handlers, x_errors.h)
#pragma once

#include <X11/Intrinsic.h>
#include <X11/Xlib.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/message_database.h"
#include "base/path.h"
#include "display/look_and_feel.h"
#include "display/palette.h"
#include "display/request_queue.h"
#include "graphics/geometry.h"

class QelAbstractView;
class QelBitmap;
class QelColor;
class QelColorPattern;
class QelCursor;
class QelDumpDevice;
class QelFont;
class QelLineStyle;
class QelPattern;
class QelPointArray;
class QelPort;
class QelRegion;
class QelTransformer;
class QelXColormap;
struct QelEvent;
struct QelFontDescription;

// What a program may choose before the display allocates anything: screen, visual, colormap
// and the bit planes the toolkit may use.
class QelXDisplayConfig {
 public:
  explicit QelXDisplayConfig(Display* display);
  int screen = 0;
  Visual* visual = nullptr;     // null: the screen's default
  Colormap colormap = 0;        // 0: the screen's default
  uint16_t depth = 0;           // 0: the screen's default
  uint16_t planes = 0;          // 0: all planes
  uint32_t usedPlanesMask = 0;  // planes the toolkit draws in, when restricted
  int directMapping = 1;        // 0: used planes are scattered and must be packed
};
using QelDisplayConfig = QelXDisplayConfig;

// Marker figures, drawn in this order when several bits are set.
enum QelMarkerType : unsigned int {
  QelMarkerSquare = 1,
  QelMarkerDiamond = 2,
  QelMarkerCircle = 4,
  QelMarkerCross = 8,
  QelMarkerPlus = 16,
  QelMarkerFilledSquare = 32,
  QelMarkerFilledCircle = 64,
  QelMarkerFilledDiamond = 128,
  QelMarkerTriangle = 256,
  QelMarkerFilledTriangle = 512,
};
// Every figure above: a type with other bits is no marker (files naming one are malformed).
constexpr unsigned int QelAllMarkerBits = 1023;

// When on, drawing operations print their name, port and geometry on standard output.
void QelSetDrawTrace(int on);
int QelGetDrawTrace();

class QelDisplay {
 public:
  // Adopts a connection opened through Xt (a Motif host's), with its application context.
  QelDisplay(void* xDisplay, const char* name, void (*configure)(QelDisplayConfig*) = nullptr);
  // Opens a connection of its own (with a new Xt application context) to `displayName`.
  QelDisplay(const char* name, const char* displayName, int argc = 0, char** argv = nullptr);
  virtual ~QelDisplay();

  // Null when the display is unusable (the connection could not be had or set up).
  Display* getXDisplay() const { return _xDisplay; }
  const char* getName() const { return _name.c_str(); }
  static QelDisplay* Find(Display* xDisplay);
  static XtAppContext GetAppContext();

  int getScreen() const { return _screen; }
  uint16_t depth() const { return _depth; }
  uint32_t screenWidth() const { return _screenWidth; }
  uint32_t screenHeight() const { return _screenHeight; }
  Visual* getVisual() const { return _visual; }
  QelXColormap* getColormap() const { return _colormap; }
  Drawable getGCDrawable() const { return _gcDrawable; }
  QelBitmap* getScreenPort() const { return _screenPort; }
  GC getScreenGC() const { return _screenGC; }
  uint32_t getAllPlanesMask() const { return _allPlanesMask; }
  uint32_t getUsedPlanesMask() const { return _usedPlanesMask; }
  const QelXDisplayConfig* getConfig() const { return _config.get(); }

  // --- X resources, environment, home and data path ---------------------------------------
  // The value of `name` under the display's name and the class "Tessellar"; trailing blanks
  // are cut. An empty or missing value gives `defaultValue`.
  const char* getResource(const char* name, const char* defaultValue = nullptr) const;
  // The same under an object name and class (each empty when null), and below them, when either
  // is given, a part's name and class; null rather than a default when missing or empty.
  const char* getResource(const char* name, const char* objectName, const char* objectClass,
                          const char* partName = nullptr, const char* partClass = nullptr) const;
  const char* getEnvOrResource(const char* envName, const char* resourceName = nullptr,
                               const char* defaultValue = nullptr) const;
  const char* getHome() const { return _home.c_str(); }
  void setPath(const char* path) { _path.set(path); }
  void setPath(const QelPathName& path);
  void appendToPath(const char* path) { _path.append(path); }
  void appendToPath(const QelPathName& path) { _path.append(path); }
  void prependToPath(const char* path) { _path.prepend(path); }
  void prependToPath(const QelPathName& path) { _path.prepend(path); }
  std::string getPath() const { return _path.getString(); }
  bool findInPath(const char* file, QelPathName& found) const { return _path.find(file, found); }

  // The text of a message name ("&" names are keys of the message database).
  const char* getMessage(const char* name) const { return _messages.getMessage(name); }
  QelMessageDatabase& getMessageDatabase() { return _messages; }

  // --- Gadgets' look ---------------------------------------------------------------------------
  // The look-and-feel handler of the gadgets on this display (look_and_feel.cpp): the default
  // factory's on first use, or the one a program set (the display owns it).
  QelLookAndFeelHandler* getLookAndFeelHandler();
  void setLookAndFeelHandler(QelLookAndFeelHandler* handler);
  // Counts the changes of handler, so that a gadget laid out for one look can tell.
  unsigned int getLookChanges() const { return _lookChanges; }
  static void SetDefaultLookAndFeelFactory(QelLookAndFeelFactory factory);

  // --- Events -------------------------------------------------------------------------------
  // Dispatches, through the dispatch hooks, every event already received or waiting.
  void readAndDispatchEvents();
  // Waits for one event of this connection and dispatches it through the hooks.
  void waitAndDispatchEvents();
  int hasEvents() const;
  // The last button press, against which the next one is told a double or multi click.
  QelEvent& lastButtonPress() { return *_lastButtonPress; }

  // --- Views -----------------------------------------------------------------------------------
  // Views register their window so that an event can find its view; the grab list and the
  // keyboard focus route events between views. A view leaving takes all three references along.
  QelAbstractView* getView(Window window) const;
  void addView(Window window, QelAbstractView* view);
  void removeView(QelAbstractView* view);
  // The view that grabbed last, or null.
  QelAbstractView* getGrabView() const { return _grabs.empty() ? nullptr : _grabs.back(); }
  void addGrab(QelAbstractView* view);
  void removeGrab(QelAbstractView* view);
  QelAbstractView* getFocusView() const { return _focusView; }
  void setFocusView(QelAbstractView* view) { _focusView = view; }

  // --- X errors ------------------------------------------------------------------------------
  int getLastXError() const { return _lastXError; }
  void clearLastXError() { _lastXError = 0; }
  // Errors of the requests made between these two calls are recorded but not reported: for
  // requests whose failure the caller handles itself. The second call waits for the server's
  // answers and returns the first error code (0 for none).
  void trapXErrors();
  int untrapXErrors();
  static int GetXErrorCount();
  int stopsOnXError() const { return _stopOnXError; }

  // --- Colours --------------------------------------------------------------------------------
  // Null when the colour is unknown or no cell is free; no message either way.
  QelColor* getColor(const char* name, int isMutable = 0);
  QelColor* getColor(unsigned short red, unsigned short green, unsigned short blue,
                     int isMutable = 0);
  QelColor* getColor(float hue, float saturation, float value, int isMutable = 0);
  // The cached colour closest to the components (null when none is cached).
  QelColor* getNearestColor(unsigned short red, unsigned short green, unsigned short blue,
                            unsigned long* distance = nullptr) const;
  // The cached shared colour of that name (widened like getColor's), or null; makes nothing.
  QelColor* findColor(const char* name) const;
  void removeColor(QelColor* color);
  QelColor* defaultBackground() const { return _defaultBackground; }
  QelColor* defaultForeground() const { return _defaultForeground; }

  // --- Fonts ---------------------------------------------------------------------------------
  QelFont* getFont(const char* name);
  QelFont* findFont(const char* name) const;
  QelFont* dupFont(QelFont* font, const char* alias);
  QelFont* createSystemFont(const char* xName);
  // `size` in points.
  QelFont* createFont(const char* family, uint16_t size, uint32_t style, const char* foundry);
  // The font loaded from exactly this raw X font name, made on a miss.
  QelFont* getSystemFont(const char* xName);
  void removeFont(QelFont* font);
  QelFont* defaultFont() const { return _defaultFont; }

  // --- Releasing the X side of a resource (its destructor calls these) ---------------------------
  void freeColor(QelColor* color);
  void freeFont(QelFont* font);
  void freePalette(QelPalette* palette);
  void freeBitmap(QelBitmap* bitmap);
  void freeCursor(QelCursor* cursor);

  // --- Line styles ------------------------------------------------------------------------------
  QelLineStyle* getLineStyle(const char* name) const;
  // The first known style with these dashes, or a new one. Null for dashes X refuses (a zero
  // length, or a count without lengths).
  QelLineStyle* getLineStyle(uint16_t count, const uint8_t* dashes, uint16_t offset);
  void removeLineStyle(QelLineStyle* style);
  QelLineStyle* solidLineStyle() const { return _solidLineStyle; }

  // --- Patterns, bitmaps, cursors ----------------------------------------------------------------
  QelPattern* solidPattern() const { return _solidPattern; }
  QelPattern* getPattern(const char* name) const;
  void addPattern(QelPattern* pattern);
  void removePattern(QelPattern* pattern);
  QelColorPattern* getColorPattern(const char* name) const;
  void addColorPattern(QelColorPattern* pattern);
  void removeColorPattern(QelColorPattern* pattern);
  QelBitmap* getBitmap(const char* name) const;
  void addBitmap(QelBitmap* bitmap);
  void removeBitmap(QelBitmap* bitmap);
  QelBitmap* defaultBitmap() const { return _defaultBitmap; }
  QelCursor* getCursor(const char* name) const;
  QelCursor* getCursor(unsigned int shape);
  void removeCursor(QelCursor* cursor);

  // --- Palettes ----------------------------------------------------------------------------------
  // The shared palette with these attributes (null arguments mean the display's defaults), made
  // on a miss. The caller locks what it keeps.
  QelPalette* getPalette(QelColor* background, QelColor* foreground, QelPattern* pattern = nullptr,
                         QelColorPattern* colorPattern = nullptr, QelFont* font = nullptr,
                         QelLineStyle* lineStyle = nullptr, uint16_t lineWidth = 0,
                         QelFillStyle fillStyle = QelFillPattern, QelArcMode arcMode = QelArcPie,
                         QelFillRule fillRule = QelEvenOddRule, QelDrawMode mode = QelDrawModeSet,
                         int overwrite = 0, uint32_t planeMask = 0xffffffff);
  QelPalette* getPalette(const QelPaletteAttributes& attributes);
  // A palette registered under a name (the default one is "default").
  QelPalette* getPalette(const char* name) const;
  void setPaletteName(QelPalette* palette, const char* name);
  std::vector<QelPalette*> getNamedPalettes() const;
  void removePalette(QelPalette* palette);
  QelPalette* defaultPalette() const { return _defaultPalette; }
  // The plane mask a new graphics context gets.
  uint32_t palettePlaneMask() const;

  // --- Changing a palette's graphics context in place --------------------------------------------
  void setForeground(const QelPalette* palette, const QelColor* color) const;
  void setBackground(const QelPalette* palette, const QelColor* color) const;
  void setFont(const QelPalette* palette, const QelFont* font) const;
  void setLineStyle(const QelPalette* palette, const QelLineStyle* style, uint16_t width) const;
  void setPattern(const QelPalette* palette, const QelPattern* pattern) const;
  void setColorPattern(const QelPalette* palette, const QelColorPattern* pattern) const;
  void setFillStyle(const QelPalette* palette, QelFillStyle style) const;
  void setMode(const QelPalette* palette, QelDrawMode mode) const;
  void setArcMode(const QelPalette* palette, QelArcMode mode) const;
  void setFillRule(const QelPalette* palette, QelFillRule rule) const;
  void setOverwrite(const QelPalette* palette, int overwrite) const;
  void setPlaneMask(const QelPalette* palette, uint32_t mask) const;
  // Null removes the clip; zero-size rectangles are left out.
  void setClip(const QelPalette* palette, const QelRect* rect) const;
  void setClip(const QelPalette* palette, const QelRegion* region) const;
  void setClip(const QelPalette* palette, int32_t x, int32_t y, const QelBitmap* mask) const;
  void setClipOrigin(const QelPalette* palette, int32_t x, int32_t y) const;

  // --- Drawing sessions ------------------------------------------------------------------------
  // Operations called outside a session open one on their port and close it after.
  void openDrawing(QelPort* port, const QelRegion* clip = nullptr);
  // Fatal message when no session is open.
  void closeDrawing();
  QelPort* getDrawingPort() const { return _drawingPort; }
  const QelRegion* getDrawingClip() const { return _drawingClip; }
  void setDumpDevice(QelDumpDevice* device) {
    _queue.send();  // what was queued before goes to X
    _dumpDevice = device;
  }
  QelDumpDevice* getDumpDevice() const { return _dumpDevice; }

  // --- Drawing -----------------------------------------------------------------------------------
  void drawPoint(QelPort* port, const QelPalette* palette, const QelPoint& p) const;
  void drawPoints(QelPort* port, const QelPalette* palette, uint32_t count,
                  const QelPoint* points) const;
  // Thin solid lines are clipped to the port first: X coordinates are 16-bit.
  void drawLine(QelPort* port, const QelPalette* palette, const QelPoint& from,
                const QelPoint& to) const;
  void drawSegments(QelPort* port, const QelPalette* palette, uint32_t count, const QelPoint* from,
                    const QelPoint* to) const;
  void drawPolyLine(QelPort* port, const QelPalette* palette, uint32_t count,
                    const QelPoint* points) const;
  // The relative form: `deltas` are steps from `start`.
  void drawPolyLine(QelPort* port, const QelPalette* palette, const QelPoint& start, uint32_t count,
                    const QelPoint* deltas) const;
  void fillPolyLine(QelPort* port, const QelPalette* palette, uint32_t count,
                    const QelPoint* points, int convex = 0) const;
  void fillPolyLine(QelPort* port, const QelPalette* palette, const QelPoint& start, uint32_t count,
                    const QelPoint* deltas, int convex = 0) const;
  // A frame of exactly w by h pixels (at least 2 by 2).
  void drawRectangle(QelPort* port, const QelPalette* palette, const QelRect& rect) const;
  void fillRectangle(QelPort* port, const QelPalette* palette, const QelRect& rect) const;
  void drawRoundRectangle(QelPort* port, const QelPalette* palette, const QelRect& rect,
                          uint16_t radius) const;
  void fillRoundRectangle(QelPort* port, const QelPalette* palette, const QelRect& rect,
                          uint16_t radius) const;
  // Angles in degrees, counter-clockwise from three o'clock.
  void drawArc(QelPort* port, const QelPalette* palette, const QelRect& rect, float start,
               float delta) const;
  void fillArc(QelPort* port, const QelPalette* palette, const QelRect& rect, float start,
               float delta) const;
  // `point` is the anchor; `position` (QelPosition bits) places the text around it: left,
  // right or centre horizontally, top, bottom or centre vertically; none is the baseline start.
  void drawString(QelPort* port, const QelPalette* palette, const QelPoint& point, const char* text,
                  int length, unsigned int position = 0) const;
  // The same on the palette's background.
  void drawIString(QelPort* port, const QelPalette* palette, const QelPoint& point,
                   const char* text, int length, unsigned int position = 0) const;
  // 16-bit characters (high byte first).
  void drawWChar(QelPort* port, const QelPalette* palette, const QelPoint& point,
                 const uint16_t* text, int length) const;
  void drawIWChar(QelPort* port, const QelPalette* palette, const QelPoint& point,
                  const uint16_t* text, int length) const;
  // Text anchored at `point` mapped by `t`.
  void drawTransformedString(QelPort* port, const QelPalette* palette, const QelPoint& point,
                             const char* text, int length, const QelTransformer* t) const;
  // Cubic Bézier curves: points 0-3, then 3-6 and so on.
  void drawBezier(QelPort* port, const QelPalette* palette, uint32_t count,
                  const QelPoint* points) const;
  void drawClosedBezier(QelPort* port, const QelPalette* palette, uint32_t count,
                        const QelPoint* points) const;
  void fillBezier(QelPort* port, const QelPalette* palette, uint32_t count,
                  const QelPoint* points) const;
  void drawPaths(QelPort* port, const QelPalette* palette, uint32_t count,
                 const QelPointArray* paths) const;
  void fillPaths(QelPort* port, const QelPalette* palette, uint32_t count,
                 const QelPointArray* paths) const;
  void copyArea(QelPort* destination, const QelPalette* palette, QelPort* source,
                const QelRect& rect, const QelPoint& to) const;
  // Copies only the source's set pixels (its mask, or the source itself when depth 1).
  void copyTransparentArea(QelPort* destination, const QelPalette* palette, QelPort* source,
                           const QelRect& rect, const QelPoint& to) const;
  void clearArea(QelPort* port, const QelRect& rect, int reDraw) const;
  void clearArea(QelPort* port, const QelRegion& region, int reDraw) const;

  // Relief: `top` lights the top-left edges, `bottom` shades the bottom-right ones.
  void drawShadowRectangle(QelPort* port, const QelPalette* top, const QelPalette* bottom,
                           const QelRect& rect, uint16_t thickness) const;
  void drawReliefRectangle(QelPort* port, const QelPalette* face, const QelPalette* top,
                           const QelPalette* bottom, const QelRect& rect, uint16_t thickness) const;
  void drawReliefPolyline(QelPort* port, const QelPalette* top, const QelPalette* bottom,
                          uint32_t count, const QelPoint* points, uint16_t thickness) const;
  // Lines separated by '\n', placed in `rect` by `position`; '&' marks the next character as a
  // mnemonic (underlined; "&&" draws '&').
  void drawLabel(QelPort* port, const QelPalette* palette, const char* label, const QelRect& rect,
                 unsigned int position) const;
  // Draws `bitmap` into `rect` (a depth-1 bitmap in the palette's colours).
  void drawBitmap(QelPort* port, const QelPalette* palette, const QelBitmap* bitmap,
                  const QelRect& rect) const;
  void drawMarker(QelPort* port, const QelPalette* palette, const QelPoint& point,
                  unsigned int type, uint16_t size) const;
  // A filled arrow head inside `rect` pointing to `direction` (QelLeft, QelRight, QelTop,
  // QelBottom).
  void drawArrow(QelPort* port, const QelPalette* palette, const QelRect& rect,
                 unsigned int direction) const;
  // Size of a label as drawLabel draws it.
  void labelSize(const QelPalette* palette, const char* label, uint32_t& width,
                 uint32_t& height) const;

  // Sends the lines and markers the drawing operations queued (see QelRequestQueue). The
  // display does so before any other request of its own and when a session ends; code that
  // makes X requests of its own on a drawable the display draws on calls it first.
  void sendQueuedFigures() const;
  // The palette's graphics context for drawing now: its clip is brought up to date first.
  GC drawingGC(const QelPalette* palette) const;
  // Sends the palette's clip to its graphics context now, after the figures queued with it;
  // code that changed the context's clip itself puts the palette's back with it.
  void sendClip(const QelPalette* palette) const;
  void flush() const;
  void sync() const;
  void synchronize(int on) const;
  void bell(int percent) const;

  QelDisplay(const QelDisplay&) = delete;
  QelDisplay& operator=(const QelDisplay&) = delete;

 private:
  friend class QelDisplayErrorHandlers;
  friend class QelDrawingScope;
  friend class QelFont;
  friend class QelPalette;

  bool initialize(void (*configure)(QelDisplayConfig*));
  bool displayInit();
  bool initColors();
  void initFonts();
  void initPatterns();
  void initLineStyles();
  void initCursors();
  void initHome();
  void initPath();
  void releaseResources();
  bool makeFont(QelFont* font, const char* xName);
  bool loadFont(QelFont* font);
  QelFont* failedFont(const std::string& name) const;
  QelFont* registerAlias(QelFont* font, const char* alias);
  QelColor* cacheColor(QelColor* color, const std::string& key);
  QelFont* predefinedFont(const char* alias, const char* resource, const char* fallback);
  void filePalette(QelPalette* palette);
  void unfilePalette(QelPalette* palette, const QelPaletteAttributes& key);
  void normalize(QelPaletteAttributes& attributes) const;
  // Queues a filled diamond as the rectangles that cover exactly its pixels; false when it
  // must be drawn as a polygon.
  bool queueFilledDiamond(QelPort* port, const QelPalette* palette, const QelPoint& centre,
                          uint16_t size) const;

  Display* _xDisplay = nullptr;
  bool _ownsConnection = false;
  std::string _name;
  std::unique_ptr<QelXDisplayConfig> _config;
  bool _opened = false;
  int _screen = 0;
  uint32_t _screenWidth = 0, _screenHeight = 0;
  uint16_t _depth = 0;
  Visual* _visual = nullptr;
  Drawable _gcDrawable = 0;
  Window _visualWindow = 0;
  QelXColormap* _colormap = nullptr;
  GC _screenGC = nullptr;
  QelBitmap* _screenPort = nullptr;
  uint32_t _allPlanesMask = 0xffffffff, _usedPlanesMask = 0xffffffff;
  int _refreshLimit = 100;
  int _stopOnXError = 0;
  int _lastXError = 0;
  int _trappingXErrors = 0;
  int _trappedXError = 0;
  unsigned long _trapSerial = 0;  // the first request of the outermost trap

  // Caches. Colours are keyed by name (or "#RRRRGGGGBBBB"), case folded, and colormap.
  std::map<std::pair<std::string, QelXColormap*>, QelColor*> _colors;
  std::vector<QelColor*> _mutableColors;  // not shared, so not cached by name
  std::unordered_map<std::string, QelFont*> _fonts;
  std::unordered_map<std::string, QelFont*> _fontAliases;
  std::vector<QelFont*> _failedFonts;  // could not be loaded: in no table, freed at the end
  std::unordered_map<std::string, QelBitmap*> _bitmaps;
  std::vector<QelLineStyle*> _lineStyles;
  std::vector<QelPattern*> _patterns;
  std::vector<QelColorPattern*> _colorPatterns;
  std::vector<QelCursor*> _cursors;
  struct AttributesHash {
    size_t operator()(const QelPaletteAttributes& a) const { return a.hash(); }
  };
  std::unordered_multimap<QelPaletteAttributes, QelPalette*, AttributesHash> _palettes;
  std::map<std::string, QelPalette*> _namedPalettes;

  QelColor* _defaultBackground = nullptr;
  QelColor* _defaultForeground = nullptr;
  QelFont* _defaultFont = nullptr;
  QelPalette* _defaultPalette = nullptr;
  QelPattern* _solidPattern = nullptr;
  QelLineStyle* _solidLineStyle = nullptr;
  QelBitmap* _defaultBitmap = nullptr;
  std::string _home;
  QelSearchPath _path;
  QelMessageDatabase _messages;

  // Session bookkeeping changes inside const drawing operations (see QelDrawingScope).
  std::unique_ptr<QelEvent> _lastButtonPress;
  std::unordered_map<Window, QelAbstractView*> _views;
  std::vector<QelAbstractView*> _grabs;
  QelAbstractView* _focusView = nullptr;
  mutable QelPort* _drawingPort = nullptr;
  mutable const QelRegion* _drawingClip = nullptr;
  mutable QelRequestQueue _queue;
  // The rectangles covering a filled diamond of each size, centred on (size + 1, size + 1), as
  // the server filled it.
  mutable std::map<uint16_t, std::vector<XRectangle>> _diamonds;
  QelDumpDevice* _dumpDevice = nullptr;
  std::unique_ptr<QelLookAndFeelHandler> _lookAndFeel;
  unsigned int _lookChanges = 0;
};
