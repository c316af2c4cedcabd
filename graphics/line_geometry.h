// Tests and clipping of line segments in device space, computed in wide arithmetic so that
// any 32-bit coordinates are safe.
#pragma once

#include "graphics/geometry.h"

// How far from a segment, in pixels, a point still counts as on it: thin lines must stay
// easy to hit with the pointer.
constexpr int QelLineHitTolerance = 2;

// Non-zero when `p` lies within QelLineHitTolerance pixels of the segment from `a` to `b`.
int QelPointInLine(const QelPoint& p, const QelPoint& a, const QelPoint& b);

// Non-zero when the horizontal ray from `p` towards increasing x crosses the segment (a, b).
// A segment's lower end (larger y) counts and its upper end does not, so a ray through a
// shared vertex is counted once; horizontal segments are never crossed.
int QelIntersectHorizontal(const QelPoint& p, const QelPoint& a, const QelPoint& b);

// X coordinates are 16-bit: before a thin line goes to the server it is cut to the closed box
// (xmin, ymin)-(xmax, ymax). Returns 0 when the segment misses the box, else moves `a` and `b`
// onto the part inside it (endpoints already inside are left exactly as they were).
int QelClipLine(QelPoint& a, QelPoint& b, int32_t xmin, int32_t ymin, int32_t xmax, int32_t ymax);
