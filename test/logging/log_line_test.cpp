// Log lines: whole, flushed, the same in every locale and whatever the other threads write.

#include "logging/log_line.h"

#include <gtest/gtest.h>

#include <locale>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "test/support/log_capture.h"

namespace {

// Groups digits and has a decimal comma, as many languages do.
class CommaPunctuation : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(LogLineTest, PartsAndNewlineAreWrittenAndFlushed) {
  LogCapture out(stdout);
  WriteLogLine(stdout, "[Tag] ", 640, "x", 480, " ", 0.5f, " ", 1234567.0);
  EXPECT_EQ(out.Take(), "[Tag] 640x480 0.5 1.23457e+06\n");
}

TEST(LogLineTest, CodesAreLowerCaseHexadecimalAndLaterNumbersDecimal) {
  LogCapture err(stderr);
  WriteLogLine(stderr, "error ", Hex{0x8CD6}, " of ", 10);
  EXPECT_EQ(err.Take(), "error 0x8cd6 of 10\n");
}

TEST(LogLineTest, ANullStringCutsItsOwnLineOnly) {
  LogCapture out(stdout);
  const char* const null_string = nullptr;
  WriteLogLine(stdout, "GL Vendor: ", null_string, " and more");
  WriteLogLine(stdout, "next");
  EXPECT_EQ(out.Take(), "GL Vendor: \nnext\n");
}

TEST(LogLineTest, NumbersLookTheSameInEveryLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new CommaPunctuation));
  LogCapture out(stdout);
  WriteLogLine(stdout, 1234567, " ", 0.5);
  std::locale::global(before);
  EXPECT_EQ(out.Take(), "1234567 0.5\n");
}

TEST(LogLineTest, LinesOfTwoThreadsDoNotMix) {
  constexpr int kLines = 5000;
  LogCapture out(stdout);
  const auto write = [](const char* name) {
    for (int i = 0; i < kLines; ++i) WriteLogLine(stdout, name, "-", i, "-", name, "-", name);
  };
  std::thread first(write, "first");
  std::thread second(write, "second");
  first.join();
  second.join();

  std::istringstream lines(out.Take());
  int next_first = 0;
  int next_second = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line == "first-" + std::to_string(next_first) + "-first-first") {
      ++next_first;
    } else if (line == "second-" + std::to_string(next_second) + "-second-second") {
      ++next_second;
    } else {
      FAIL() << "a mixed line: " << line;
    }
  }
  EXPECT_EQ(next_first, kLines);
  EXPECT_EQ(next_second, kLines);
}

}  // namespace
