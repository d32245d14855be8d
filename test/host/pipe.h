#ifndef TEST_HOST_PIPE_H_
#define TEST_HOST_PIPE_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

/// A pair of descriptors, closed with it or earlier: what is written to one can be read from the other.
class Descriptors {
 public:
  Descriptors() = default;
  ~Descriptors() {
    CloseReading();
    CloseWriting();
  }
  Descriptors(const Descriptors&) = delete;
  Descriptors& operator=(const Descriptors&) = delete;

  int reading_end() const { return reading_; }
  int writing_end() const { return writing_; }
  void CloseReading() { Close(reading_); }
  void CloseWriting() { Close(writing_); }

  void Write(const std::string& text) const {
    ASSERT_EQ(write(writing_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  // What comes next; empty once nobody writes any more.
  std::string Read() const {
    char piece[4096];
    const ssize_t size = read(reading_, piece, sizeof(piece));
    return std::string(piece, size > 0 ? static_cast<size_t>(size) : 0);
  }

 protected:
  int reading_ = -1;
  int writing_ = -1;

 private:
  static void Close(int& end) {
    if (end >= 0) close(end);
    end = -1;
  }
};

class Pipe : public Descriptors {
 public:
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
    reading_ = ends[0];
    writing_ = ends[1];
  }
};

/// A terminal, on which the test is the person; the program writes.
class Terminal : public Descriptors {
 public:
  Terminal() {
    if (openpty(&reading_, &writing_, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
    fcntl(reading_, F_SETFD, FD_CLOEXEC);
    fcntl(writing_, F_SETFD, FD_CLOEXEC);
  }
};

#endif  // TEST_HOST_PIPE_H_
