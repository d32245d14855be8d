#ifndef CLIENT_WRAPPER_ERROR_LINE_H_
#define CLIENT_WRAPPER_ERROR_LINE_H_

#include <cstdio>
#include <string>

namespace flutter::internal {

/// Writes one line to standard error, whole, so that lines of other threads stay out of it.
inline void WriteErrorLine(std::string text) {
  text += '\n';
  std::fwrite(text.data(), 1, text.size(), stderr);
  std::fflush(stderr);
}

}  // namespace flutter::internal

#endif  // CLIENT_WRAPPER_ERROR_LINE_H_
