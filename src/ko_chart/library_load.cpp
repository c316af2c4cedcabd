// What happens when a host loads libKestrel.so.1: every toolkit module the library contains is
// initialised once, in the toolkit's load order, before any entry point can be called.
#include <array>

#include "base/module_init.h"
#include "charts/chart.h"
#include "charts/chart_container.h"
#include "charts/chart_interactors.h"
#include "charts/scale.h"
#include "display/container.h"
#include "display/object_interactors.h"
#include "display/view.h"
#include "gadgets/gadget.h"
#include "gadgets/message_label.h"
#include "gadgets/motif_look.h"
#include "gadgets/scroll_bar.h"
#include "graphics/graphic.h"
#include "graphics/rectangle.h"
#include "graphics/selection.h"

namespace {

// The toolkit's load order is graphio, graphic, chart, scale, graphset, view, contain, chartcnt,
// contint, chartint, ..., rectobj, ..., marker, ..., select, ..., gadget, ..., scrollb, ...,
// msglabel, ...; a module gets its entry here, in that order, once the library contains it.
constexpr std::array<QelModule, 16> loadOrder{{
    {"graphic", QelGraphicModuleInit},
    {"chart", QelChartModuleInit},
    {"scale", QelScaleModuleInit},
    {"view", QelViewModuleInit},
    {"contain", QelContainerModuleInit},
    {"chartcnt", QelChartContainerModuleInit},
    {"contint", QelContainerInteractorModuleInit},
    {"chartint", QelChartInteractorModuleInit},
    {"rectobj", QelRectangleModuleInit},
    {"select", QelSelectionModuleInit},
    {"gadget", QelGadgetModuleInit},
    {"mlfgadget", QelMotifGadgetModuleInit},
    {"scrollb", QelScrollBarModuleInit},
    {"mlfscrollb", QelMotifScrollBarModuleInit},
    {"msglabel", QelMessageLabelModuleInit},
    {"mlfmsglabel", QelMotifMessageLabelModuleInit},
}};

int initializerResults[loadOrder.size() + 1];

struct LibraryLoad {
  LibraryLoad() { QelLoadModules(loadOrder.data(), loadOrder.size(), initializerResults, "xxx"); }
} libraryLoad;

}  // namespace
