// The plug-in sleeps to draw a frame every 33 ms, and half a second at its end: not here. This program's nanosleep
// stands in front of the C library's, and leaves out what takes a millisecond or more. The short sleeps with which the
// render thread lets others in are slept.

#include <sched.h>
#include <time.h>

#include <cerrno>

extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* request, timespec* remaining) {
  if (request->tv_sec > 0 || request->tv_nsec >= 1'000'000) return sched_yield();
  const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, request, remaining);
  if (error == 0) return 0;
  errno = error;
  return -1;
}
