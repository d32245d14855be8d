// The page faults of a frame in the steady state, with the allocator as it comes.

#include "bench/frames.h"

namespace {

const bool g_registered = [] {
  RegisterFrames("faults", {{640, 480}, {1920, 1080}}, {1'000, 50'000, 500'000}, true);
  return true;
}();

}  // namespace
