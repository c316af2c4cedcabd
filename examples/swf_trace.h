/* Reading a workload trace in the Standard Workload Format: one job a line, blank-separated
 * fields, header lines starting with ';'. The file may be plain or gzip-compressed. */
#ifndef KESTREL_SWF_TRACE_H
#define KESTREL_SWF_TRACE_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One job, with the fields the job monitor needs. Times are whole seconds from the trace's
 * start; -1 means unknown, except for the wait, where unknown counts as no wait. */
typedef struct SwfJob {
  long number;    /* field 1 */
  long submit;    /* field 2 */
  long wait;      /* field 3, 0 when unknown */
  long run;       /* field 4 */
  long requested; /* field 9, the requested time */
  long partition; /* field 16 */
} SwfJob;

/* A partition named by a "; Partition: NUMBER NAME" header line. */
typedef struct SwfPartition {
  long number;
  char* name;
} SwfPartition;

typedef struct SwfTrace {
  SwfJob* jobs; /* in the order of the file */
  size_t jobCount;
  SwfPartition* partitions; /* in the order of the header */
  size_t partitionCount;
  long unixStartTime;  /* "; UnixStartTime:", -1 when the header has none */
  size_t skippedLines; /* job lines with fewer than 16 numbers, or numbers out of range */
} SwfTrace;

/* Reads the whole file. 0 on success; otherwise -1 with a reason in `error` and an empty trace. */
int swfRead(const char* path, SwfTrace* trace, char* error, size_t errorSize);
void swfFree(SwfTrace* trace);

/* The partition's name from the header, or null when the header does not name it. */
const char* swfPartitionName(const SwfTrace* trace, long number);

/* When the job started: its submit time plus its wait. */
long swfStart(const SwfJob* job);
/* A job whose run time reached its requested time was killed at its limit: it failed. */
int swfKilledAtLimit(const SwfJob* job);

#ifdef __cplusplus
}
#endif

#endif /* KESTREL_SWF_TRACE_H */
