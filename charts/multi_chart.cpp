#include "charts/multi_chart.h"

void QelRegisterMultiCharts() {}
