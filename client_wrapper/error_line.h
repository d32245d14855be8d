#ifndef CLIENT_WRAPPER_ERROR_LINE_H_
#define CLIENT_WRAPPER_ERROR_LINE_H_

#include <cstdio>
#include <string>
#include <string_view>

namespace flutter::internal {

/// Writes a line, which ends with its newline, to standard error: whole, so that lines of other threads stay out of it,
/// and without allocating anything.
inline void WriteFinishedErrorLine(std::string_view line) noexcept {
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

/// The same for a line without its newline.
inline void WriteErrorLine(std::string text) {
  text += '\n';
  WriteFinishedErrorLine(text);
}

}  // namespace flutter::internal

#endif  // CLIENT_WRAPPER_ERROR_LINE_H_
