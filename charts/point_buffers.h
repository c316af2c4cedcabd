// Process-wide scratch buffers of points. Charts and data sets convert points into them instead of
// allocating per draw: each call returns the one buffer of its kind, holding at least `count`
// points and valid until the next call for the same kind. The caller never frees it. A request
// that cannot be met returns null.
#pragma once

#include <cstddef>

#include "graphics/geometry.h"

// Data-space points (chart data).
QelFloatPoint* QelAllocFloatPoints(size_t count);
// View points (a chart's mapped points).
QelPoint* QelAllocPoints(size_t count);
// A second buffer of view points, for kinds that rework the mapped points into another list.
QelPoint* QelAllocInternalPoints(size_t count);
