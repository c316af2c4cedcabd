// Charts of several data sets, one palette each: the multi chart, side-by-side and stacked
// arrangements, and their bar kinds.
#pragma once

#include "charts/chart.h"

// Registers the multi-chart classes (called by the chart module's initialiser).
void QelRegisterMultiCharts();
