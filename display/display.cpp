#include "display/display.h"

#include <X11/Xresource.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <set>

#include "base/messages.h"
#include "base/version.h"
#include "display/color.h"
#include "display/event.h"
#include "display/font.h"
#include "display/line_style.h"
#include "display/palette.h"
#include "display/pattern.h"
#include "display/port.h"
#include "display/x_errors.h"

namespace {

constexpr const char* kClassName = "Tessellar";
constexpr const char* kDefaultHome = "/usr/share/kestrel/";
// Longer colour names are refused before they reach the server.
constexpr size_t kMaxColorNameLength = 255;

XtAppContext toolkitAppContext = nullptr;
std::vector<std::pair<Display*, QelDisplay*>>& connections() {
  static std::vector<std::pair<Display*, QelDisplay*>> list;
  return list;
}

bool isHex(const char* text, size_t count) {
  for (size_t i = 0; i < count; ++i)
    if (!std::isxdigit(static_cast<unsigned char>(text[i]))) return false;
  return text[count] == '\0';
}

// #rgb and #rrggbb become #rrrrggggbbbb, so that equal colours share one cache entry.
std::string widenColorName(const char* name) {
  if (name[0] == '#' && isHex(name + 1, 3)) {
    std::string wide = "#";
    for (int i = 1; i <= 3; ++i) wide.append(4, name[i]);
    return wide;
  }
  if (name[0] == '#' && isHex(name + 1, 6)) {
    std::string wide = "#";
    for (int i = 1; i <= 6; i += 2) wide.append(name + i, 2).append(name + i, 2);
    return wide;
  }
  return name;
}

// X colour names are case-insensitive, so the cache folds case: "Red" and "red" are one colour.
std::string colorKey(std::string name) {
  for (char& c : name) c = char(std::tolower(static_cast<unsigned char>(c)));
  return name;
}

// The eight predefined line styles.
struct PredefinedLineStyle {
  const char* name;
  uint16_t count;
  uint8_t dashes[5];
};
const PredefinedLineStyle predefinedLineStyles[] = {
    {"solid", 0, {}},
    {"dot", 2, {4, 4}},
    {"dash", 2, {8, 8}},
    {"dashdot", 4, {8, 4, 4, 4}},
    // Five entries: X repeats an odd list with on and off swapped, which this style wants.
    {"dashdoubledot", 5, {8, 4, 4, 4, 4}},
    {"alternate", 2, {1, 1}},
    {"doubledot", 4, {4, 4, 4, 12}},
    {"longdash", 2, {12, 4}},
};

}  // namespace

QelXDisplayConfig::QelXDisplayConfig(Display* display) {
  if (!display) return;
  screen = DefaultScreen(display);
  visual = DefaultVisual(display, screen);
  colormap = DefaultColormap(display, screen);
  depth = uint16_t(DefaultDepth(display, screen));
}

QelDisplay::QelDisplay(void* xDisplay, const char* name, void (*configure)(QelDisplayConfig*))
    : _lastButtonPress(std::make_unique<QelEvent>()) {
  _xDisplay = static_cast<Display*>(xDisplay);
  if (_xDisplay) {
    toolkitAppContext = XtDisplayToApplicationContext(_xDisplay);
    QelInstallXtWarningHandler(this, toolkitAppContext);
  }
  _name = name && *name ? name : kClassName;
  _config = std::make_unique<QelXDisplayConfig>(_xDisplay);
  if (!initialize(configure)) {
    releaseResources();
    _config.reset();
    _xDisplay = nullptr;
  }
}

QelDisplay::QelDisplay(const char* name, const char* displayName, int argc, char** argv)
    : _lastButtonPress(std::make_unique<QelEvent>()) {
  _name = name && *name ? name : kClassName;
  static bool toolkitInitialized = false;
  if (!toolkitInitialized) XtToolkitInitialize();
  toolkitInitialized = true;
  // Opened with Xlib first: Xt would keep a copy of the name of a display it cannot open.
  _xDisplay = XOpenDisplay(displayName);
  if (!_xDisplay) {
    std::printf("Can't open Display\n");
    std::fflush(stdout);
    return;
  }
  XtAppContext context = XtCreateApplicationContext();
  QelInstallXtWarningHandler(this, context);
  int count = argc;
  XtDisplayInitialize(context, _xDisplay, _name.c_str(), kClassName, nullptr, 0, &count, argv);
  toolkitAppContext = context;
  _ownsConnection = true;
  _config = std::make_unique<QelXDisplayConfig>(_xDisplay);
  if (!initialize(nullptr)) {
    releaseResources();
    _config.reset();
    XtCloseDisplay(_xDisplay);
    XtDestroyApplicationContext(context);
    if (toolkitAppContext == context) toolkitAppContext = nullptr;
    _xDisplay = nullptr;
    _ownsConnection = false;
  }
}

QelDisplay::~QelDisplay() {
  // The look holds resources of this display: it goes before them.
  _lookAndFeel.reset();
  if (!_xDisplay) return;
  releaseResources();
  if (_ownsConnection) {
    XtAppContext context = XtDisplayToApplicationContext(_xDisplay);
    XtCloseDisplay(_xDisplay);
    XtDestroyApplicationContext(context);
    if (toolkitAppContext == context) toolkitAppContext = nullptr;
  }
}

QelDisplay* QelDisplay::Find(Display* xDisplay) {
  for (const auto& entry : connections())
    if (entry.first == xDisplay) return entry.second;
  return nullptr;
}

XtAppContext QelDisplay::GetAppContext() {
  return toolkitAppContext;
}

bool QelDisplay::initialize(void (*configure)(QelDisplayConfig*)) {
  if (_opened) return true;
  if (configure) configure(_config.get());
  if (!displayInit()) return false;
  connections().emplace_back(_xDisplay, this);
  if (!initColors()) return false;
  initFonts();
  initPatterns();
  initLineStyles();
  initCursors();
  _defaultPalette = getPalette(nullptr, nullptr);
  _defaultPalette->lock();
  setPaletteName(_defaultPalette, "default");
  _defaultBitmap = new QelBitmap(this, 8, 8, 1, "default");
  _defaultBitmap->lock();
  addBitmap(_defaultBitmap);
  initHome();
  initPath();
  // The look's button and menu texts use the normal font.
  for (const char* alias : {"button", "menu"})
    if (QelFont* font = findFont("normal") ? findFont("normal") : _defaultFont)
      registerAlias(font, alias);
  _opened = true;
  return true;
}

bool QelDisplay::displayInit() {
  // Only the constructor that opens its own connection opens one; an adopting display given no
  // connection has nothing to set up.
  if (!_xDisplay) {
    std::printf("Can't open Display\n");
    std::fflush(stdout);
    return false;
  }
  QelInstallXErrorHandlers(this);
  const char* stop = getEnvOrResource("QELSTOPONXERROR", "stopOnXError", nullptr);
  _stopOnXError = stop && strcasecmp(stop, "true") == 0;

  _screen = _config->screen;
  if (_screen < 0 || _screen >= ScreenCount(_xDisplay)) _screen = DefaultScreen(_xDisplay);
  _screenWidth = uint32_t(DisplayWidth(_xDisplay, _screen));
  _screenHeight = uint32_t(DisplayHeight(_xDisplay, _screen));
  _depth = _config->depth ? _config->depth : uint16_t(DefaultDepth(_xDisplay, _screen));
  if (_config->planes) {
    uint32_t mask = _config->planes >= 32 ? 0xffffffffu : (1u << _config->planes) - 1;
    _allPlanesMask = _usedPlanesMask = mask;
  }
  Visual* defaultVisual = DefaultVisual(_xDisplay, _screen);
  _visual = _config->visual ? _config->visual : defaultVisual;
  Colormap defaultColormap = DefaultColormap(_xDisplay, _screen);
  Window root = RootWindow(_xDisplay, _screen);
  if (_visual == defaultVisual) {
    Colormap colormap = _config->colormap ? _config->colormap : defaultColormap;
    _colormap = new QelXColormap(_xDisplay, colormap, _visual, false);
    _gcDrawable = root;
  } else {
    bool own = !_config->colormap || _config->colormap == defaultColormap;
    Colormap colormap =
        own ? XCreateColormap(_xDisplay, root, _visual, AllocNone) : _config->colormap;
    _colormap = new QelXColormap(_xDisplay, colormap, _visual, own);
    XSetWindowAttributes attributes;
    attributes.colormap = colormap;
    attributes.border_pixel = 0;
    _visualWindow = XCreateWindow(_xDisplay, root, 0, 0, 1, 1, 0, _depth, InputOutput, _visual,
                                  CWColormap | CWBorderPixel, &attributes);
    _gcDrawable = _visualWindow;
  }
  Pixmap one = XCreatePixmap(_xDisplay, root, 1, 1, 1);
  _screenGC = XCreateGC(_xDisplay, one, 0, nullptr);
  XFreePixmap(_xDisplay, one);
  _screenPort = new QelBitmap(this, _gcDrawable, _screenWidth, _screenHeight, _depth, "screen");
  return true;
}

bool QelDisplay::initColors() {
  const char* background = getResource("background");
  const char* foreground = getResource("foreground");
  if (!background) background = "gray";
  if (!foreground) foreground = "black";
  if (std::strcmp(background, foreground) == 0) background = "gray", foreground = "black";
  _defaultBackground = getColor(background);
  if (!_defaultBackground) _defaultBackground = getColor("white");
  _defaultForeground = getColor(foreground);
  if (!_defaultForeground) _defaultForeground = getColor("black");
  if (_defaultBackground && _defaultForeground &&
      _defaultBackground->getIndex() == _defaultForeground->getIndex()) {
    _defaultBackground->lock();  // released below, which frees what nobody else holds
    _defaultForeground->lock();
    _defaultBackground->unLock();
    _defaultForeground->unLock();
    _defaultBackground = getColor("white");
    _defaultForeground = getColor("black");
  }
  // Every palette draws with these two: a colormap that cannot give even white and black
  // leaves the display unusable.
  if (!_defaultBackground || !_defaultForeground) {
    _defaultBackground = _defaultForeground = nullptr;
    return false;
  }
  _defaultBackground->lock();
  _defaultForeground->lock();
  return true;
}

void QelDisplay::initPatterns() {
  const unsigned char solid[8] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
  _solidPattern = new QelPattern(this, 8, 8, solid, "solid");
  _solidPattern->lock();
}

void QelDisplay::initLineStyles() {
  for (const PredefinedLineStyle& style : predefinedLineStyles) {
    QelLineStyle* made = new QelLineStyle(this, style.count, style.dashes, 0, style.name);
    made->lock();
    _lineStyles.push_back(made);
  }
  _solidLineStyle = _lineStyles.front();
}

void QelDisplay::initCursors() {
  constexpr unsigned int kLeftPointer = 68;  // the cursor font's left_ptr
  QelCursor* cursor = new QelCursor(this, kLeftPointer, "default");
  cursor->lock();
  _cursors.push_back(cursor);
}

void QelDisplay::initHome() {
  const char* home = QelGetDefaultHome();
  if (!home || !*home) home = getEnvOrResource("QELHOME", "home", nullptr);
  if (!home || !*home) home = getResource("QelHome");
  if (!home || !*home) {
    home = kDefaultHome;
    QelWarning("Setting Tessellar home to %s\n", home);
  }
  _home = home;
}

void QelDisplay::initPath() {
  QelPathName home(_home);
  _path.clear();
  for (const char* data : {"data/qel/", "data/icon/", "data/images/"})
    _path.append(home.join(data));
  if (const char* path = std::getenv("QELPATH")) _path.set(path);
  if (const char* path = getResource("QelPath")) _path.prepend(path);
}

void QelDisplay::setPath(const QelPathName& path) {
  _path.clear();
  _path.append(path);
}

void QelDisplay::releaseResources() {
  if (_defaultPalette) _defaultPalette->unLock();
  _defaultPalette = nullptr;
  // Palettes first: they hold locks on the colours, fonts and line styles below.
  std::set<QelPalette*> palettes;
  for (const auto& entry : _palettes) palettes.insert(entry.second);
  for (const auto& entry : _namedPalettes) palettes.insert(entry.second);
  for (QelPalette* palette : palettes) delete palette;
  auto deleteAll = [](auto& items) {
    auto copy = items;
    for (auto* item : copy) delete item;
  };
  deleteAll(_cursors);
  deleteAll(_colorPatterns);
  deleteAll(_patterns);
  std::set<QelBitmap*> bitmaps;
  for (const auto& entry : _bitmaps) bitmaps.insert(entry.second);
  for (QelBitmap* bitmap : bitmaps) delete bitmap;
  deleteAll(_lineStyles);
  std::set<QelFont*> fonts;
  for (const auto& entry : _fonts) fonts.insert(entry.second);
  for (const auto& entry : _fontAliases) fonts.insert(entry.second);
  fonts.insert(_failedFonts.begin(), _failedFonts.end());
  for (QelFont* font : fonts) delete font;
  std::vector<QelColor*> colors = _mutableColors;
  for (const auto& entry : _colors) colors.push_back(entry.second);
  for (QelColor* color : colors) delete color;
  _defaultBackground = _defaultForeground = nullptr;
  _defaultFont = nullptr;
  _solidPattern = nullptr;
  _solidLineStyle = nullptr;
  _defaultBitmap = nullptr;
  delete _screenPort;
  _screenPort = nullptr;
  if (_xDisplay) {
    if (_screenGC) XFreeGC(_xDisplay, _screenGC);
    if (_visualWindow) XDestroyWindow(_xDisplay, _visualWindow);
  }
  _screenGC = nullptr;
  _visualWindow = 0;
  delete _colormap;
  _colormap = nullptr;
  auto& list = connections();
  list.erase(std::remove_if(list.begin(), list.end(),
                            [this](const auto& entry) { return entry.second == this; }),
             list.end());
  // The host's handlers come back with the last display.
  QelReleaseHandlers(this);
}

// --- X resources ------------------------------------------------------------------------------

namespace {

// Looks `name` up under the given name and class quark lists; cuts trailing blanks in place.
const char* searchResource(Display* display, const XrmQuark* names, const XrmQuark* classes,
                           const char* name) {
  if (!display || !name) return nullptr;
  XrmDatabase database = XrmGetDatabase(display);
  if (!database) {
    XGetDefault(display, "", "dummy");  // makes Xlib load the database
    database = XrmGetDatabase(display);
  }
  if (!database) return nullptr;
  XrmHashTable searchList[9];
  if (!XrmQGetSearchList(database, const_cast<XrmQuark*>(names), const_cast<XrmQuark*>(classes),
                         searchList, 9))
    return nullptr;
  XrmRepresentation type;
  XrmValue value;
  XrmQuark quark = XrmStringToQuark(name);
  if (!XrmQGetSearchResource(searchList, quark, quark, &type, &value) || !value.addr)
    return nullptr;
  char* text = value.addr;
  size_t length = std::strlen(text);
  while (length && (text[length - 1] == ' ' || text[length - 1] == '\t')) text[--length] = '\0';
  return text;
}

}  // namespace

const char* QelDisplay::getResource(const char* name, const char* defaultValue) const {
  XrmQuark names[] = {XrmStringToQuark(_name.c_str()), NULLQUARK};
  XrmQuark classes[] = {XrmStringToQuark(kClassName), NULLQUARK};
  const char* value = searchResource(_xDisplay, names, classes, name);
  return value && *value ? value : defaultValue;
}

const char* QelDisplay::getResource(const char* name, const char* objectName,
                                    const char* objectClass, const char* partName,
                                    const char* partClass) const {
  auto quark = [](const char* text) { return XrmStringToQuark(text ? text : ""); };
  XrmQuark names[] = {quark(_name.c_str()), quark(objectName), NULLQUARK, NULLQUARK};
  XrmQuark classes[] = {quark(kClassName), quark(objectClass), NULLQUARK, NULLQUARK};
  if (partName || partClass) names[2] = quark(partName), classes[2] = quark(partClass);
  const char* value = searchResource(_xDisplay, names, classes, name);
  return value && *value ? value : nullptr;
}

const char* QelDisplay::getEnvOrResource(const char* envName, const char* resourceName,
                                         const char* defaultValue) const {
  if (const char* value = envName ? std::getenv(envName) : nullptr) return value;
  return getResource(resourceName ? resourceName : envName, defaultValue);
}

// --- Colours ----------------------------------------------------------------------------------

QelColor* QelDisplay::cacheColor(QelColor* color, const std::string& key) {
  if (!color->isAllocated()) {
    delete color;
    return nullptr;
  }
  // Mutable colours are never shared, but the display still frees the ones left at its end.
  if (color->isMutable())
    _mutableColors.push_back(color);
  else
    _colors[{key, _colormap}] = color;
  return color;
}

QelColor* QelDisplay::findColor(const char* name) const {
  if (!name || !*name || std::strlen(name) > kMaxColorNameLength) return nullptr;
  auto found = _colors.find({colorKey(widenColorName(name)), _colormap});
  return found == _colors.end() ? nullptr : found->second;
}

QelColor* QelDisplay::getColor(const char* name, int isMutable) {
  if (!_xDisplay || !name || !*name || std::strlen(name) > kMaxColorNameLength) return nullptr;
  std::string wide = widenColorName(name);
  std::string key = colorKey(wide);
  if (!isMutable) {
    auto found = _colors.find({key, _colormap});
    if (found != _colors.end()) return found->second;
  }
  return cacheColor(new QelColor(this, _colormap, wide.c_str(), wide.c_str(), isMutable), key);
}

QelColor* QelDisplay::getColor(unsigned short red, unsigned short green, unsigned short blue,
                               int isMutable) {
  if (!_xDisplay) return nullptr;
  char name[16];
  std::snprintf(name, sizeof name, "#%04X%04X%04X", red, green, blue);
  std::string key = colorKey(name);
  if (!isMutable) {
    auto found = _colors.find({key, _colormap});
    if (found != _colors.end()) return found->second;
  }
  return cacheColor(new QelColor(this, _colormap, name, red, green, blue, isMutable), key);
}

QelColor* QelDisplay::getColor(float hue, float saturation, float value, int isMutable) {
  unsigned short red, green, blue;
  QelHSVToRGB(hue, saturation, value, red, green, blue);
  return getColor(red, green, blue, isMutable);
}

QelColor* QelDisplay::getNearestColor(unsigned short red, unsigned short green, unsigned short blue,
                                      unsigned long* distance) const {
  // Squared 16-bit differences: three of them need more than 32 bits.
  auto square = [](unsigned short a, unsigned short b) {
    uint64_t d = a > b ? a - b : b - a;
    return d * d;
  };
  QelColor* nearest = nullptr;
  uint64_t best = 0;
  for (const auto& entry : _colors) {
    unsigned short r, g, b;
    entry.second->getRGB(r, g, b);
    uint64_t d = square(r, red) + square(g, green) + square(b, blue);
    if (!nearest || d < best) nearest = entry.second, best = d;
  }
  if (distance) *distance = (unsigned long)best;
  return nearest;
}

void QelDisplay::removeColor(QelColor* color) {
  _mutableColors.erase(std::remove(_mutableColors.begin(), _mutableColors.end(), color),
                       _mutableColors.end());
  for (auto it = _colors.begin(); it != _colors.end(); ++it)
    if (it->second == color) {
      _colors.erase(it);
      return;
    }
}

// --- Freeing the X side -----------------------------------------------------------------------
// Each resource's destructor calls these after taking the resource out of its cache; the object
// is left without its X handle.

void QelDisplay::freeColor(QelColor* color) {
  if (!color || !color->_allocated) return;
  if (_xDisplay) XFreeColors(_xDisplay, color->_colormap->getColormap(), &color->_pixel, 1, 0);
  color->_allocated = 0;
  color->_pixel = (unsigned long)-1;
}

void QelDisplay::freeFont(QelFont* font) {
  if (font) font->release();
}

void QelDisplay::freePalette(QelPalette* palette) {
  if (!palette || !palette->_gc) return;
  _queue.sendFor(palette->_gc);
  if (_xDisplay) XFreeGC(_xDisplay, palette->_gc);
  palette->_gc = nullptr;
}

void QelDisplay::freeBitmap(QelBitmap* bitmap) {
  if (!bitmap || !bitmap->_owned || !bitmap->getDrawable()) return;
  _queue.sendFor(bitmap->getDrawable());
  if (_xDisplay) XFreePixmap(_xDisplay, bitmap->getDrawable());
  bitmap->setDrawable(0);
}

void QelDisplay::freeCursor(QelCursor* cursor) {
  if (!cursor || !cursor->_cursor) return;
  if (_xDisplay) XFreeCursor(_xDisplay, cursor->_cursor);
  cursor->_cursor = 0;
}

// --- Line styles ----------------------------------------------------------------------------

QelLineStyle* QelDisplay::getLineStyle(const char* name) const {
  if (!name) return nullptr;
  for (QelLineStyle* style : _lineStyles)
    if (style->getName() && std::strcmp(style->getName(), name) == 0) return style;
  return nullptr;
}

QelLineStyle* QelDisplay::getLineStyle(uint16_t count, const uint8_t* dashes, uint16_t offset) {
  if (count && (!dashes || std::find(dashes, dashes + count, 0) != dashes + count)) return nullptr;
  for (QelLineStyle* style : _lineStyles)
    if (style->equals(count, dashes, offset)) return style;
  QelLineStyle* style = new QelLineStyle(this, count, dashes, offset);
  _lineStyles.push_back(style);
  return style;
}

void QelDisplay::removeLineStyle(QelLineStyle* style) {
  _lineStyles.erase(std::remove(_lineStyles.begin(), _lineStyles.end(), style), _lineStyles.end());
}

// --- Patterns, bitmaps, cursors ---------------------------------------------------------------

namespace {

template <typename Resource>
Resource* findNamed(const std::vector<Resource*>& list, const char* name) {
  if (!name) return nullptr;
  for (Resource* item : list)
    if (item->getName() && std::strcmp(item->getName(), name) == 0) return item;
  return nullptr;
}

template <typename Resource>
void removeFrom(std::vector<Resource*>& list, Resource* item) {
  list.erase(std::remove(list.begin(), list.end(), item), list.end());
}

}  // namespace

QelPattern* QelDisplay::getPattern(const char* name) const {
  return findNamed(_patterns, name);
}
void QelDisplay::addPattern(QelPattern* pattern) {
  _patterns.push_back(pattern);
}
void QelDisplay::removePattern(QelPattern* pattern) {
  removeFrom(_patterns, pattern);
}

QelColorPattern* QelDisplay::getColorPattern(const char* name) const {
  return findNamed(_colorPatterns, name);
}
void QelDisplay::addColorPattern(QelColorPattern* pattern) {
  _colorPatterns.push_back(pattern);
}
void QelDisplay::removeColorPattern(QelColorPattern* pattern) {
  removeFrom(_colorPatterns, pattern);
}

QelBitmap* QelDisplay::getBitmap(const char* name) const {
  auto found = name ? _bitmaps.find(name) : _bitmaps.end();
  return found == _bitmaps.end() ? nullptr : found->second;
}

void QelDisplay::addBitmap(QelBitmap* bitmap) {
  if (bitmap && bitmap->getName()) _bitmaps[bitmap->getName()] = bitmap;
}

void QelDisplay::removeBitmap(QelBitmap* bitmap) {
  if (!bitmap->getName()) return;
  auto found = _bitmaps.find(bitmap->getName());
  if (found != _bitmaps.end() && found->second == bitmap) _bitmaps.erase(found);
}

QelCursor* QelDisplay::getCursor(const char* name) const {
  return findNamed(_cursors, name);
}

QelCursor* QelDisplay::getCursor(unsigned int shape) {
  QelCursor* cursor = new QelCursor(this, shape);
  _cursors.push_back(cursor);
  return cursor;
}

void QelDisplay::removeCursor(QelCursor* cursor) {
  removeFrom(_cursors, cursor);
}

// --- Palettes -------------------------------------------------------------------------------

void QelDisplay::normalize(QelPaletteAttributes& a) const {
  if (!a.background) a.background = _defaultBackground;
  if (!a.foreground) a.foreground = _defaultForeground;
  if (!a.pattern) a.pattern = _solidPattern;
  if (!a.font) a.font = _defaultFont;
  if (!a.lineStyle) a.lineStyle = _solidLineStyle;
}

QelPalette* QelDisplay::getPalette(QelColor* background, QelColor* foreground, QelPattern* pattern,
                                   QelColorPattern* colorPattern, QelFont* font,
                                   QelLineStyle* lineStyle, uint16_t lineWidth,
                                   QelFillStyle fillStyle, QelArcMode arcMode, QelFillRule fillRule,
                                   QelDrawMode mode, int overwrite, uint32_t planeMask) {
  QelPaletteAttributes a;
  a.background = background, a.foreground = foreground, a.pattern = pattern;
  a.colorPattern = colorPattern, a.font = font, a.lineStyle = lineStyle;
  a.lineWidth = lineWidth, a.fillStyle = fillStyle, a.arcMode = arcMode, a.fillRule = fillRule;
  a.mode = mode, a.overwrite = overwrite, a.planeMask = planeMask;
  return getPalette(a);
}

QelPalette* QelDisplay::getPalette(const QelPaletteAttributes& attributes) {
  if (!_xDisplay) return nullptr;
  QelPaletteAttributes key = attributes;
  normalize(key);
  auto found = _palettes.find(key);
  if (found != _palettes.end()) return found->second;
  return new QelPalette(this, key, 1);
}

QelPalette* QelDisplay::getPalette(const char* name) const {
  auto found = name ? _namedPalettes.find(name) : _namedPalettes.end();
  return found == _namedPalettes.end() ? nullptr : found->second;
}

void QelDisplay::setPaletteName(QelPalette* palette, const char* name) {
  if (palette->getName()) {
    auto old = _namedPalettes.find(palette->getName());
    if (old != _namedPalettes.end() && old->second == palette) _namedPalettes.erase(old);
  }
  palette->setName(name);
  if (name) _namedPalettes[name] = palette;
}

std::vector<QelPalette*> QelDisplay::getNamedPalettes() const {
  std::vector<QelPalette*> named;
  for (const auto& entry : _namedPalettes) named.push_back(entry.second);
  return named;
}

void QelDisplay::filePalette(QelPalette* palette) {
  _palettes.emplace(palette->getAttributes(), palette);
}

void QelDisplay::unfilePalette(QelPalette* palette, const QelPaletteAttributes& key) {
  auto range = _palettes.equal_range(key);
  for (auto it = range.first; it != range.second; ++it)
    if (it->second == palette) {
      _palettes.erase(it);
      return;
    }
}

void QelDisplay::removePalette(QelPalette* palette) {
  unfilePalette(palette, palette->getAttributes());
  if (palette->getName()) {
    auto named = _namedPalettes.find(palette->getName());
    if (named != _namedPalettes.end() && named->second == palette) _namedPalettes.erase(named);
  }
}

uint32_t QelDisplay::palettePlaneMask() const {
  if (_allPlanesMask == _usedPlanesMask) return 0xffffff;
  uint32_t mask = _config->usedPlanesMask;
  if (_config->directMapping) return mask;
  // Scattered planes are packed, highest first, into consecutive low bits.
  uint32_t packed = 0;
  for (int bit = int(_depth) - 1; bit >= 0; --bit)
    if (mask & (1u << bit)) packed = (packed << 1) | 1;
  return packed;
}

QelAbstractView* QelDisplay::getView(Window window) const {
  auto found = _views.find(window);
  return found == _views.end() ? nullptr : found->second;
}

void QelDisplay::addView(Window window, QelAbstractView* view) {
  if (window && view) _views[window] = view;
}

void QelDisplay::removeView(QelAbstractView* view) {
  for (auto it = _views.begin(); it != _views.end();)
    it = it->second == view ? _views.erase(it) : std::next(it);
  removeGrab(view);
  if (_focusView == view) _focusView = nullptr;
}

void QelDisplay::addGrab(QelAbstractView* view) {
  removeGrab(view);
  if (view) _grabs.push_back(view);
}

void QelDisplay::removeGrab(QelAbstractView* view) {
  _grabs.erase(std::remove(_grabs.begin(), _grabs.end(), view), _grabs.end());
}
