// The scene demo: a plain Motif application whose main window holds a toolkit container with a
// small scene of rectangles. Click an object to select it, drag it to move it, File > Save to
// write the scene to a data file; a data file named on the command line is loaded at start.
//
//   kestrel_scene_demo [Xt options, e.g. -geometry 640x480] [--charts] [--chart-container]
//                      [--screenshot FILE.png] [SCENE]
//
// SCENE is where Save writes (scene.qel in the current directory by default); when it does not
// exist yet the demo starts from its built-in scene. View > Live charts (or --charts at start)
// opens a second window with every chart kind over moving series; View > Chart container (or
// --chart-container) a third, where charts share scales and a legend and are scrolled and
// zoomed from the keyboard and the mouse. With --screenshot the demo writes a PNG of its window
// once it is drawn, and of each other window that is open (FILE-charts.png,
// FILE-chart-container.png), and exits.

#include <X11/Intrinsic.h>
#include <Xm/CascadeB.h>
#include <Xm/MainW.h>
#include <Xm/Protocols.h>
#include <Xm/PushB.h>
#include <Xm/RowColumn.h>
#include <Xm/Separator.h>
#include <Xm/Xm.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "charts/chart.h"
#include "charts/chart_container.h"
#include "display/container.h"
#include "display/display.h"
#include "examples/chart_container_window.h"
#include "examples/chart_window.h"
#include "examples/window_png.h"
#include "gadgets/motif_look.h"
#include "graphics/output_file.h"
#include "graphics/rectangle.h"
#include "graphics/selection.h"

namespace {

constexpr const char* kAppClass = "SceneDemo";
constexpr const char* kDefaultSceneFile = "scene.qel";
constexpr uint32_t kWidth = 480, kHeight = 360;  // of the scene, when no -geometry says otherwise
constexpr uint32_t kHandleSize = 4;              // half a selection handle's side

// What the built-in scene holds: filled rectangles and thick outlines, none of them black, so
// that the black selection handles stand out.
struct SceneItem {
  const char* name;
  const char* color;
  QelRect rect;
  bool filled;
};
const SceneItem kBuiltInScene[] = {
    {"sky", "steel blue", QelRect(40, 40, 140, 90), true},
    {"sun", "gold", QelRect(240, 50, 90, 90), true},
    {"roof", "tomato", QelRect(60, 200, 160, 80), true},
    {"tree", "sea green", QelRect(340, 190, 80, 120), true},
    {"frame", "dark orchid", QelRect(220, 30, 130, 130), false},
    {"border", "navy", QelRect(20, 20, 440, 320), false},
};

class Scene;

// Moves the object it is pressed on, selecting it first. A press on a handle of the selection
// moves the object the selection frames.
class DragInteractor : public QelViewObjectInteractor {
 public:
  explicit DragInteractor(Scene& scene) : _scene(scene) {}
  int handleEvent(QelGraphic* obj, QelEvent& event, QelContainer* container,
                  QelTransformer* t) override;

 private:
  Scene& _scene;
  QelGraphic* _dragged = nullptr;  // what the last press picked
  QelPoint _last;                  // where the pointer was at the previous press or drag
};

// The container and what the demo keeps about it: the one selection and the scene's file.
class Scene {
 public:
  Scene(QelDisplay* display, Widget parent, const std::string& file);
  ~Scene() { delete _container; }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  QelContainer* container() const { return _container; }
  QelDrawSelection* selection() const { return _selection; }
  // Frames `obj` with handles (null: frames nothing); only one object is selected at a time.
  void select(QelGraphic* obj);
  void moveBy(QelGraphic* obj, int32_t dx, int32_t dy);
  // Writes every object but the selection to the scene's file.
  bool save() const;
  const std::string& file() const { return _file; }

 private:
  void load();
  void addBuiltInScene();
  QelRect footprint(const QelGraphic* obj) const;
  static void clearOnEmptyPress(QelAbstractView* view, QelEvent* event, void* scene);

  QelDisplay* _display;
  QelContainer* _container;
  QelDrawSelection* _selection = nullptr;  // the topmost object of the container while there
  DragInteractor _dragger{*this};
  std::string _file;
};

// --- Interaction -------------------------------------------------------------------------------

bool isPress(int type) {
  // The second of two quick presses comes as a double click: it starts a drag all the same.
  return type == QelButtonDown || type == QelDoubleClick || type == QelMultiClick;
}

int DragInteractor::handleEvent(QelGraphic* obj, QelEvent& event, QelContainer* container,
                                QelTransformer*) {
  if (isPress(event.type)) {
    if (event.button != QelLeftButton) return 0;
    // The second click of a double click reaches the object pressed first: what it picks is
    // what lies under the pointer.
    if (event.type != QelButtonDown) obj = container->lastContains(QelPoint(event.x, event.y));
    if (obj && obj == _scene.selection()) obj = _scene.selection()->getObject();
    _dragged = obj;
    _scene.select(obj);
    _last = QelPoint(event.x, event.y);
    return 1;
  }
  if (event.type == QelButtonDragged && (event.modifiers & QelLeftButtonModifier)) {
    _scene.moveBy(_dragged, event.x - _last.x, event.y - _last.y);
    _last = QelPoint(event.x, event.y);
    return 1;
  }
  return event.type == QelButtonUp && event.button == QelLeftButton;
}

// The container's input callback sees every event before the objects do: a press that hits
// no object clears the selection.
void Scene::clearOnEmptyPress(QelAbstractView*, QelEvent* event, void* data) {
  auto* scene = static_cast<Scene*>(data);
  if (isPress(event->type) && (event->modifiers & 0xf) == 0 &&
      !scene->_container->lastContains(QelPoint(event->x, event->y)))
    scene->select(nullptr);
}

void Scene::select(QelGraphic* obj) {
  if (_selection && _selection->getObject() == obj) return;
  if (_selection) {
    _container->removeObject(_selection, 1);
    delete _selection;
    _selection = nullptr;
  }
  if (!obj) return;
  QelPalette* handles = _display->getPalette(nullptr, _display->getColor("black"));
  _selection = new QelDrawSelection(_display, obj, kHandleSize, handles);
  // Added last, so drawn on top; a press on a handle drags the object.
  _container->addObject(_selection, 1);
  _container->setObjectInteractor(_selection, &_dragger);
}

// What an object covers on the screen: its box, with the handles when it is selected.
QelRect Scene::footprint(const QelGraphic* obj) const {
  const QelGraphic* shown = _selection && _selection->getObject() == obj ? _selection : obj;
  QelRect box;
  shown->boundingBox(box, _container->getTransformer());
  return box;
}

// Redraws only where the object was and where it is now.
void Scene::moveBy(QelGraphic* obj, int32_t dx, int32_t dy) {
  if (!obj || (!dx && !dy)) return;
  QelRegion damaged(footprint(obj));
  obj->translate(dx, dy);
  damaged.add(footprint(obj));
  _container->reDraw(&damaged);
}

// --- The scene and its file --------------------------------------------------------------------

Scene::Scene(QelDisplay* display, Widget parent, const std::string& file)
    : _display(display),
      _container(new QelContainer(display, parent, QelRect(0, 0, kWidth, kHeight))),
      _file(file) {
  _container->setBackground(display->getColor("white"));
  load();
  // The scene is drawn in an off-screen bitmap and copied to the window: moving objects do not
  // flicker, and exposures are repainted from the bitmap without drawing any object.
  _container->setDoubleBuffering(1);
  _container->setInputCallback(clearOnEmptyPress, this);
}

void Scene::load() {
  bool exists = std::ifstream(_file).good();
  if (!exists || !_container->readFile(_file.c_str())) addBuiltInScene();
  // Objects read from the file are dragged like the built-in ones.
  for (QelGraphic* obj : _container->getObjects()) _container->setObjectInteractor(obj, &_dragger);
}

void Scene::addBuiltInScene() {
  for (const SceneItem& item : kBuiltInScene) {
    QelColor* color = _display->getColor(item.color);
    if (item.filled) {
      QelPalette* palette = _display->getPalette(nullptr, color);
      _container->addObject(item.name, new QelFilledRectangle(_display, item.rect, palette), 0);
    } else {
      QelPalette* palette =
          _display->getPalette(nullptr, color, nullptr, nullptr, nullptr, nullptr, /*lineWidth=*/3);
      _container->addObject(item.name, new QelRectangle(_display, item.rect, palette), 0);
    }
  }
}

bool Scene::save() const {
  std::vector<QelGraphic*> objects;
  for (QelGraphic* obj : _container->getObjects())
    if (obj != _selection) objects.push_back(obj);
  // Written beside the file and renamed over it: a failed save leaves the old file whole.
  std::string partial = _file + ".part";
  std::ofstream out(partial);
  bool written = out && QelSaveGraphics(out, uint32_t(objects.size()), objects.data());
  out.close();
  if (written && !out.fail() && std::rename(partial.c_str(), _file.c_str()) == 0) return true;
  std::remove(partial.c_str());
  return false;
}

// --- The Motif window --------------------------------------------------------------------------

struct App {
  XtAppContext context = nullptr;
  Widget shell = nullptr;
  Scene* scene = nullptr;
  ChartWindow* charts = nullptr;
  ChartContainerWindow* chartContainer = nullptr;
};

void onSave(Widget, XtPointer data, XtPointer) {
  const Scene* scene = static_cast<App*>(data)->scene;
  if (scene->save())
    std::printf("Saved the scene to %s\n", scene->file().c_str());
  else
    std::fprintf(stderr, "Could not save the scene to %s\n", scene->file().c_str());
  std::fflush(stdout);
}

void onLiveCharts(Widget, XtPointer data, XtPointer) {
  static_cast<App*>(data)->charts->show();
}

void onChartContainer(Widget, XtPointer data, XtPointer) {
  static_cast<App*>(data)->chartContainer->show();
}

void onQuit(Widget, XtPointer data, XtPointer) {
  XtAppSetExitFlag(static_cast<App*>(data)->context);
}

void addMenuItem(Widget menu, const char* name, char mnemonic, const char* accelerator,
                 const char* acceleratorText, XtCallbackProc callback, App* app) {
  XmString text = XmStringCreateLocalized(const_cast<char*>(acceleratorText));
  Widget item =
      XtVaCreateManagedWidget(name, xmPushButtonWidgetClass, menu, XmNmnemonic, KeySym(mnemonic),
                              XmNaccelerator, accelerator, XmNacceleratorText, text, nullptr);
  XmStringFree(text);
  XtAddCallback(item, XmNactivateCallback, callback, app);
}

// File > Save, File > Quit, View > Live charts and View > Chart container, with mnemonics and Ctrl
// accelerators. Menu entries are labelled with their widget names.
Widget makeMenuBar(Widget mainWindow, App* app) {
  Widget bar = XmCreateMenuBar(mainWindow, const_cast<char*>("menuBar"), nullptr, 0);
  Widget menu = XmCreatePulldownMenu(bar, const_cast<char*>("fileMenu"), nullptr, 0);
  addMenuItem(menu, "Save", 'S', "Ctrl<Key>s", "Ctrl+S", onSave, app);
  XtVaCreateManagedWidget("separator", xmSeparatorWidgetClass, menu, nullptr);
  addMenuItem(menu, "Quit", 'Q', "Ctrl<Key>q", "Ctrl+Q", onQuit, app);
  XtVaCreateManagedWidget("File", xmCascadeButtonWidgetClass, bar, XmNsubMenuId, menu, XmNmnemonic,
                          KeySym('F'), nullptr);
  Widget view = XmCreatePulldownMenu(bar, const_cast<char*>("viewMenu"), nullptr, 0);
  addMenuItem(view, "Live charts", 'L', "Ctrl<Key>l", "Ctrl+L", onLiveCharts, app);
  addMenuItem(view, "Chart container", 'C', "Ctrl<Key>k", "Ctrl+K", onChartContainer, app);
  XtVaCreateManagedWidget("View", xmCascadeButtonWidgetClass, bar, XmNsubMenuId, view, XmNmnemonic,
                          KeySym('V'), nullptr);
  XtManageChild(bar);
  return bar;
}

// Closing the window from the window manager quits like File > Quit.
void quitOnWindowClose(App* app) {
  XtVaSetValues(app->shell, XmNdeleteResponse, XmDO_NOTHING, nullptr);
  Atom deleteWindow =
      XmInternAtom(XtDisplay(app->shell), const_cast<char*>("WM_DELETE_WINDOW"), False);
  XmAddWMProtocolCallback(app->shell, deleteWindow, onQuit, app);
}

// --- Running -----------------------------------------------------------------------------------

struct Options {
  const char* screenshot = nullptr;
  bool charts = false;
  bool chartContainer = false;
  std::string sceneFile = kDefaultSceneFile;
};

// What Xt left of the command line once it took its own options.
bool parseOptions(int argc, char** argv, Options& options) {
  bool haveFile = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--screenshot") == 0 && i + 1 < argc) {
      options.screenshot = argv[++i];
    } else if (std::strcmp(argv[i], "--charts") == 0) {
      options.charts = true;
    } else if (std::strcmp(argv[i], "--chart-container") == 0) {
      options.chartContainer = true;
    } else if (argv[i][0] != '-' && !haveFile) {
      options.sceneFile = argv[i];
      haveFile = true;
    } else {
      return false;
    }
  }
  return true;
}

void noteExposed(QelAbstractView*, QelEvent*, void* exposed) {
  *static_cast<char*>(exposed) = 1;
}

// Handles events until every container has been exposed and the server has nothing more to say.
void waitUntilDrawn(App& app, const std::vector<QelContainer*>& containers) {
  std::vector<char> exposed(containers.size(), 0);
  for (size_t i = 0; i < containers.size(); ++i)
    containers[i]->setExposeCallback(noteExposed, &exposed[i]);
  while (std::find(exposed.begin(), exposed.end(), 0) != exposed.end())
    XtAppProcessEvent(app.context, XtIMAll);
  for (size_t i = 0; i < containers.size(); ++i)
    containers[i]->removeExposeCallback(noteExposed, &exposed[i]);
  Display* display = XtDisplay(app.shell);
  for (XSync(display, False); XPending(display); XSync(display, False))
    while (XPending(display)) XtAppProcessEvent(app.context, XtIMXEvent);
}

// FILE.png and "charts" give FILE-charts.png.
std::string screenshotName(const std::string& screenshot, const char* window) {
  size_t dot = screenshot.rfind(".png");
  std::string suffix = std::string("-") + window;
  return dot == std::string::npos ? screenshot + suffix
                                  : screenshot.substr(0, dot) + suffix + screenshot.substr(dot);
}

bool writeScreenshot(Widget shell, const std::string& path, const char* program) {
  if (writeWindowPng(XtDisplay(shell), XtWindow(shell), path.c_str())) return true;
  std::fprintf(stderr, "%s: could not write %s\n", program, path.c_str());
  return false;
}

void runUntilQuit(App& app) {
  while (!XtAppGetExitFlag(app.context)) XtAppProcessEvent(app.context, XtIMAll);
}

}  // namespace

int main(int argc, char** argv) {
  App app;
  app.shell = XtOpenApplication(&app.context, kAppClass, nullptr, 0, &argc, argv, nullptr,
                                applicationShellWidgetClass, nullptr, 0);
  Options options;
  if (!parseOptions(argc, argv, options)) {
    std::fprintf(stderr,
                 "usage: %s [Xt options] [--charts] [--chart-container] [--screenshot FILE.png] "
                 "[SCENE_FILE]\n",
                 argv[0]);
    XtDestroyApplicationContext(app.context);
    return 2;
  }
  QelContainerModuleInit();
  QelRectangleModuleInit();
  QelSelectionModuleInit();
  QelChartModuleInit();
  QelMotifScrollBarModuleInit();
  QelMotifMessageLabelModuleInit();
  auto* display = new QelDisplay(XtDisplay(app.shell), "sceneDemo");
  if (!display->getXDisplay()) {
    std::fprintf(stderr, "%s: the toolkit could not use the display\n", argv[0]);
    delete display;
    XtDestroyApplicationContext(app.context);
    return 1;
  }

  Widget mainWindow = XtVaCreateManagedWidget("main", xmMainWindowWidgetClass, app.shell, nullptr);
  Widget menuBar = makeMenuBar(mainWindow, &app);
  app.scene = new Scene(display, mainWindow, options.sceneFile);
  XmMainWindowSetAreas(mainWindow, menuBar, nullptr, nullptr, nullptr,
                       app.scene->container()->getWidget());
  quitOnWindowClose(&app);
  XtRealizeWidget(app.shell);
  app.charts = new ChartWindow(display, app.shell);
  // Beside the main window where no window manager places it (as under Xvfb).
  Dimension mainWidth = 0;
  XtVaGetValues(app.shell, XmNwidth, &mainWidth, nullptr);
  XtVaSetValues(app.charts->shell(), XmNx, Position(mainWidth + 20), XmNy, Position(0), nullptr);
  if (options.charts) app.charts->show();
  app.chartContainer = new ChartContainerWindow(display, app.shell);
  XtVaSetValues(app.chartContainer->shell(), XmNx, Position(0), XmNy, Position(460), nullptr);
  if (options.chartContainer) app.chartContainer->show();

  int status = 0;
  if (options.screenshot) {
    std::vector<QelContainer*> shown = {app.scene->container()};
    if (options.charts) shown.push_back(app.charts->container());
    if (options.chartContainer) shown.push_back(app.chartContainer->container());
    waitUntilDrawn(app, shown);
    bool written = writeScreenshot(app.shell, options.screenshot, argv[0]);
    if (options.charts)
      written &= writeScreenshot(app.charts->shell(), screenshotName(options.screenshot, "charts"),
                                 argv[0]);
    if (options.chartContainer)
      written &= writeScreenshot(app.chartContainer->shell(),
                                 screenshotName(options.screenshot, "chart-container"), argv[0]);
    status = written ? 0 : 1;
  } else {
    runUntilQuit(app);
  }

  // The containers use the display's resources, and the display the X connection.
  delete app.chartContainer;
  delete app.charts;
  delete app.scene;
  delete display;
  XtDestroyWidget(app.shell);
  XtDestroyApplicationContext(app.context);
  return status;
}
