#include "examples/swf_trace.h"

#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <zlib.h>

/* Far beyond any real trace (some 30,000 years of seconds), and small enough that sums of two
 * fields never overflow. */
#define SWF_MAX_VALUE 1000000000000L
#define SWF_FIELDS_USED 16

/* Appends to a growing array; 0 when memory runs out. */
static int grow(void** array, size_t* capacity, size_t count, size_t size) {
  if (count < *capacity) return 1;
  size_t more = *capacity ? *capacity * 2 : 1024;
  void* grown = realloc(*array, more * size);
  if (!grown) return 0;
  *array = grown;
  *capacity = more;
  return 1;
}

static char* trimmed(char* text) {
  while (isspace((unsigned char)*text)) ++text;
  size_t length = strlen(text);
  while (length > 0 && isspace((unsigned char)text[length - 1])) text[--length] = '\0';
  return text;
}

/* "; Key: value" lines; the others in the header are comments. */
static int readHeaderLine(char* line, SwfTrace* trace, size_t* partitionCapacity) {
  char* text = trimmed(line + 1);
  if (strncmp(text, "UnixStartTime:", 14) == 0) {
    char* end;
    errno = 0;
    long value = strtol(text + 14, &end, 10);
    if (errno == 0 && end != text + 14 && value >= 0) trace->unixStartTime = value;
    return 1;
  }
  if (strncmp(text, "Partition:", 10) != 0) return 1;
  char* end;
  errno = 0;
  long number = strtol(text + 10, &end, 10);
  char* name = trimmed(end);
  if (errno != 0 || end == text + 10 || !*name) return 1;
  if (!grow((void**)&trace->partitions, partitionCapacity, trace->partitionCount,
            sizeof(SwfPartition)))
    return 0;
  char* copy = strdup(name);
  if (!copy) return 0;
  trace->partitions[trace->partitionCount].number = number;
  trace->partitions[trace->partitionCount].name = copy;
  ++trace->partitionCount;
  return 1;
}

/* Fills `job` from a job line; 0 when the line is not a usable job. */
static int parseJob(const char* line, SwfJob* job) {
  long field[SWF_FIELDS_USED];
  const char* p = line;
  for (int i = 0; i < SWF_FIELDS_USED; ++i) {
    char* end;
    errno = 0;
    field[i] = strtol(p, &end, 10);
    if (end == p || errno != 0) return 0;
    if (field[i] < -1 || field[i] > SWF_MAX_VALUE) return 0;
    if (*end && !isspace((unsigned char)*end)) return 0;
    p = end;
  }
  job->number = field[0];
  job->submit = field[1];
  job->wait = field[2] < 0 ? 0 : field[2];
  job->run = field[3];
  job->requested = field[8];
  job->partition = field[15];
  return 1;
}

static int isBlank(const char* line) {
  while (isspace((unsigned char)*line)) ++line;
  return !*line;
}

int swfRead(const char* path, SwfTrace* trace, char* error, size_t errorSize) {
  memset(trace, 0, sizeof *trace);
  trace->unixStartTime = -1;
  if (!path) {
    snprintf(error, errorSize, "no trace file given");
    return -1;
  }
  /* gzopen reads plain files as they are. */
  gzFile file = gzopen(path, "rb");
  if (!file) {
    snprintf(error, errorSize, "cannot open %s: %s", path, strerror(errno ? errno : ENOENT));
    return -1;
  }
  gzbuffer(file, 1 << 16);
  size_t jobCapacity = 0, partitionCapacity = 0;
  char line[4096];
  int ok = 1, inLongLine = 0;
  while (ok && gzgets(file, line, sizeof line)) {
    size_t length = strlen(line);
    const int endsLine = (length > 0 && line[length - 1] == '\n') || gzeof(file);
    /* A line longer than the buffer is no job line of this format: it is skipped whole. */
    if (inLongLine) {
      inLongLine = !endsLine;
      continue;
    }
    if (!endsLine) {
      if (line[0] != ';') ++trace->skippedLines;
      inLongLine = 1;
      continue;
    }
    if (line[0] == ';') {
      ok = readHeaderLine(line, trace, &partitionCapacity);
    } else if (!isBlank(line)) {
      SwfJob job;
      if (!parseJob(line, &job)) {
        ++trace->skippedLines;
        continue;
      }
      ok = grow((void**)&trace->jobs, &jobCapacity, trace->jobCount, sizeof(SwfJob));
      if (ok) trace->jobs[trace->jobCount++] = job;
    }
  }
  int errorNumber = 0;
  /* zlib's message lives only as long as the file is open. */
  const char* readError = gzerror(file, &errorNumber);
  const int failed = !ok || errorNumber != Z_OK;
  if (failed)
    snprintf(error, errorSize, "cannot read %s: %s", path, ok ? readError : "out of memory");
  gzclose(file);
  if (failed) swfFree(trace);
  return failed ? -1 : 0;
}

void swfFree(SwfTrace* trace) {
  if (!trace) return;
  for (size_t i = 0; i < trace->partitionCount; ++i) free(trace->partitions[i].name);
  free(trace->partitions);
  free(trace->jobs);
  memset(trace, 0, sizeof *trace);
  trace->unixStartTime = -1;
}

const char* swfPartitionName(const SwfTrace* trace, long number) {
  for (size_t i = 0; trace && i < trace->partitionCount; ++i)
    if (trace->partitions[i].number == number) return trace->partitions[i].name;
  return NULL;
}

long swfStart(const SwfJob* job) {
  return job->submit + job->wait;
}

int swfKilledAtLimit(const SwfJob* job) {
  return job->requested > 0 && job->run >= job->requested;
}
