#include "charts/chart_kinds.h"

void QelRegisterChartKinds() {}
