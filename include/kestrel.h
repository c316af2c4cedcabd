/* Kestrel: a live chart of jobs running over time, shown inside a widget of an X11/Xt/Motif
 * application. One row per job slot, each job a segment from its start to now coloured by its
 * state (running green, failed red, succeeded blue), a time axis in seconds, minutes or hours
 * with a scroll bar that follows the present, and a click on a job that selects it and calls the
 * host back with the job's data.
 *
 * Calling order: chartConstructor once per chart; then, driven by the host's own clock,
 * setElapsedTime and updateActiveJobs with the current time, startJobTracking when a job starts
 * and stopJobTracking with the returned job ID when it ends; setViewableTime, setTimeUnits,
 * scrollToTime and setUserCallback whenever the user changes the view; chartDestructor last.
 * Every call is made on the host's Xt event-loop thread. Times are seconds. Every function but
 * chartConstructor accepts a null chart and then does nothing (or returns 0.0, -1 or null). */
#ifndef KESTREL_H
#define KESTREL_H

#include <X11/Intrinsic.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The unit of the time axis. A host may pass any int: C++ gives the type int's whole range, so
 * that a value other than the three is an unknown unit and not a value the type cannot hold. */
#ifdef __cplusplus
enum KoTimeUnit : int { KoSeconds = 0, KoMinutes = 1, KoHours = 2 };
#else
typedef enum KoTimeUnit { KoSeconds = 0, KoMinutes = 1, KoHours = 2 } KoTimeUnit;
#endif

/* The host's function, called with the user data of the job the user clicked. */
typedef void* (*KoUserCallback)(void* userData);

/* Makes a chart inside `host` with one row per name (adjacent rows of one name show it once).
 * Null for a null widget, null names with a positive count, a negative count, or no memory. */
void* chartConstructor(Widget host, char** names, int count);
/* Destroys the chart and everything it made; the host's X connection stays open. */
void chartDestructor(void* chart);
/* Shows the window of viewable time starting at `time`. */
void scrollToTime(void* chart, float time);
/* Sets the width of the visible window (0: all the elapsed time) and jumps to the present. */
void setViewableTime(void* chart, float width);
/* Tells the chart how much time has elapsed; the window follows unless the user scrolled back. */
void setElapsedTime(void* chart, float time);
float getElapsedTime(void* chart);
/* Starts a job on the first free row named `name`: its job ID, or -1 when no such row is free. */
int startJobTracking(void* chart, const char* name, float start, void* userData);
/* Ends the job `jobID`, as failed when `failed` is non-zero. */
void stopJobTracking(void* chart, int jobID, int failed);
/* Moves every running job's end to `now` and redraws. */
void updateActiveJobs(void* chart, float now);
void setUserCallback(void* chart, KoUserCallback callback);
/* Calls the host's function as a click would; null when none is set. */
void* callUserCallback(void* chart, void* argument);
/* Seconds, minutes or hours on the time axis; any other value means seconds. */
void setTimeUnits(void* chart, KoTimeUnit unit);

#ifdef __cplusplus
}
#endif

#endif /* KESTREL_H */
