#include "model_tool/files.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "host/files.h"
#include "model_tool/tool_error.h"

namespace model_tool {

std::string ReadWholeFile(const std::string& path) {
  const std::string other = host::OtherThanAFile(path);
  if (!other.empty()) throw ToolError("cannot read " + path + ": it is " + other + ", and no file");
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  if (!file || error) {
    throw ToolError("cannot read " + path + ": " + (error ? error.message() : std::strerror(errno)));
  }
  std::string bytes(size, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(size));
  if (file.gcount() != static_cast<std::streamsize>(size)) throw ToolError("cannot read " + path);
  return bytes;
}

}  // namespace model_tool
