#include "test/support/read_fault.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

struct Fault {
  bool active = false;
  size_t bytes_left = 0;
  bool error = false;
  bool happened = false;
} fault;

bool stat_fails = false;

}  // namespace

ReadFault::ReadFault(size_t bytes, Kind kind) { fault = {true, bytes, kind == kError, false}; }
ReadFault::~ReadFault() { fault = Fault(); }
bool ReadFault::happened() const { return fault.happened; }

StatFault::StatFault() { stat_fails = true; }
StatFault::~StatFault() { stat_fails = false; }

// In the program, so that the loader and the standard library find them before the C library's own.
extern "C" __attribute__((visibility("default"))) ssize_t read(int file, void* buffer, size_t size) {
  if (fault.active) {
    if (size > fault.bytes_left) fault.happened = true;
    if (size > 0 && fault.bytes_left == 0) {
      errno = EIO;
      return fault.error ? -1 : 0;
    }
    size = std::min(size, fault.bytes_left);
  }
  const ssize_t count = syscall(SYS_read, file, buffer, size);
  if (fault.active && count > 0) fault.bytes_left -= static_cast<size_t>(count);
  return count;
}

extern "C" __attribute__((visibility("default"))) int stat(const char* path, struct stat* status) {
  if (!stat_fails) return fstatat(AT_FDCWD, path, status, 0);
  errno = ENOENT;
  return -1;
}
