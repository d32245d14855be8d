// The decimal numbers of colours: the same float from the same numeral on every machine, and the same exception.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "model/json_scanning.h"
#include "test/model/throws_as.h"

namespace json_scanning {
namespace {

TEST(ParseFloatsTest, EveryRunOfNumberCharactersIsANumber) {
  const struct {
    const char* text;
    std::vector<float> numbers;
  } kRows[] = {
      {"", {}},
      {"   ", {}},
      {"null", {}},  // an "l" begins no run, and no "e" does
      {"true, E", {}},
      {"1", {1}},
      {"1, 0, 0", {1, 0, 0}},
      {"0.2,0.4,0.6,0.5", {0.2f, 0.4f, 0.6f, 0.5f}},
      {"1 2\n3\t4", {1, 2, 3, 4}},
      {"-1,-0.5,-.25", {-1, -0.5f, -0.25f}},
      {".5,5.,00.50", {0.5f, 5, 0.5f}},
      {"1e2,1E2,1e+2,1e-2,.5e1", {100, 100, 100, 0.01f, 5}},
      {"+-3, +", {-3}},  // the sign is skipped
      {"1e", {1}},       // a run is read as far as it goes
      {"1e+", {1}},
      {"1.2.3", {1.2f}},
      {"1-2", {1}},
      {"1+2", {1}},
      {"e5", {5}},
      {"0x10", {0, 10}},
      {"1,,2", {1, 2}},
      {"[1,\"2\",{3}", {1, 2, 3}},
      {"16777217", {16777216}},
      {"3.4028234e38,-3.4028234e38", {3.4028234e38f, -3.4028234e38f}},
      {"1.17549435e-38", {1.17549435e-38f}},
      {"0e-99999", {0}},
  };
  for (const auto& row : kRows) EXPECT_EQ(parse_floats(row.text), row.numbers) << row.text;
}

TEST(ParseFloatsTest, MinusZeroKeepsItsSign) {
  const std::vector<float> numbers = parse_floats("-0, 0");
  ASSERT_EQ(numbers.size(), 2u);
  EXPECT_TRUE(std::signbit(numbers[0]));
  EXPECT_FALSE(std::signbit(numbers[1]));
}

TEST(ParseFloatsTest, ARunThatBeginsNoNumberThrowsInvalidArgument) {
  for (const char* text : {"-", ".", "--1", "-+1", "-e5", ".e5", "..5", "1,-,2", "1, 2, .", "-inf"}) {
    SCOPED_TRACE(text);
    EXPECT_THAT([&] { parse_floats(text); }, ThrowsAs<std::invalid_argument>("stof"));
  }
}

TEST(ParseFloatsTest, ANumberTooLargeOrTooSmallThrowsOutOfRange) {
  for (const char* text : {"1e-50", "-1e-50", "1e50", "-1e50", "3.5e38", "1, 1e-46", "1e99999", "1e-99999"}) {
    SCOPED_TRACE(text);
    EXPECT_THAT([&] { parse_floats(text); }, ThrowsAs<std::out_of_range>("stof"));
  }
}

// What becomes of a numeral: the float's exact digits, or the exception.
template <typename Convert>
std::string Outcome(Convert convert) {
  try {
    char text[64];
    std::snprintf(text, sizeof text, "%a", static_cast<double>(convert()));
    return text;
  } catch (const std::out_of_range& exception) {
    return std::string("out of range: ") + exception.what();
  } catch (const std::invalid_argument& exception) {
    return std::string("invalid: ") + exception.what();
  }
}

TEST(ParseFloatsTest, ANumberIsReadAsTheStandardLibraryReadsIt) {
  for (const char* text : {"0.1", "0.30000001192", "1e-40", "1.1754942e-38", "1.4e-45", "7e-46", "3.4028235e38",
                           "3.40282357e38", "340282346638528859811704183484516925440", "0.8", "1e", "-.", "e", "-"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(Outcome([&] { return parse_float(text); }), Outcome([&] { return std::stof(text); }));
  }
}

// The decimal numeral of exactly this number, or of one that differs in a digit far after its last.
std::string ExactNumeral(double number, int difference = 0) {
  char text[200];
  std::snprintf(text, sizeof text, "%.160e", number);
  const std::string numeral = text;
  const size_t exponent = numeral.find('e');
  std::string digits = numeral.substr(0, exponent);
  if (difference > 0) digits += '1';
  if (difference < 0) {
    const size_t last = digits.find_last_not_of('0');
    EXPECT_NE(digits[last], '.');
    --digits[last];
    digits.replace(last + 1, std::string::npos, digits.size() - last, '9');
  }
  return digits + numeral.substr(exponent);
}

TEST(ParseFloatsTest, ANumberAroundTheSmallestNormalFloatIsInRangeWhereItIsOnX86) {
  const std::string kOutOfRange = "out of range: stof";
  constexpr double kSmallestNormal = 0x1p-126;
  constexpr double kLeastOfTwentyFourBits = 0x1.ffffffp-127;  // becomes kSmallestNormal when rounded to 24 bits
  constexpr double kLeastThatRoundsUp = 0x1.fffffep-127;      // halfway to it from the next smaller float
  constexpr double kLargestSubnormal = 0x1.fffffcp-127;
  const struct {
    double number;
    int difference;
    std::string outcome;
  } kRows[] = {
      {kSmallestNormal, 1, "0x1p-126"},
      {kSmallestNormal, 0, "0x1p-126"},
      {kSmallestNormal, -1, "0x1p-126"},
      {kLeastOfTwentyFourBits, 1, "0x1p-126"},
      {kLeastOfTwentyFourBits, 0, "0x1p-126"},
      {kLeastOfTwentyFourBits, -1, kOutOfRange},
      {kLeastThatRoundsUp, 1, kOutOfRange},
      {kLeastThatRoundsUp, 0, kOutOfRange},
      {kLeastThatRoundsUp, -1, kOutOfRange},
      {kLargestSubnormal, 1, kOutOfRange},
      {kLargestSubnormal, 0, "0x1.fffffcp-127"},
      {kLargestSubnormal, -1, kOutOfRange},
      {0x1p-149, 1, kOutOfRange},
      {0x1p-149, 0, "0x1p-149"},
      {0x1p-149, -1, kOutOfRange},
  };
  for (const auto& row : kRows) {
    for (const std::string sign : {"", "-"}) {
      const std::string numeral = sign + ExactNumeral(row.number, row.difference);
      SCOPED_TRACE(numeral);
      const std::string expected = row.outcome == kOutOfRange ? kOutOfRange : sign + row.outcome;
      EXPECT_EQ(Outcome([&] { return parse_float(numeral); }), expected);
#if defined(__x86_64__)
      EXPECT_EQ(Outcome([&] { return std::stof(numeral); }), expected);
#endif
    }
  }
}

TEST(ParseFloatsTest, TheRoundingModeStaysAsItWas) {
  for (const int mode : {FE_TONEAREST, FE_UPWARD}) {
    std::fesetround(mode);
    Outcome([] { return parse_float("1.1754943e-38"); });
    const int mode_after = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(mode_after, mode);
  }
}

TEST(ParseFloatsTest, ErrnoIsPreserved) {
  for (const int before : {0, ERANGE, EINVAL}) {
    errno = before;
    EXPECT_EQ(parse_floats("0.5, 1"), (std::vector<float>{0.5f, 1}));
    EXPECT_EQ(errno, before);
  }
}

}  // namespace
}  // namespace json_scanning
