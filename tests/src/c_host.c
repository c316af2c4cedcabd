/* A host written in C against kestrel.h only, as a scheduler's front end would be: a Motif shell
 * with the chart as its only child. It plays a fixed scenario (three rows, jobs started,
 * advanced, failed and succeeded), prints the jobs' IDs, destroys the chart and ends: the
 * installation test builds it against the installed tree and runs it. */
#include <Xm/Form.h>
#include <Xm/Xm.h>
#include <stdio.h>

#include "kestrel.h"

/* The callback's type as C sees it. */
static void* echo(void* userData) {
  return userData;
}

int main(int argc, char** argv) {
  XtAppContext context;
  Widget shell = XtVaAppInitialize(&context, "CHost", NULL, 0, &argc, argv, NULL, XmNwidth, 600,
                                   XmNheight, 300, NULL);
  Widget form = XtVaCreateManagedWidget("form", xmFormWidgetClass, shell, XmNwidth, 600, XmNheight,
                                        300, NULL);
  static char* names[] = {"alpha", "beta", "gamma"};
  void* chart = chartConstructor(form, names, 3);
  if (!chart) {
    fprintf(stderr, "no chart\n");
    return 1;
  }
  setUserCallback(chart, echo);
  setViewableTime(chart, 100);
  /* Row alpha: a job from 10 s that succeeded at 40 s; beta: one from 20 s that failed at 60 s;
   * gamma: one from 50 s still running at 90 s. */
  int a = startJobTracking(chart, "alpha", 10, NULL);
  int b = startJobTracking(chart, "beta", 20, NULL);
  setElapsedTime(chart, 40);
  updateActiveJobs(chart, 40);
  stopJobTracking(chart, a, 0);
  int c = startJobTracking(chart, "gamma", 50, NULL);
  setElapsedTime(chart, 60);
  updateActiveJobs(chart, 60);
  stopJobTracking(chart, b, 1);
  setElapsedTime(chart, 90);
  updateActiveJobs(chart, 90);
  printf("jobs %d %d %d\n", a, b, c);
  chartDestructor(chart);
  return 0;
}
