/* A host written in C against kestrel.h only, as a scheduler's front end would be: a Motif shell
 * with the chart as its only child. It plays a fixed scenario (three rows, jobs started,
 * advanced, failed and succeeded), then waits; each click on a job prints the job's user data
 * on standard output as "clicked N". With --exit it destroys the chart and ends once the
 * scenario is played: the installation test runs it so, built against the installed tree. */
#include <Xm/Form.h>
#include <Xm/Xm.h>
#include <stdio.h>
#include <string.h>

#include "kestrel.h"

static void* clicked(void* userData) {
  printf("clicked %d\n", *(int*)userData);
  fflush(stdout);
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
  static int data[] = {10, 11, 12};
  setUserCallback(chart, clicked);
  setViewableTime(chart, 100);
  /* Row alpha: a job from 10 s that succeeded at 40 s; beta: one from 20 s that failed at 60 s;
   * gamma: one from 50 s still running at 90 s. */
  int a = startJobTracking(chart, "alpha", 10, &data[0]);
  int b = startJobTracking(chart, "beta", 20, &data[1]);
  setElapsedTime(chart, 40);
  updateActiveJobs(chart, 40);
  stopJobTracking(chart, a, 0);
  int c = startJobTracking(chart, "gamma", 50, &data[2]);
  setElapsedTime(chart, 60);
  updateActiveJobs(chart, 60);
  stopJobTracking(chart, b, 1);
  setElapsedTime(chart, 90);
  updateActiveJobs(chart, 90);
  printf("jobs %d %d %d\n", a, b, c);
  fflush(stdout);
  if (argc > 1 && strcmp(argv[1], "--exit") == 0) {
    chartDestructor(chart);
    return 0;
  }
  XtRealizeWidget(shell);
  XtAppMainLoop(context);
  chartDestructor(chart);
  return 0;
}
