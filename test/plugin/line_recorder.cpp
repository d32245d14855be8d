#include "test/plugin/line_recorder.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <utility>

#include "fake_graphics.h"

namespace {

std::atomic<bool> g_recording{false};
std::function<void(const std::string&)> g_hook;  // written only while nothing is recorded
thread_local std::FILE* t_unflushed = nullptr;

void NoteMissingFlush() {
  if (t_unflushed != nullptr) fake_graphics::AppendLine("NOT FLUSHED before the next write");
}

// `text` holds one line, or several that were written at once.
void Record(std::FILE* stream, std::string text) {
  if (g_hook) g_hook(text);
  NoteMissingFlush();
  t_unflushed = stream;
  const char* const name = stream == stdout ? "out: " : "err: ";
  const bool whole = !text.empty() && text.back() == '\n';
  if (whole) text.pop_back();
  fake_graphics::AppendLine(name + text + (whole ? "" : "NO NEWLINE"));
}

bool IsRecorded(std::FILE* stream) { return g_recording && (stream == stdout || stream == stderr); }

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace line_recorder {

void Start(std::function<void(const std::string& text)> hook) {
  g_hook = std::move(hook);
  g_recording = true;
}

void Stop() {
  NoteMissingFlush();
  g_recording = false;
}

}  // namespace line_recorder

extern "C" __attribute__((visibility("default"))) size_t fwrite(const void* data, size_t size, size_t count,
                                                                std::FILE* stream) {
  if (IsRecorded(stream)) {
    Record(stream, std::string(static_cast<const char*>(data), size * count));
    return count;
  }
  static const auto next = Next<size_t (*)(const void*, size_t, size_t, std::FILE*)>("fwrite");
  return next(data, size, count, stream);
}

extern "C" __attribute__((visibility("default"))) int fflush(std::FILE* stream) {
  if (IsRecorded(stream) && stream == t_unflushed) t_unflushed = nullptr;
  static const auto next = Next<int (*)(std::FILE*)>("fflush");
  return next(stream);
}
