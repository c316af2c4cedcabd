// A device that drawing can be redirected to (printing, recording). While one is set on the
// display, every drawing operation and clip change goes to it, with the arguments the display
// was given, instead of the screen; composite figures (relief, labels, markers, arrows) arrive
// as themselves so that a device can render them its own way.
#pragma once

#include <cstdint>

#include "graphics/geometry.h"

class QelPalette;
class QelPointArray;
class QelPort;
class QelRegion;
class QelBitmap;
class QelTransformer;

class QelDumpDevice {
 public:
  virtual ~QelDumpDevice();
  virtual void drawPoint(QelPort*, const QelPalette*, const QelPoint&) {}
  virtual void drawPoints(QelPort*, const QelPalette*, uint32_t, const QelPoint*) {}
  virtual void drawLine(QelPort*, const QelPalette*, const QelPoint&, const QelPoint&) {}
  virtual void drawSegments(QelPort*, const QelPalette*, uint32_t, const QelPoint*,
                            const QelPoint*) {}
  virtual void drawPolyLine(QelPort*, const QelPalette*, uint32_t, const QelPoint*) {}
  virtual void drawPolyLine(QelPort*, const QelPalette*, const QelPoint&, uint32_t,
                            const QelPoint*) {}
  virtual void fillPolyLine(QelPort*, const QelPalette*, uint32_t, const QelPoint*, int) {}
  virtual void fillPolyLine(QelPort*, const QelPalette*, const QelPoint&, uint32_t, const QelPoint*,
                            int) {}
  virtual void drawRectangle(QelPort*, const QelPalette*, const QelRect&) {}
  virtual void fillRectangle(QelPort*, const QelPalette*, const QelRect&) {}
  virtual void drawRoundRectangle(QelPort*, const QelPalette*, const QelRect&, uint16_t) {}
  virtual void fillRoundRectangle(QelPort*, const QelPalette*, const QelRect&, uint16_t) {}
  virtual void drawArc(QelPort*, const QelPalette*, const QelRect&, float, float) {}
  virtual void fillArc(QelPort*, const QelPalette*, const QelRect&, float, float) {}
  virtual void drawString(QelPort*, const QelPalette*, const QelPoint&, const char*, int,
                          unsigned int) {}
  virtual void drawIString(QelPort*, const QelPalette*, const QelPoint&, const char*, int,
                           unsigned int) {}
  virtual void drawWChar(QelPort*, const QelPalette*, const QelPoint&, const uint16_t*, int) {}
  virtual void drawIWChar(QelPort*, const QelPalette*, const QelPoint&, const uint16_t*, int) {}
  virtual void drawTransformedString(QelPort*, const QelPalette*, const QelPoint&, const char*, int,
                                     const QelTransformer*) {}
  virtual void drawBezier(QelPort*, const QelPalette*, uint32_t, const QelPoint*) {}
  virtual void drawClosedBezier(QelPort*, const QelPalette*, uint32_t, const QelPoint*) {}
  virtual void fillBezier(QelPort*, const QelPalette*, uint32_t, const QelPoint*) {}
  virtual void drawPaths(QelPort*, const QelPalette*, uint32_t, const QelPointArray*) {}
  virtual void fillPaths(QelPort*, const QelPalette*, uint32_t, const QelPointArray*) {}
  virtual void copyArea(QelPort*, const QelPalette*, QelPort*, const QelRect&, const QelPoint&) {}
  virtual void copyTransparentArea(QelPort*, const QelPalette*, QelPort*, const QelRect&,
                                   const QelPoint&) {}
  virtual void clearArea(QelPort*, const QelRect&, int) {}
  virtual void clearArea(QelPort*, const QelRegion&, int) {}
  virtual void drawShadowRectangle(QelPort*, const QelPalette*, const QelPalette*, const QelRect&,
                                   uint16_t) {}
  virtual void drawReliefRectangle(QelPort*, const QelPalette*, const QelPalette*,
                                   const QelPalette*, const QelRect&, uint16_t) {}
  virtual void drawReliefPolyline(QelPort*, const QelPalette*, const QelPalette*, uint32_t,
                                  const QelPoint*, uint16_t) {}
  virtual void drawLabel(QelPort*, const QelPalette*, const char*, const QelRect&, unsigned int) {}
  virtual void drawBitmap(QelPort*, const QelPalette*, const QelBitmap*, const QelRect&) {}
  virtual void drawMarker(QelPort*, const QelPalette*, const QelPoint&, unsigned int, uint16_t) {}
  virtual void drawArrow(QelPort*, const QelPalette*, const QelRect&, unsigned int) {}
  virtual void setClip(const QelPalette*, const QelRect*) {}
  virtual void setClip(const QelPalette*, const QelRegion*) {}
  virtual void setClip(const QelPalette*, int32_t, int32_t, const QelBitmap*) {}
  virtual void setClipOrigin(const QelPalette*, int32_t, int32_t) {}
};
