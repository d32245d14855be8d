#include "model/glb_loader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "model/glb_container.h"
#include "model/load_log.h"

namespace {

// An open file, closed at the end of its scope.
class File {
 public:
  File(const std::string& path, int flags) : descriptor_(open(path.c_str(), flags | O_CLOEXEC)) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // False also when it did not open.
  //
  // The C library's fstat is a symbol that many boards do not have yet (glibc 2.33), and the one of before has left its
  // headers. The kernel's call has always been there, and on these machines fills the C library's record.
  bool is_regular() const {
    struct stat status;
#if defined(__x86_64__) || defined(__aarch64__)
    const long result = syscall(SYS_fstat, descriptor_, &status);
#else
    const int result = fstat(descriptor_, &status);
#endif
    return result == 0 && S_ISREG(status.st_mode);
  }

  // Negative: not known.
  off_t size() const { return lseek(descriptor_, 0, SEEK_END); }

  // Fills `bytes` from the file's beginning, as far as it goes.
  void fill(std::vector<uint8_t>& bytes) const {
    lseek(descriptor_, 0, SEEK_SET);
    for (size_t done = 0; done < bytes.size();) {
      const ssize_t count = read(descriptor_, bytes.data() + done, bytes.size() - done);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;
      done += static_cast<size_t>(count);
    }
  }

 private:
  int descriptor_;
};

// Only regular files: a pipe would be waited for, a device may never end, and a folder tells a size that would exhaust
// the memory.
bool read_file(const std::string& path, std::vector<uint8_t>& bytes) {
  // Looked at before it is opened, which has effects of its own: it lets a pipe's writer go ahead or starts a watchdog.
  // By then something else may have the path, which must not hold up the caller either.
  if (!File(path, O_PATH).is_regular()) return false;
  const File file(path, O_RDONLY | O_NONBLOCK);
  if (!file.is_regular()) return false;
  const off_t size = file.size();
  if (size < 0) return false;
  bytes.resize(static_cast<size_t>(size));
  file.fill(bytes);
  return true;
}

}  // namespace

bool load_glb_model(const std::string& path, GLBModel& model, std::string* log) {
  model.meshes.clear();
  std::vector<uint8_t> bytes;
  if (!read_file(path, bytes)) {
    glb::append(log, "fail: read file\n");
    return false;
  }
  return glb::add_meshes(bytes, model, log);
}

bool load_glb_mesh(const std::string& path, MeshData& mesh, std::string* log) {
  GLBModel model;
  if (!load_glb_model(path, model, log)) return false;
  if (model.meshes.empty()) {
    glb::append(log, "fail: no meshes loaded\n");
    return false;
  }
  mesh = model.meshes.front();
  return true;
}
