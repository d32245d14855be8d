#ifndef RENDERER_LOG_LINE_H_
#define RENDERER_LOG_LINE_H_

#include <cstdio>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>

/// Writes one line to `stream` and flushes it. The line is built whole and written at once, so that lines of two
/// threads never mix; numbers look the same in every locale. A null string ends the line there and spoils no
/// other.
///
/// Thread   any.
template <typename... Parts>
void WriteLogLine(std::FILE* stream, const Parts&... parts) {
  std::ostringstream line(std::ios_base::out);  // the constructor without a mode is newer than many boards' libstdc++
  line.imbue(std::locale::classic());
  (line << ... << parts);
  const std::string text = line.str() + '\n';
  std::fwrite(text.data(), 1, text.size(), stream);
  std::fflush(stream);
}

/// A code in a log line: "0x" and lower-case hexadecimal digits.
struct Hex {
  unsigned int code;

  friend std::ostream& operator<<(std::ostream& stream, const Hex& hex) {
    return stream << "0x" << std::hex << hex.code << std::dec;
  }
};

#endif  // RENDERER_LOG_LINE_H_
