#include "host/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "host/host_error.h"

namespace host {

namespace {

// False: errno says why. A full disk may be told of only when the file is closed.
bool WriteNewFile(const std::string& path, std::string_view bytes) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (file < 0) return false;
  while (!bytes.empty()) {
    const ssize_t size = write(file, bytes.data(), bytes.size());
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) {
      const int error = errno;
      close(file);
      errno = error;
      return false;
    }
    bytes.remove_prefix(static_cast<size_t>(size));
  }
  return close(file) == 0;
}

}  // namespace

std::string OtherThanAFile(const std::string& path) {
  using std::filesystem::file_type;
  std::error_code ignored;
  switch (std::filesystem::status(path, ignored).type()) {
    case file_type::directory: return "a folder";
    case file_type::fifo: return "a pipe";
    case file_type::socket: return "a socket";
    case file_type::character:
    case file_type::block: return "a device";
    default: return "";
  }
}

void WriteWholeFile(const std::string& path, std::string_view bytes) {
  // With the number of the process: another host may be writing into the same folder.
  const std::string unfinished = path + "." + std::to_string(getpid()) + ".part";
  if (WriteNewFile(unfinished, bytes) && std::rename(unfinished.c_str(), path.c_str()) == 0) return;
  const int error = errno;
  unlink(unfinished.c_str());
  throw HostError("cannot write " + path + ": " + std::strerror(error));
}

}  // namespace host
