#include "test/faults/short_sleeps.h"

#include <time.h>

#include <cerrno>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr int kDivisor = 100;

std::function<void()> g_half_second_hook;  // platform thread only

}  // namespace

namespace short_sleeps {

void SetHalfSecondHook(std::function<void()> hook) { g_half_second_hook = std::move(hook); }

}  // namespace short_sleeps

extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* request, timespec* remaining) {
  const auto length = std::chrono::seconds(request->tv_sec) + std::chrono::nanoseconds(request->tv_nsec);
  if (length == 500ms) {
    if (g_half_second_hook) g_half_second_hook();
    return 0;
  }
  const auto slept = length < 1ms ? length : length / kDivisor;
  const timespec shortened = {slept / 1s, slept % 1s / 1ns};
  // Interrupted, what remains is too little by the divisor, which harms nobody.
  const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, &shortened, remaining);
  if (error == 0) return 0;
  errno = error;
  return -1;
}
