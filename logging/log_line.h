#ifndef LOGGING_LOG_LINE_H_
#define LOGGING_LOG_LINE_H_

#include <cstdio>
#include <locale>
#include <ostream>
#include <streambuf>

/// Gathers a line on the stack and writes it to a stdio stream, which it keeps to itself meanwhile.
///
/// A line of up to 4096 bytes is written at once, so that a pipe takes it whole between the lines of other processes; a
/// longer one in pieces. The destructor writes what is left and flushes.
class LineBuffer : public std::streambuf {
 public:
  explicit LineBuffer(std::FILE* stream) : stream_(stream) {
    flockfile(stream_);
    setp(characters_, characters_ + sizeof characters_);
  }
  ~LineBuffer() override {
    Write();
    std::fflush(stream_);
    funlockfile(stream_);
  }
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;

 private:
  int_type overflow(int_type character) override {
    Write();
    if (!traits_type::eq_int_type(character, traits_type::eof())) sputc(traits_type::to_char_type(character));
    return traits_type::not_eof(character);
  }

  void Write() {
    std::fwrite(pbase(), 1, static_cast<size_t>(pptr() - pbase()), stream_);
    setp(characters_, characters_ + sizeof characters_);
  }

  std::FILE* stream_;
  char characters_[4096];
};

/// Writes one line to `stream` and flushes it. Lines of two threads never mix; numbers look the same in every locale. A
/// null string ends the line there and spoils no other.
///
/// Nothing is allocated: the render thread and the plug-in's end write lines, and neither may fail for want of memory.
///
/// Thread   any.
template <typename... Parts>
void WriteLogLine(std::FILE* stream, const Parts&... parts) {
  LineBuffer buffer(stream);
  std::ostream line(&buffer);
  line.imbue(std::locale::classic());
  (line << ... << parts);
  buffer.sputc('\n');  // past `line`, which a null string has closed
}

/// A code in a log line: "0x" and lower-case hexadecimal digits.
struct Hex {
  unsigned int code;

  friend std::ostream& operator<<(std::ostream& stream, const Hex& hex) {
    return stream << "0x" << std::hex << hex.code << std::dec;
  }
};

#endif  // LOGGING_LOG_LINE_H_
