// The single-data chart kinds besides the polyline: filled polygon, stairs, bars, scatter markers
// and 3-D bars.
#pragma once

#include "charts/chart.h"

// Registers the kinds' classes (called by the chart module's initialiser).
void QelRegisterChartKinds();
