// open, open64 and close stand in front of the C library's for the whole program: what they are not meant for
// they hand on.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <string>

#include "recorder.h"

namespace fake_graphics {

namespace {

constexpr char kNodes[] = "/dev/dri/";

// The numbers of our descriptors, each used once in a hundred: closing one twice is not taken for closing
// another.
constexpr int kFirstDescriptor = 600;
constexpr int kDescriptors = 100;
// The node that was opened as the lowest free descriptor instead; -1: none.
std::atomic<int> lowest_node{-1};

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

int OpenFile(const char* function, const char* path, int flags, mode_t mode) {
  using Open = int (*)(const char*, int, ...);
  return Next<Open>(function)(path, flags, mode);
}

int CloseFile(int descriptor) {
  static const auto next = Next<int (*)(int)>("close");
  return next(descriptor);
}

std::string FlagsText(int flags) {
  const std::string access = NumberText({{O_RDONLY, "O_RDONLY"}, {O_WRONLY, "O_WRONLY"}, {O_RDWR, "O_RDWR"}},
                                        static_cast<unsigned>(flags & O_ACCMODE));
  const auto others = static_cast<unsigned>(flags & ~O_ACCMODE);
  return others == 0 ? access : access + "|" + BitsText({{O_CLOEXEC, "O_CLOEXEC"}}, others);
}

int OpenNode(const char* path, int flags) {
  CallRecord call("open");
  call.Arguments(Quoted(path), FlagsText(flags));
  Machine& machine = call.machine();
  const bool available = machine.drm_nodes.count(path) != 0;
  if (call.fault() || !available) {
    errno = static_cast<int>(call.fault() ? call.fault()->error.value_or(EACCES) : ENOENT);
    call.Result(-1);
    return -1;
  }
  const int count = machine.last_name_of_kind["fd"];
  const int file = OpenFile("open", "/dev/null", O_RDWR | O_CLOEXEC, 0);
  int descriptor = file;
  if (machine.drm_nodes_open_lowest) {
    lowest_node = file;
  } else {
    descriptor = fcntl(file, F_DUPFD_CLOEXEC, kFirstDescriptor + count % kDescriptors);
    CloseFile(file);
  }
  Descriptor& object = machine.descriptors[descriptor];
  object = Descriptor();
  object.name = machine.NewName("fd");
  object.file = std::shared_ptr<void>(&object, [descriptor](void*) { CloseFile(descriptor); });
  call.Result(object.name);
  return descriptor;
}

int CloseNode(int number) {
  CallRecord call("close");
  Machine& machine = call.machine();
  call.Arguments(NameOf(machine.descriptors, number, "0"));
  Descriptor* descriptor = call.Find(machine.descriptors, number, "descriptor");
  if (descriptor != nullptr) {
    for (const auto& [handle, device] : machine.gbm_devices) {
      if (device.descriptor == number && !device.released) call.Complain(device.name + " is still on it");
    }
    descriptor->released = true;
    if (number == lowest_node) lowest_node = -1;
    descriptor->file.reset();
  }
  const bool failed = call.fault() || descriptor == nullptr;
  if (failed) errno = static_cast<int>(call.fault() ? call.fault()->error.value_or(EIO) : EBADF);
  call.Result(failed ? -1 : 0);
  return failed ? -1 : 0;
}

int Open(const char* function, const char* path, int flags, mode_t mode) {
  return std::strncmp(path, kNodes, std::strlen(kNodes)) == 0 ? OpenNode(path, flags)
                                                              : OpenFile(function, path, flags, mode);
}

}  // namespace

}  // namespace fake_graphics

// The mode is there only where a file may be created.
#define FAKE_OPEN(function)                                           \
  FAKE_FUNCTION int function(const char* path, int flags, ...) {      \
    mode_t mode = 0;                                                  \
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) { \
      va_list arguments;                                              \
      va_start(arguments, flags);                                     \
      mode = static_cast<mode_t>(va_arg(arguments, int));             \
      va_end(arguments);                                              \
    }                                                                 \
    return fake_graphics::Open(#function, path, flags, mode);         \
  }

FAKE_OPEN(open)
FAKE_OPEN(open64)

FAKE_FUNCTION int close(int descriptor) {
  using namespace fake_graphics;
  const bool is_node = descriptor >= kFirstDescriptor && descriptor < kFirstDescriptor + 2 * kDescriptors;
  return is_node || (descriptor >= 0 && descriptor == lowest_node) ? CloseNode(descriptor) : CloseFile(descriptor);
}
