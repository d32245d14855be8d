#include "model_tool/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>

#include "host/files.h"
#include "model_tool/tool_error.h"

namespace model_tool {

std::string ReadBeginning(const std::string& path, size_t most) {
  const std::string other = host::OtherThanAFile(path);
  if (!other.empty()) throw ToolError(path + " is " + other + ", and no file");
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) throw ToolError(path + ": " + std::strerror(errno));
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (error) throw ToolError(path + ": " + error.message());
  std::string bytes(std::min<uintmax_t>(size, most), '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (file.gcount() != static_cast<std::streamsize>(bytes.size())) throw ToolError(path + ": it cannot be read");
  return bytes;
}

std::string ReadWholeFile(const std::string& path) { return ReadBeginning(path, std::numeric_limits<size_t>::max()); }

}  // namespace model_tool
