#include "test/model/open_hook.h"

#include <fcntl.h>

#include <cstdarg>
#include <utility>

namespace {

std::function<void()> hook;

}  // namespace

namespace model_test {

OpenHook::OpenHook(std::function<void()> action) { hook = std::move(action); }
OpenHook::~OpenHook() { hook = nullptr; }

}  // namespace model_test

// In the program, so that the loader finds it before the C library's own.
extern "C" __attribute__((visibility("default"))) int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = static_cast<mode_t>(va_arg(arguments, int));
    va_end(arguments);
  }
  // Taken off meanwhile: it may open files itself.
  if (hook && (flags & O_PATH) == 0) {
    const std::function<void()> action = std::exchange(hook, nullptr);
    action();
    hook = action;
  }
  return openat(AT_FDCWD, path, flags, mode);
}
