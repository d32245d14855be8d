#ifndef TEST_SUPPORT_FILES_H_
#define TEST_SUPPORT_FILES_H_

#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

// A test's files: a folder for them, and what is in them as a whole.

inline std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

inline void WriteFile(const std::string& path, const char* data, size_t size) {
  std::ofstream file(path, std::ios::binary);
  file.write(data, static_cast<std::streamsize>(size));
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}
inline void WriteFile(const std::string& path, const std::string& text) { WriteFile(path, text.data(), text.size()); }
inline void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  WriteFile(path, reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

/// A folder of its own for a test's files; goes away with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    path_ = (std::filesystem::temp_directory_path() / "orbisk_test_XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make " + path_);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }

  /// The path that a file of this name has, or would have.
  std::string PathOf(const std::string& name) const { return path_ + "/" + name; }

  /// Writes a file, text or bytes, the folders in its name included. Returns its path.
  std::string Write(const std::string& name, const std::string& text) const { return WriteWhole(name, text); }
  std::string Write(const std::string& name, const std::vector<uint8_t>& bytes) const {
    return WriteWhole(name, bytes);
  }

  /// What is in it, in order.
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  template <typename Content>
  std::string WriteWhole(const std::string& name, const Content& content) const {
    const std::string path = PathOf(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    WriteFile(path, content);
    return path;
  }

  std::string path_;
};

#endif  // TEST_SUPPORT_FILES_H_
