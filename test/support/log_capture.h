#ifndef TEST_SUPPORT_LOG_CAPTURE_H_
#define TEST_SUPPORT_LOG_CAPTURE_H_

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <thread>

/// Catches what the process writes to one of its standard streams, from any thread, for as long as it lives.
///
/// GoogleTest's own capture hands the text out only when it ends; this one can be asked in between, so that nothing
/// that a render thread writes is lost between two looks.
class LogCapture {
 public:
  explicit LogCapture(std::FILE* stream) : stream_(stream), file_(memfd_create("log_capture", 0)) {
    std::fflush(stream_);
    saved_ = dup(fileno(stream_));
    if (file_ < 0 || saved_ < 0 || dup2(file_, fileno(stream_)) < 0) throw std::runtime_error("LogCapture");
  }
  ~LogCapture() {
    const std::string everything = ReadFrom(0);
    dup2(saved_, fileno(stream_));
    // GoogleTest reports failures on standard output: they must not be lost in here.
    if (::testing::Test::HasFailure()) {
      [[maybe_unused]] const ssize_t written = write(fileno(stream_), everything.data(), everything.size());
    }
    close(saved_);
    close(file_);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// What has been written since the last Take() or the start.
  std::string Take() {
    std::string text = ReadFrom(taken_);
    taken_ += text.size();
    return text;
  }

  /// The same, left for the next look.
  std::string Peek() const { return ReadFrom(taken_); }

  /// Waits until the untaken text contains `wanted`; false when it has not come for ten minutes.
  [[nodiscard]] bool WaitFor(const std::string& wanted) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(10);
    while (Peek().find(wanted) == std::string::npos) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::yield();
    }
    return true;
  }

 private:
  std::string ReadFrom(size_t offset) const {
    std::fflush(stream_);
    std::string text;
    char chunk[4096];
    for (;;) {
      const ssize_t count = pread(file_, chunk, sizeof chunk, static_cast<off_t>(offset + text.size()));
      if (count <= 0) return text;
      text.append(chunk, static_cast<size_t>(count));
    }
  }

  std::FILE* stream_;
  int file_;
  int saved_ = -1;
  size_t taken_ = 0;
};

#endif  // TEST_SUPPORT_LOG_CAPTURE_H_
