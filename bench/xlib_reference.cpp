#include "bench/xlib_reference.h"

#include <X11/Xutil.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMarkerReach = 4;  // the diamond reaches this far from its point
constexpr int kLineWidth = 2;
const char kDots[] = {4, 4};  // "dot": four on, four off

// Job state colours and whether the line is dotted, as the chart's state palettes have them.
struct StateLook {
  const char* colour;
  bool dotted;
};
constexpr StateLook kLooks[3] = {{"green", true}, {"red", true}, {"blue", false}};

// A float of view space as a pixel, truncated toward zero as the chart maps it, then held to
// what X coordinates carry.
int16_t toPixel(float v) {
  if (!(v == v)) return 0;
  return int16_t(std::clamp(std::trunc(v), -32768.0f, 32767.0f));
}

unsigned long pixelOf(Display* x, const char* name) {
  XColor exact, screen;
  Colormap map = DefaultColormap(x, DefaultScreen(x));
  if (XAllocNamedColor(x, map, name, &screen, &exact)) return screen.pixel;
  return BlackPixel(x, DefaultScreen(x));
}

}  // namespace

XlibJobReference::XlibJobReference(Display* x, uint32_t width, uint32_t height)
    : _x(x), _width(width), _height(height) {
  if (!x) return;
  const int screen = DefaultScreen(x);
  _window = XCreateSimpleWindow(x, RootWindow(x, screen), 0, 0, width, height, 0,
                                BlackPixel(x, screen), WhitePixel(x, screen));
  XMapWindow(x, _window);
  _pixmap = XCreatePixmap(x, _window, width, height, DefaultDepth(x, screen));
  XGCValues values;
  values.foreground = WhitePixel(x, screen);
  _background = XCreateGC(x, _pixmap, GCForeground, &values);
  values.foreground = BlackPixel(x, screen);
  _axes = XCreateGC(x, _pixmap, GCForeground, &values);
  _font = XLoadQueryFont(x, "fixed");
  if (_font) XSetFont(x, _axes, _font->fid);
  for (int i = 0; i < 3; ++i) {
    values.foreground = pixelOf(x, kLooks[i].colour);
    values.line_width = kLineWidth;
    values.line_style = kLooks[i].dotted ? LineOnOffDash : LineSolid;
    _state[i] = XCreateGC(x, _pixmap, GCForeground | GCLineWidth | GCLineStyle, &values);
    if (kLooks[i].dotted) XSetDashes(x, _state[i], 0, kDots, 2);
  }
  computeDiamondCover();
  XSync(x, False);
}

XlibJobReference::~XlibJobReference() {
  if (!_x) return;
  for (GC gc : _state)
    if (gc) XFreeGC(_x, gc);
  if (_background) XFreeGC(_x, _background);
  if (_axes) XFreeGC(_x, _axes);
  if (_font) XFreeFont(_x, _font);
  if (_pixmap) XFreePixmap(_x, _pixmap);
  if (_window) XDestroyWindow(_x, _window);
  XSync(_x, False);
}

// The server's own fill of one diamond, read back, gives the rows it covers; each distinct row
// span becomes one rectangle over all the adjacent rows that contain it. The rectangles overlap
// but cover exactly the diamond's pixels, so a batched frame matches a direct one.
void XlibJobReference::computeDiamondCover() {
  constexpr int kSize = 4 * kMarkerReach, c = kSize / 2;
  Pixmap scratch = XCreatePixmap(_x, _window, kSize, kSize, DefaultDepth(_x, DefaultScreen(_x)));
  XFillRectangle(_x, scratch, _background, 0, 0, kSize, kSize);
  XPoint diamond[4] = {
      {c - kMarkerReach, c}, {c, c - kMarkerReach}, {c + kMarkerReach, c}, {c, c + kMarkerReach}};
  XFillPolygon(_x, scratch, _axes, diamond, 4, Convex, CoordModeOrigin);
  XImage* image = XGetImage(_x, scratch, 0, 0, kSize, kSize, AllPlanes, ZPixmap);
  XFreePixmap(_x, scratch);
  if (!image) return;
  const unsigned long white = WhitePixel(_x, DefaultScreen(_x));
  struct Span {
    int left = 0, right = -1;  // inclusive; right < left: empty row
  };
  std::vector<Span> rows(kSize);
  for (int y = 0; y < kSize; ++y)
    for (int x = 0; x < kSize; ++x)
      if (XGetPixel(image, x, y) != white) {
        if (rows[y].right < rows[y].left) rows[y].left = x;
        rows[y].right = x;
      }
  XDestroyImage(image);
  auto contains = [](const Span& outer, const Span& inner) {
    return outer.right >= outer.left && outer.left <= inner.left && outer.right >= inner.right;
  };
  for (int y = 0; y < kSize; ++y) {
    const Span& span = rows[y];
    if (span.right < span.left) continue;
    bool seen = false;
    for (const XRectangle& r : _diamondCover)
      seen = seen || (r.x == span.left - c && r.width == span.right - span.left + 1 &&
                      y >= r.y + c && y < r.y + c + r.height);
    if (seen) continue;
    int top = y, bottom = y;
    while (top > 0 && contains(rows[top - 1], span)) --top;
    while (bottom + 1 < kSize && contains(rows[bottom + 1], span)) ++bottom;
    _diamondCover.push_back({int16_t(span.left - c), int16_t(top - c),
                             uint16_t(span.right - span.left + 1), uint16_t(bottom - top + 1)});
  }
}

void XlibJobReference::setScene(const std::vector<BenchJob>& jobs, const BenchJobMapping& m,
                                const BenchAxes& axes) {
  _axesLayout = axes;
  _jobs.clear();
  _jobs.reserve(jobs.size());
  for (const BenchJob& job : jobs) {
    ViewJob v;
    v.x0 = toPixel(m.xScale * job.start + float(m.originX));
    v.x1 = toPixel(m.xScale * job.end + float(m.originX));
    v.y = toPixel(float(m.originY) - m.yScale * float(job.row));
    v.state = uint8_t(job.state);
    v.markers = job.state == BenchJobState::Running ? 1 : 3;
    _jobs.push_back(v);
  }
}

void XlibJobReference::drawAxes() {
  const BenchAxes& a = _axesLayout;
  const int bottom = a.y + int(a.height);
  XDrawLine(_x, _pixmap, _axes, a.x, a.y, a.x, bottom);
  XDrawLine(_x, _pixmap, _axes, a.x, bottom, a.x + int(a.width), bottom);
  const int ascent = _font ? _font->ascent : 10;
  for (const auto& [x, text] : a.timeLabels)
    XDrawString(_x, _pixmap, _axes, x, bottom + 4 + ascent, text.data(), int(text.size()));
  for (const auto& [y, text] : a.rowLabels) {
    const int w = _font ? XTextWidth(_font, text.data(), int(text.size())) : 0;
    XDrawString(_x, _pixmap, _axes, a.x - 4 - w, y + ascent / 2, text.data(), int(text.size()));
  }
}

void XlibJobReference::drawDirect() {
  for (const ViewJob& job : _jobs) {
    GC gc = _state[job.state];
    XDrawLine(_x, _pixmap, gc, job.x0, job.y, job.x1, job.y);
    for (int end = 0; end < 2; ++end) {
      if (!(job.markers & (1 << end))) continue;
      const short px = end ? job.x1 : job.x0, py = job.y;
      XPoint diamond[4] = {{short(px - kMarkerReach), py},
                           {px, short(py - kMarkerReach)},
                           {short(px + kMarkerReach), py},
                           {px, short(py + kMarkerReach)}};
      XFillPolygon(_x, _pixmap, gc, diamond, 4, Convex, CoordModeOrigin);
    }
  }
}

void XlibJobReference::drawBatched() {
  for (int s = 0; s < 3; ++s) _segments[s].clear(), _rectangles[s].clear();
  for (const ViewJob& job : _jobs) {
    _segments[job.state].push_back({job.x0, job.y, job.x1, job.y});
    for (int end = 0; end < 2; ++end) {
      if (!(job.markers & (1 << end))) continue;
      const short px = end ? job.x1 : job.x0;
      for (const XRectangle& r : _diamondCover)
        _rectangles[job.state].push_back({short(px + r.x), short(job.y + r.y), r.width, r.height});
    }
  }
  // Both lists take two words per item after a three-word header.
  const size_t perRequest = (size_t(XMaxRequestSize(_x)) - 3) / 2;
  for (int s = 0; s < 3; ++s) {
    for (size_t i = 0; i < _segments[s].size(); i += perRequest)
      XDrawSegments(_x, _pixmap, _state[s], _segments[s].data() + i,
                    int(std::min(perRequest, _segments[s].size() - i)));
    for (size_t i = 0; i < _rectangles[s].size(); i += perRequest)
      XFillRectangles(_x, _pixmap, _state[s], _rectangles[s].data() + i,
                      int(std::min(perRequest, _rectangles[s].size() - i)));
  }
}

void XlibJobReference::drawFrame(Mode mode) {
  if (!ready()) return;
  XFillRectangle(_x, _pixmap, _background, 0, 0, _width, _height);
  drawAxes();
  if (mode == Direct)
    drawDirect();
  else
    drawBatched();
  XCopyArea(_x, _pixmap, _window, _background, 0, 0, _width, _height, 0, 0);
  XSync(_x, False);
}
