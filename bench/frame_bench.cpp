// What a frame costs over the least that OpenGL needs.
//
// The process keeps the memory that it has once used. The driver takes some 24 MB a frame for 500,000 vertices; whether
// glibc gives them back to the kernel in between depends on the order in which the driver's threads let go of theirs,
// and would decide about the time of any contestant. faults_bench counts what comes of it.

#include <malloc.h>

#include <climits>

#include "bench/frames.h"

namespace {

const bool g_registered = [] {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  RegisterFrames("frame", {{320, 240}, {640, 480}, {1280, 720}, {1920, 1080}}, {1'000, 50'000, 500'000}, false);
  return true;
}();

}  // namespace
