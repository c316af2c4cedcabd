/* The job monitor: a plain Motif application that replays the jobs of a computing grid's
 * workload trace on the job chart, the way a scheduler's front end would show them live.
 *
 *   kestrel_job_monitor [Xt options] [--trace FILE] [--sites N] [--slots N] [--speed X|max]
 *                       [--screenshot FILE.png] [--at SECONDS|end] [--print-status]
 *
 * The chart has a few rows ("slots") for each of the busiest sites of the trace. A job starts
 * at its submit time plus its wait and runs for its run time; it takes the first free row of
 * its site, and when its site has none free it is counted as not shown. A job that ran up to
 * its requested time was killed at its limit and ends as failed; the others succeed. An Xt
 * timer moves the replay clock on; a click on a job shows its details in the status line.
 *
 * --at runs the replay as fast as it goes up to that trace time (or to the end of the trace) and
 * pauses there; with --screenshot it writes the window there and exits. --print-status writes
 * every new text of the status line to standard output as well. */
#include <X11/Intrinsic.h>
#include <Xm/CascadeB.h>
#include <Xm/Frame.h>
#include <Xm/Label.h>
#include <Xm/MainW.h>
#include <Xm/Protocols.h>
#include <Xm/PushB.h>
#include <Xm/RowColumn.h>
#include <Xm/Separator.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>
#include <libintl.h>
#include <limits.h>
#include <locale.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "examples/swf_trace.h"
#include "examples/window_png.h"
#include "kestrel.h"

#define _(text) gettext(text)
#define N_(text) text

#define TEXT_DOMAIN "kestrel-job-monitor"
#define TICK_MS 100           /* the replay clock moves ten times a second */
#define MAX_SPEED_STEP 3600.0 /* trace seconds per step at maximum speed */
#define MAX_SPEED (-1.0)

/* --- Options ---------------------------------------------------------------------------------*/

typedef struct Options {
  const char* trace;
  int sites, slots;
  double speed; /* trace seconds per second, or MAX_SPEED */
  const char* screenshot;
  double at; /* trace time to run to and stop, NAN when running on */
  int atEnd; /* --at end */
  int printStatus;
} Options;

static int parseCount(const char* text, int* count) {
  char* end;
  long value = strtol(text, &end, 10);
  if (end == text || *end || value < 1 || value > 1000) return 0;
  *count = (int)value;
  return 1;
}

static int parseSeconds(const char* text, double* seconds) {
  char* end;
  double value = strtod(text, &end);
  if (end == text || *end || !isfinite(value) || value < 0 || value > 1e12) return 0;
  *seconds = value;
  return 1;
}

/* What Xt left of the command line once it took its own options. */
static int parseOptions(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    const char* option = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : NULL;
    if (!strcmp(option, "--print-status")) {
      options->printStatus = 1;
      continue;
    }
    if (!value) return 0;
    ++i;
    if (!strcmp(option, "--trace")) {
      options->trace = value;
    } else if (!strcmp(option, "--sites")) {
      if (!parseCount(value, &options->sites)) return 0;
    } else if (!strcmp(option, "--slots")) {
      if (!parseCount(value, &options->slots)) return 0;
    } else if (!strcmp(option, "--speed")) {
      if (!strcmp(value, "max"))
        options->speed = MAX_SPEED;
      else if (!parseSeconds(value, &options->speed) || options->speed <= 0)
        return 0;
    } else if (!strcmp(option, "--screenshot")) {
      options->screenshot = value;
    } else if (!strcmp(option, "--at")) {
      if (!strcmp(value, "end"))
        options->atEnd = 1;
      else if (!parseSeconds(value, &options->at))
        return 0;
    } else {
      return 0;
    }
  }
  /* A screenshot is taken where the replay stops. Each row is a widget's worth of drawing:
   * a hundred thousand is plenty. */
  return (!options->screenshot || options->atEnd || !isnan(options->at)) &&
         options->sites * options->slots <= 100000;
}

/* `name` next to the executable when it is there (an installed or copied program), otherwise
 * where the build tree keeps it. */
static const char* findBesideProgram(const char* name, const char* builtIn, char* path,
                                     size_t size) {
  char program[PATH_MAX];
  ssize_t found = readlink("/proc/self/exe", program, sizeof program - 1);
  if (found > 0) {
    program[found] = '\0';
    char* slash = strrchr(program, '/');
    if (slash) *slash = '\0';
    int length = snprintf(path, size, "%s/%s", program, name);
    if (length > 0 && (size_t)length < size && access(path, R_OK) == 0) return path;
  }
  return builtIn;
}

/* --- Sites and rows --------------------------------------------------------------------------*/

typedef struct Site {
  long partition;
  size_t jobCount;
  char* name;
} Site;

static int byPartition(const void* a, const void* b) {
  long x = ((const Site*)a)->partition, y = ((const Site*)b)->partition;
  return (x > y) - (x < y);
}

/* Busiest first; among equally busy sites the lower partition number first. */
static int byBusiest(const void* a, const void* b) {
  const Site *x = a, *y = b;
  if (x->jobCount != y->jobCount) return x->jobCount < y->jobCount ? 1 : -1;
  return byPartition(a, b);
}

/* --- The replay ------------------------------------------------------------------------------*/

typedef enum JobState { Waiting, Running, Finished } JobState;

typedef struct Job {
  const SwfJob* swf;
  const char* site;
  double start, end; /* seconds from the replay's origin */
  int row;           /* the chart's job ID, -1 when not drawn */
  JobState state;
} Job;

typedef struct Replay {
  Job* jobs; /* by start time */
  size_t count;
  size_t nextStart;
  size_t* running; /* a min-heap of job indices by end time */
  size_t runningCount;
  size_t drawn, finished, notShown, skipped;
  long origin; /* trace time of the first start */
  double now;  /* the replay clock, seconds from the origin */
  double lastEnd;
} Replay;

static int byStart(const void* a, const void* b) {
  const Job *x = a, *y = b;
  if (x->start != y->start) return x->start < y->start ? -1 : 1;
  return (x->swf > y->swf) - (x->swf < y->swf); /* in the order of the file */
}

/* Heap order: the earlier end first, and among equal ends the earlier start. */
static int endsBefore(const Replay* r, size_t a, size_t b) {
  if (r->jobs[a].end != r->jobs[b].end) return r->jobs[a].end < r->jobs[b].end;
  return a < b;
}

static void pushRunning(Replay* r, size_t job) {
  size_t i = r->runningCount++;
  r->running[i] = job;
  while (i > 0 && endsBefore(r, r->running[i], r->running[(i - 1) / 2])) {
    size_t parent = (i - 1) / 2, swap = r->running[i];
    r->running[i] = r->running[parent];
    r->running[parent] = swap;
    i = parent;
  }
}

static size_t popRunning(Replay* r) {
  size_t top = r->running[0], i = 0;
  r->running[0] = r->running[--r->runningCount];
  for (;;) {
    size_t left = 2 * i + 1, right = left + 1, least = i;
    if (left < r->runningCount && endsBefore(r, r->running[left], r->running[least])) least = left;
    if (right < r->runningCount && endsBefore(r, r->running[right], r->running[least]))
      least = right;
    if (least == i) return top;
    size_t swap = r->running[i];
    r->running[i] = r->running[least];
    r->running[least] = swap;
    i = least;
  }
}

/* --- The application -------------------------------------------------------------------------*/

typedef struct Menus {
  Widget pause, resume;
  Widget units[3];
  Widget widths[5];
  Widget speeds[6];
} Menus;

typedef struct Monitor {
  Options options;
  XtAppContext context;
  Widget shell, clockLabel, jobLabel;
  Menus menus;
  void* chart;
  SwfTrace trace;
  Site* sites; /* by partition number */
  size_t siteCount;
  char** rowNames;
  int rowCount;
  Replay replay;
  double speed;
  int paused;
  XtIntervalId timer;
  XtWorkProcId idleTick;
  const Job* selected;
  float lastUpdate; /* the time of the last updateActiveJobs */
  char clockText[256], jobText[512];
} Monitor;

static const struct {
  const char* label;
  KoTimeUnit unit;
} kUnits[3] = {{N_("Seconds"), KoSeconds}, {N_("Minutes"), KoMinutes}, {N_("Hours"), KoHours}};
static const struct {
  const char* label;
  float seconds;
} kWidths[5] = {{N_("Last minute"), 60},
                {N_("Last 10 minutes"), 600},
                {N_("Last hour"), 3600},
                {N_("Last 6 hours"), 6 * 3600},
                {N_("Last day"), 24 * 3600}};
static const struct {
  const char* label;
  double speed;
} kSpeeds[6] = {{N_("Real time"), 1},           {N_("10 seconds a second"), 10},
                {N_("A minute a second"), 60},  {N_("10 minutes a second"), 600},
                {N_("An hour a second"), 3600}, {N_("As fast as it goes"), MAX_SPEED}};
#define DEFAULT_UNIT 1  /* minutes */
#define DEFAULT_WIDTH 2 /* the last hour: a typical job is a few minutes long */
/* A minute of the trace a second: on the default sites a job starts or ends about every
 * second, and the running jobs visibly grow. */
#define DEFAULT_SPEED 60.0
#define DEFAULT_SITES 8
#define DEFAULT_SLOTS 4

/* The library's click callback carries only the job's own data. */
static Monitor* theMonitor;

/* A trace time as a date when the trace says when it began, else as day and time. */
static void formatTime(const Monitor* m, double traceTime, char* text, size_t size) {
  long t = (long)floor(traceTime);
  if (m->trace.unixStartTime >= 0) {
    time_t when = (time_t)(m->trace.unixStartTime + t);
    struct tm utc;
    if (gmtime_r(&when, &utc) && strftime(text, size, "%Y-%m-%d %H:%M:%S", &utc)) return;
  }
  snprintf(text, size, _("day %ld %02ld:%02ld:%02ld"), t / 86400 + 1, t % 86400 / 3600,
           t % 3600 / 60, t % 60);
}

static void formatDuration(long seconds, char* text, size_t size) {
  if (seconds >= 86400)
    snprintf(text, size, "%ldd %02ldh %02ldm", seconds / 86400, seconds % 86400 / 3600,
             seconds % 3600 / 60);
  else if (seconds >= 3600)
    snprintf(text, size, "%ldh %02ldm %02lds", seconds / 3600, seconds % 3600 / 60, seconds % 60);
  else if (seconds >= 60)
    snprintf(text, size, "%ldm %02lds", seconds / 60, seconds % 60);
  else
    snprintf(text, size, "%lds", seconds);
}

/* Shows `text` on the label when it changed; with --print-status also on standard output. */
static void setLabel(Monitor* m, Widget label, char* shown, size_t size, const char* text,
                     const char* tag) {
  if (!strcmp(shown, text)) return;
  snprintf(shown, size, "%s", text);
  XmString string = XmStringCreateLocalized(shown);
  XtVaSetValues(label, XmNlabelString, string, NULL);
  XmStringFree(string);
  if (m->options.printStatus) {
    printf("%s: %s\n", tag, shown);
    fflush(stdout);
  }
}

static void showClock(Monitor* m) {
  const Replay* r = &m->replay;
  char now[64], text[256];
  formatTime(m, r->origin + r->now, now, sizeof now);
  const char* state = m->paused                                      ? _("paused")
                      : r->nextStart == r->count && !r->runningCount ? _("replay ended")
                                                                     : "";
  snprintf(text, sizeof text, _("%s %s   running %zu (%zu drawn), finished %zu, not shown %zu"),
           now, state, r->runningCount, r->drawn, r->finished, r->notShown);
  setLabel(m, m->clockLabel, m->clockText, sizeof m->clockText, text, "status");
}

static void showSelectedJob(Monitor* m) {
  const Job* job = m->selected;
  if (!job) return;
  const long origin = m->replay.origin;
  char submit[64], start[64], end[64], duration[64], text[512];
  formatTime(m, (double)job->swf->submit, submit, sizeof submit);
  formatTime(m, origin + (double)job->start, start, sizeof start);
  if (job->state == Running) {
    formatDuration((long)(m->replay.now - job->start), duration, sizeof duration);
    snprintf(text, sizeof text, _("Job %ld on %s: submitted %s, started %s, running for %s"),
             job->swf->number, job->site, submit, start, duration);
  } else {
    formatTime(m, origin + (double)job->end, end, sizeof end);
    formatDuration(job->swf->run, duration, sizeof duration);
    snprintf(text, sizeof text, _("Job %ld on %s: submitted %s, started %s, ended %s after %s, %s"),
             job->swf->number, job->site, submit, start, end, duration,
             swfKilledAtLimit(job->swf) ? _("failed (killed at its time limit)") : _("succeeded"));
  }
  setLabel(m, m->jobLabel, m->jobText, sizeof m->jobText, text, "job");
}

static void* jobClicked(void* userData) {
  theMonitor->selected = userData;
  showSelectedJob(theMonitor);
  return userData;
}

static void startJob(Monitor* m, size_t index) {
  Job* job = &m->replay.jobs[index];
  job->state = Running;
  job->row = startJobTracking(m->chart, job->site, (float)job->start, job);
  if (job->row < 0)
    ++m->replay.notShown;
  else
    ++m->replay.drawn;
  pushRunning(&m->replay, index);
}

static void endJob(Monitor* m, size_t index) {
  Job* job = &m->replay.jobs[index];
  job->state = Finished;
  ++m->replay.finished;
  if (job->row < 0) return;
  /* A drawn job's segment ends where the running jobs were last moved to: move them to its
   * end first, whatever the size of the clock's steps. */
  if (m->lastUpdate != (float)job->end) {
    m->lastUpdate = (float)job->end;
    updateActiveJobs(m->chart, m->lastUpdate);
  }
  stopJobTracking(m->chart, job->row, swfKilledAtLimit(job->swf));
  --m->replay.drawn;
}

/* Starts and ends, in time order, every job due by `time` (ends first at equal times, so that a
 * job ending frees its row for one starting then), then moves the chart's clock on. */
static void advanceTo(Monitor* m, double time) {
  Replay* r = &m->replay;
  for (;;) {
    const double start = r->nextStart < r->count ? r->jobs[r->nextStart].start : INFINITY;
    const double end = r->runningCount ? r->jobs[r->running[0]].end : INFINITY;
    if (end <= time && end <= start)
      endJob(m, popRunning(r));
    else if (start <= time)
      startJob(m, r->nextStart++);
    else
      break;
  }
  r->now = fmin(time, r->lastEnd);
  setElapsedTime(m->chart, (float)r->now);
  updateActiveJobs(m->chart, (float)r->now);
  m->lastUpdate = (float)r->now;
  showClock(m);
  if (m->selected && m->selected->state != Waiting) showSelectedJob(m);
}

/* Where a step at maximum speed goes: an hour on, or to the next start or end when that is
 * later (a trace may hold years without a job). */
static double maxSpeedStep(const Replay* r) {
  double next = r->nextStart < r->count ? r->jobs[r->nextStart].start : r->lastEnd;
  if (r->runningCount) next = fmin(next, r->jobs[r->running[0]].end);
  return fmax(r->now + MAX_SPEED_STEP, next);
}

static int replayEnded(const Monitor* m) {
  return m->replay.now >= m->replay.lastEnd;
}

static void tick(XtPointer data, XtIntervalId* id);

/* At maximum speed the next step waits only for the user's input to be handled: Xt runs a
 * timer that is due before any event, a work procedure only when no event waits. */
static Boolean tickWhenIdle(XtPointer data) {
  Monitor* m = data;
  m->idleTick = 0;
  tick(m, NULL);
  return True;
}

static void scheduleTick(Monitor* m) {
  if (m->paused || replayEnded(m) || m->timer || m->idleTick) return;
  if (m->speed == MAX_SPEED)
    m->idleTick = XtAppAddWorkProc(m->context, tickWhenIdle, m);
  else
    m->timer = XtAppAddTimeOut(m->context, TICK_MS, tick, m);
}

static void cancelTick(Monitor* m) {
  if (m->timer) XtRemoveTimeOut(m->timer);
  if (m->idleTick) XtRemoveWorkProc(m->idleTick);
  m->timer = 0;
  m->idleTick = 0;
}

static void tick(XtPointer data, XtIntervalId* id) {
  (void)id;
  Monitor* m = data;
  m->timer = 0;
  advanceTo(m, m->speed == MAX_SPEED ? maxSpeedStep(&m->replay)
                                     : m->replay.now + m->speed * TICK_MS / 1000.0);
  scheduleTick(m);
}

/* Reads the trace, leaves out the jobs whose times are unknown, and orders them by start. */
static int loadJobs(Monitor* m) {
  char error[512];
  if (swfRead(m->options.trace, &m->trace, error, sizeof error) != 0) {
    fprintf(stderr, "kestrel_job_monitor: %s\n", error);
    return 0;
  }
  Replay* r = &m->replay;
  r->jobs = calloc(m->trace.jobCount ? m->trace.jobCount : 1, sizeof(Job));
  r->running = calloc(m->trace.jobCount ? m->trace.jobCount : 1, sizeof(size_t));
  if (!r->jobs || !r->running) return 0;
  for (size_t i = 0; i < m->trace.jobCount; ++i) {
    const SwfJob* swf = &m->trace.jobs[i];
    /* Without its submit or run time a job cannot be placed on the time axis. Showing one of
     * unknown length as running for ever would hold a row for good: it is skipped and counted. */
    if (swf->submit < 0 || swf->run < 0) {
      ++r->skipped;
      continue;
    }
    Job* job = &r->jobs[r->count++];
    job->swf = swf;
    job->row = -1;
  }
  r->origin = LONG_MAX;
  for (size_t i = 0; i < r->count; ++i)
    if (swfStart(r->jobs[i].swf) < r->origin) r->origin = swfStart(r->jobs[i].swf);
  if (!r->count) r->origin = 0;
  r->lastEnd = 0;
  for (size_t i = 0; i < r->count; ++i) {
    Job* job = &r->jobs[i];
    job->start = (double)(swfStart(job->swf) - r->origin);
    job->end = job->start + (double)job->swf->run;
    if (job->end > r->lastEnd) r->lastEnd = job->end;
  }
  qsort(r->jobs, r->count, sizeof(Job), byStart);
  if (m->trace.skippedLines || r->skipped)
    fprintf(stderr,
            "kestrel_job_monitor: %s: %zu lines that are no jobs and %zu jobs of unknown "
            "submit or run time left out\n",
            m->options.trace, m->trace.skippedLines, r->skipped);
  return 1;
}

/* Counts the jobs of every site, names the jobs' sites, and gives the busiest their rows. */
static int makeRows(Monitor* m) {
  Replay* r = &m->replay;
  m->sites = calloc(r->count ? r->count : 1, sizeof(Site));
  if (!m->sites) return 0;
  for (size_t i = 0; i < r->count; ++i) m->sites[i].partition = r->jobs[i].swf->partition;
  qsort(m->sites, r->count, sizeof(Site), byPartition);
  size_t n = 0;
  for (size_t i = 0; i < r->count; ++i) {
    if (n && m->sites[n - 1].partition == m->sites[i].partition) {
      ++m->sites[n - 1].jobCount;
      continue;
    }
    m->sites[n].partition = m->sites[i].partition;
    m->sites[n].jobCount = 1;
    const char* name = swfPartitionName(&m->trace, m->sites[i].partition);
    char unnamed[64];
    snprintf(unnamed, sizeof unnamed, _("site %ld"), m->sites[i].partition);
    if (!(m->sites[n].name = strdup(name ? name : unnamed))) return 0;
    ++n;
  }
  m->siteCount = n;
  for (size_t i = 0; i < r->count; ++i) {
    Site key = {.partition = r->jobs[i].swf->partition};
    r->jobs[i].site = ((Site*)bsearch(&key, m->sites, n, sizeof(Site), byPartition))->name;
  }

  Site* busiest = malloc((n ? n : 1) * sizeof(Site));
  if (!busiest) return 0;
  memcpy(busiest, m->sites, n * sizeof(Site));
  qsort(busiest, n, sizeof(Site), byBusiest);
  const size_t shown = n < (size_t)m->options.sites ? n : (size_t)m->options.sites;
  m->rowCount = (int)shown * m->options.slots;
  m->rowNames = calloc(m->rowCount ? (size_t)m->rowCount : 1, sizeof(char*));
  /* Rows count from the bottom of the chart: the busiest site comes last, at the top. */
  for (int i = 0; m->rowNames && i < m->rowCount; ++i)
    m->rowNames[m->rowCount - 1 - i] = busiest[i / m->options.slots].name;
  free(busiest);
  return m->rowNames != NULL;
}

/* --- Menus -----------------------------------------------------------------------------------*/

static void quit(Widget w, XtPointer data, XtPointer call) {
  (void)w, (void)call;
  XtAppSetExitFlag(((Monitor*)data)->context);
}

/* Sets the one toggle of a menu's group that stands for the current choice. */
static void markChoice(Widget* items, int count, int chosen) {
  for (int i = 0; i < count; ++i) XmToggleButtonSetState(items[i], i == chosen, False);
}

static int indexOf(const Widget* items, int count, Widget w) {
  for (int i = 0; i < count; ++i)
    if (items[i] == w) return i;
  return -1;
}

static void chooseUnit(Widget w, XtPointer data, XtPointer call) {
  (void)call;
  Monitor* m = data;
  int i = indexOf(m->menus.units, 3, w);
  if (i < 0) return;
  setTimeUnits(m->chart, kUnits[i].unit);
  markChoice(m->menus.units, 3, i);
}

static void chooseWidth(Widget w, XtPointer data, XtPointer call) {
  (void)call;
  Monitor* m = data;
  int i = indexOf(m->menus.widths, 5, w);
  if (i < 0) return;
  setViewableTime(m->chart, kWidths[i].seconds);
  markChoice(m->menus.widths, 5, i);
}

static void setPaused(Monitor* m, int paused) {
  m->paused = paused;
  XtSetSensitive(m->menus.pause, !paused);
  XtSetSensitive(m->menus.resume, paused);
  if (paused)
    cancelTick(m);
  else
    scheduleTick(m);
  showClock(m);
}

static void pauseReplay(Widget w, XtPointer data, XtPointer call) {
  (void)w, (void)call;
  setPaused(data, 1);
}

static void resumeReplay(Widget w, XtPointer data, XtPointer call) {
  (void)w, (void)call;
  setPaused(data, 0);
}

static void chooseSpeed(Widget w, XtPointer data, XtPointer call) {
  (void)call;
  Monitor* m = data;
  int i = indexOf(m->menus.speeds, 6, w);
  if (i < 0) return;
  m->speed = kSpeeds[i].speed;
  markChoice(m->menus.speeds, 6, i);
  cancelTick(m);
  scheduleTick(m);
}

static Widget addItem(Widget menu, const char* label, WidgetClass kind, const char* callback,
                      XtCallbackProc proc, Monitor* m) {
  XmString text = XmStringCreateLocalized((char*)_(label));
  Widget item = XtVaCreateManagedWidget(label, kind, menu, XmNlabelString, text, NULL);
  XmStringFree(text);
  if (kind == xmToggleButtonWidgetClass)
    XtVaSetValues(item, XmNindicatorType, XmONE_OF_MANY, XmNvisibleWhenOff, True, NULL);
  XtAddCallback(item, callback, proc, m);
  return item;
}

static Widget addToggle(Widget menu, const char* label, XtCallbackProc proc, Monitor* m) {
  return addItem(menu, label, xmToggleButtonWidgetClass, XmNvalueChangedCallback, proc, m);
}

static Widget addMenu(Widget bar, const char* title, const char* name) {
  Widget menu = XmCreatePulldownMenu(bar, (char*)name, NULL, 0);
  XmString text = XmStringCreateLocalized((char*)_(title));
  XtVaCreateManagedWidget(title, xmCascadeButtonWidgetClass, bar, XmNsubMenuId, menu,
                          XmNlabelString, text, NULL);
  XmStringFree(text);
  return menu;
}

static void separate(Widget menu) {
  XtVaCreateManagedWidget("separator", xmSeparatorWidgetClass, menu, NULL);
}

/* File > Quit; View > time unit and window width; Replay > pause, resume and speed. */
static Widget makeMenuBar(Widget mainWindow, Monitor* m) {
  Widget bar = XmCreateMenuBar(mainWindow, "menuBar", NULL, 0);
  Widget file = addMenu(bar, N_("File"), "fileMenu");
  Widget quitItem =
      addItem(file, N_("Quit"), xmPushButtonWidgetClass, XmNactivateCallback, quit, m);
  XmString ctrlQ = XmStringCreateLocalized("Ctrl+Q");
  XtVaSetValues(quitItem, XmNaccelerator, "Ctrl<Key>q", XmNacceleratorText, ctrlQ, NULL);
  XmStringFree(ctrlQ);

  Widget view = addMenu(bar, N_("View"), "viewMenu");
  for (int i = 0; i < 3; ++i) m->menus.units[i] = addToggle(view, kUnits[i].label, chooseUnit, m);
  separate(view);
  for (int i = 0; i < 5; ++i)
    m->menus.widths[i] = addToggle(view, kWidths[i].label, chooseWidth, m);

  Widget replay = addMenu(bar, N_("Replay"), "replayMenu");
  m->menus.pause =
      addItem(replay, N_("Pause"), xmPushButtonWidgetClass, XmNactivateCallback, pauseReplay, m);
  m->menus.resume =
      addItem(replay, N_("Resume"), xmPushButtonWidgetClass, XmNactivateCallback, resumeReplay, m);
  separate(replay);
  for (int i = 0; i < 6; ++i)
    m->menus.speeds[i] = addToggle(replay, kSpeeds[i].label, chooseSpeed, m);
  XtManageChild(bar);
  return bar;
}

/* --- Running ---------------------------------------------------------------------------------*/

static Widget makeStatusLine(Widget parent, Monitor* m) {
  Widget status = XtVaCreateManagedWidget("status", xmRowColumnWidgetClass, parent, XmNorientation,
                                          XmVERTICAL, XmNspacing, 0, NULL);
  m->clockLabel = XtVaCreateManagedWidget("clock", xmLabelWidgetClass, status, XmNalignment,
                                          XmALIGNMENT_BEGINNING, NULL);
  m->jobLabel = XtVaCreateManagedWidget("job", xmLabelWidgetClass, status, XmNalignment,
                                        XmALIGNMENT_BEGINNING, NULL);
  XmString hint = XmStringCreateLocalized(_("Click on a job to see its details here."));
  XtVaSetValues(m->jobLabel, XmNlabelString, hint, NULL);
  XmStringFree(hint);
  return status;
}

/* Handles events until the server has nothing more to say: the window shows what was drawn. */
static void settle(Monitor* m) {
  Display* display = XtDisplay(m->shell);
  for (XSync(display, False); XPending(display); XSync(display, False))
    while (XPending(display)) XtAppProcessEvent(m->context, XtIMXEvent);
}

static void noteMapped(Widget w, XtPointer mapped, XEvent* event, Boolean* go_on) {
  (void)w, (void)go_on;
  if (event->type == MapNotify) *(int*)mapped = 1;
}

/* Replays as fast as it goes up to --at, once the window shows. */
static void runToTheStop(Monitor* m) {
  int mapped = 0;
  XtAddEventHandler(m->shell, StructureNotifyMask, False, noteMapped, &mapped);
  while (!mapped) XtAppProcessEvent(m->context, XtIMAll);
  XtRemoveEventHandler(m->shell, StructureNotifyMask, False, noteMapped, &mapped);
  settle(m);
  const double until = m->options.atEnd ? m->replay.lastEnd : m->options.at - m->replay.origin;
  while (m->replay.now < until && !replayEnded(m)) {
    advanceTo(m, fmin(maxSpeedStep(&m->replay), until));
    settle(m);
  }
}

static void freeMonitor(Monitor* m) {
  for (size_t i = 0; i < m->siteCount; ++i) free(m->sites[i].name);
  free(m->sites);
  free(m->rowNames);
  free(m->replay.jobs);
  free(m->replay.running);
  swfFree(&m->trace);
}

int main(int argc, char** argv) {
  static Monitor monitor;
  Monitor* m = theMonitor = &monitor;
  char localeDir[PATH_MAX], tracePath[PATH_MAX];
  /* The user's language for the menus, the status line and the chart's own captions, which the
   * library looks up in the host's message catalogue. */
  setlocale(LC_ALL, "");
  XtSetLanguageProc(NULL, NULL, NULL);
  bindtextdomain(TEXT_DOMAIN, findBesideProgram("locale", KESTREL_MONITOR_LOCALE_DIR, localeDir,
                                                sizeof localeDir));
  bind_textdomain_codeset(TEXT_DOMAIN, "UTF-8");
  textdomain(TEXT_DOMAIN);
  static String fallbacks[] = {"*fontList: -*-helvetica-medium-r-normal--12-*-*-*-p-*-*-*", NULL};
  m->shell = XtVaOpenApplication(&m->context, "JobMonitor", NULL, 0, &argc, argv, fallbacks,
                                 applicationShellWidgetClass, XmNwidth, 1000, XmNheight, 700,
                                 XmNtitle, _("Job monitor"), NULL);
  /* Options and trace are read in the C numeric format, whatever the user's locale. */
  setlocale(LC_NUMERIC, "C");
  m->options =
      (Options){.trace = findBesideProgram("data/lcg_2005_first_two_days.swf.gz",
                                           KESTREL_MONITOR_TRACE, tracePath, sizeof tracePath),
                .sites = DEFAULT_SITES,
                .slots = DEFAULT_SLOTS,
                .speed = DEFAULT_SPEED,
                .at = NAN};
  if (!parseOptions(argc, argv, &m->options)) {
    fprintf(stderr,
            _("usage: %s [Xt options] [--trace FILE] [--sites N] [--slots N] [--speed X|max]\n"
              "       [--screenshot FILE.png --at SECONDS|end] [--print-status]\n"),
            argv[0]);
    return 2;
  }
  if (!loadJobs(m) || !makeRows(m)) {
    freeMonitor(m);
    return 1;
  }
  m->speed = m->options.speed;

  Widget mainWindow = XtVaCreateManagedWidget("main", xmMainWindowWidgetClass, m->shell, NULL);
  Widget menuBar = makeMenuBar(mainWindow, m);
  /* A frame gives its one child all of its room: the chart's drawing area follows the window. */
  Widget work = XtVaCreateManagedWidget("chartArea", xmFrameWidgetClass, mainWindow,
                                        XmNshadowThickness, 0, NULL);
  Widget statusLine = makeStatusLine(mainWindow, m);
  XtVaSetValues(mainWindow, XmNmenuBar, menuBar, XmNworkWindow, work, XmNmessageWindow, statusLine,
                NULL);
  m->chart = chartConstructor(work, m->rowNames, m->rowCount);
  if (!m->chart) {
    fprintf(stderr, "kestrel_job_monitor: the chart could not be made\n");
    freeMonitor(m);
    return 1;
  }
  setUserCallback(m->chart, jobClicked);
  setTimeUnits(m->chart, kUnits[DEFAULT_UNIT].unit);
  setViewableTime(m->chart, kWidths[DEFAULT_WIDTH].seconds);
  markChoice(m->menus.units, 3, DEFAULT_UNIT);
  markChoice(m->menus.widths, 5, DEFAULT_WIDTH);
  for (int i = 0; i < 6; ++i)
    if (kSpeeds[i].speed == m->speed) markChoice(m->menus.speeds, 6, i);
  XtSetSensitive(m->menus.resume, False);
  XmAddWMProtocolCallback(m->shell, XmInternAtom(XtDisplay(m->shell), "WM_DELETE_WINDOW", False),
                          quit, m);
  XtVaSetValues(m->shell, XmNdeleteResponse, XmDO_NOTHING, NULL);
  XtRealizeWidget(m->shell);
  showClock(m);

  int status = 0;
  if (m->options.screenshot) {
    runToTheStop(m);
    if (!writeWindowPng(XtDisplay(m->shell), XtWindow(m->shell), m->options.screenshot)) {
      fprintf(stderr, "kestrel_job_monitor: could not write %s\n", m->options.screenshot);
      status = 1;
    }
  } else {
    if (m->options.atEnd || !isnan(m->options.at)) {
      /* The replay waits there for the user to look, and goes on with Replay > Resume. */
      runToTheStop(m);
      setPaused(m, 1);
    } else {
      scheduleTick(m);
    }
    while (!XtAppGetExitFlag(m->context)) XtAppProcessEvent(m->context, XtIMAll);
  }
  chartDestructor(m->chart);
  XtDestroyWidget(m->shell);
  XtDestroyApplicationContext(m->context);
  freeMonitor(m);
  return status;
}
