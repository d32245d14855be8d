#include "fuzz/fuzz_target.h"

#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace fuzz {

namespace {

std::atomic<size_t> g_silenced_writes{0};

std::FILE* OpenSilence() {
  cookie_io_functions_t functions = {};
  functions.write = [](void*, const char*, size_t size) {
    ++g_silenced_writes;
    return static_cast<ssize_t>(size);
  };
  return fopencookie(nullptr, "w", functions);
}

}  // namespace

void Fail(const char* file, int line, const char* what) {
  dprintf(STDERR_FILENO, "%s:%d: does not hold: %s\n", file, line, what);
  std::abort();
}

void SilenceStandardStreams() {
  // In the C library these are variables. libFuzzer keeps what they were, the sanitizers write to the descriptor.
  static std::FILE* const silence = OpenSilence();
  stdout = silence;
  stderr = silence;
}

size_t SilencedWrites() { return g_silenced_writes; }

}  // namespace fuzz
