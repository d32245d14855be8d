#include "test/plugin/sleep_recorder.h"

#include <time.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <utility>

namespace {

std::mutex g_mutex;
// Guarded by g_mutex.
std::map<std::chrono::nanoseconds, int> g_begun;  // by length
std::chrono::nanoseconds g_hooked_length;
std::function<void()> g_hook;

}  // namespace

namespace sleep_recorder {

int Begun(std::chrono::nanoseconds length) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  const auto entry = g_begun.find(length);
  return entry == g_begun.end() ? 0 : entry->second;
}

void SetHook(std::chrono::nanoseconds length, std::function<void()> hook) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_hooked_length = length;
  g_hook = std::move(hook);
}

}  // namespace sleep_recorder

extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* request, timespec* remaining) {
  const auto length = std::chrono::seconds(request->tv_sec) + std::chrono::nanoseconds(request->tv_nsec);
  std::function<void()> hook;
  {
    const std::lock_guard<std::mutex> lock(g_mutex);
    ++g_begun[length];
    if (length == g_hooked_length) hook = g_hook;
  }
  if (hook) hook();
  if (length == std::chrono::milliseconds(500)) return 0;
  const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, request, remaining);
  if (error == 0) return 0;
  errno = error;
  return -1;
}
