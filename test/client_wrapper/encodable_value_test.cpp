// Values: their alternatives, and how they compare.

#include "flutter/encodable_value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>
#include <utility>

#include "message_bytes.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;
using ::testing::ElementsAre;

/// One value of each alternative, in the order of the alternatives.
std::vector<EncodableValue> OneOfEach() {
  return {EncodableValue(),
          EncodableValue(true),
          EncodableValue(int32_t{-7}),
          EncodableValue(int64_t{-7}),
          EncodableValue(-7.0),
          EncodableValue("text"),
          EncodableValue(std::vector<uint8_t>{1}),
          EncodableValue(std::vector<int32_t>{1}),
          EncodableValue(std::vector<int64_t>{1}),
          EncodableValue(std::vector<double>{1.0}),
          EncodableValue(EncodableList{EncodableValue(1)}),
          EncodableValue(EncodableMap{{EncodableValue(1), EncodableValue(1)}}),
          EncodableValue(CustomEncodableValue(1)),
          EncodableValue(std::vector<float>{1.0f})};
}

TEST(EncodableValueTest, AlternativesKeepTheirOrder) {
  static_assert(std::variant_size_v<flutter::internal::EncodableVariant> == 14);
  const std::vector<EncodableValue> values = OneOfEach();
  ASSERT_EQ(values.size(), 14u);
  for (size_t i = 0; i < values.size(); ++i) EXPECT_EQ(values[i].index(), i);
}

TEST(EncodableValueTest, DefaultIsNull) {
  EXPECT_TRUE(EncodableValue().IsNull());
  EXPECT_TRUE(std::holds_alternative<std::monostate>(EncodableValue()));
}

TEST(EncodableValueTest, EveryOtherAlternativeIsNotNull) {
  const std::vector<EncodableValue> values = OneOfEach();
  for (size_t i = 1; i < values.size(); ++i) EXPECT_FALSE(values[i].IsNull()) << i;
}

TEST(EncodableValueTest, StringLiteralBecomesAStringAndNoBoolean) {
  const char* const pointer = "pointer";
  EXPECT_EQ(std::get<std::string>(EncodableValue("literal")), "literal");
  EXPECT_EQ(std::get<std::string>(EncodableValue(pointer)), "pointer");
}

TEST(EncodableValueTest, NullPointerIsNull) {
  EXPECT_TRUE(EncodableValue(nullptr).IsNull());
  const char* const no_text = nullptr;
  EXPECT_TRUE(EncodableValue(no_text).IsNull());
  char* const no_buffer = nullptr;
  EXPECT_TRUE(EncodableValue(no_buffer).IsNull());
  EXPECT_TRUE(EncodableMap({{"details", nullptr}}).at("details").IsNull());
}

TEST(EncodableValueTest, TextInABufferBecomesAString) {
  char buffer[] = "buffer";
  char* const pointer = buffer;
  EXPECT_EQ(std::get<std::string>(EncodableValue(buffer)), "buffer");
  EXPECT_EQ(std::get<std::string>(EncodableValue(pointer)), "buffer");
}

TEST(EncodableValueTest, ListThatGrowsMovesItsElements) {
  static_assert(std::is_nothrow_move_constructible_v<EncodableValue>);
  EncodableList list = {EncodableValue(std::string(100, 'a'))};
  const char* const text = std::get<std::string>(list[0]).data();
  list.reserve(list.capacity() + 1);
  EXPECT_EQ(std::get<std::string>(list[0]).data(), text);
}

TEST(EncodableValueTest, ReadingAnotherAlternativeThrows) {
  const EncodableValue value(int32_t{1});
  EXPECT_THROW((void)std::get<int64_t>(value), std::bad_variant_access);
  EXPECT_THROW((void)std::get<double>(value), std::bad_variant_access);
}

// By alternative before content, so that equal numbers of different types differ.
TEST(EncodableValueTest, EveryComparisonAgreesWithTheOrderOfTheAlternatives) {
  const std::vector<EncodableValue> values = OneOfEach();
  for (size_t i = 0; i < values.size(); ++i) {
    for (size_t j = 0; j < values.size(); ++j) {
      EXPECT_EQ(values[i] == values[j], i == j) << i << " and " << j;
      EXPECT_EQ(values[i] != values[j], i != j) << i << " and " << j;
      EXPECT_EQ(values[i] < values[j], i < j) << i << " and " << j;
      EXPECT_EQ(values[i] > values[j], i > j) << i << " and " << j;
      EXPECT_EQ(values[i] <= values[j], i <= j) << i << " and " << j;
      EXPECT_EQ(values[i] >= values[j], i >= j) << i << " and " << j;
    }
  }
}

TEST(EncodableValueTest, GreaterNumberOfALesserAlternativeComesFirst) {
  EXPECT_LT(EncodableValue(int32_t{1000}), EncodableValue(int64_t{-1000}));
}

TEST(EncodableValueTest, EveryAlternativeIsComparedBothWays) {
  const std::pair<EncodableValue, EncodableValue> kLowAndHigh[] = {
      {false, true},
      {int32_t{-1}, int32_t{1}},
      {int64_t{-1}, int64_t{1}},
      {-1.0, 1.0},
      {"Z", "a"},
      {"a", "aa"},
      {std::vector<uint8_t>{1, 9}, std::vector<uint8_t>{2}},
      {std::vector<int32_t>{1}, std::vector<int32_t>{1, 0}},
      {std::vector<int64_t>{-1}, std::vector<int64_t>{1}},
      {std::vector<double>{}, std::vector<double>{-1}},
      {std::vector<float>{1, 2}, std::vector<float>{1, 3}},
      {EncodableList{1}, EncodableList{1, EncodableValue()}},
      {EncodableList{1, 2}, EncodableList{1, 3}},
      // Maps by the first key or value that differs.
      {EncodableMap{{1, 2}}, EncodableMap{{1, 2}, {2, 2}}},
      {EncodableMap{{1, "z"}}, EncodableMap{{2, "a"}}},
      {EncodableMap{{1, "a"}, {2, "z"}}, EncodableMap{{1, "b"}}},
      {EncodableMap{{1, EncodableMap{}}}, EncodableMap{{1, EncodableMap{{1, 1}}}}},
  };
  for (const auto& [low, high] : kLowAndHigh) {
    SCOPED_TRACE("alternative " + std::to_string(low.index()));
    EXPECT_TRUE(low < high);
    EXPECT_FALSE(high < low);
    EXPECT_FALSE(low < low);
    EXPECT_FALSE(high < high);
  }
  const EncodableValue one(CustomEncodableValue(1)), other(CustomEncodableValue(2));
  EXPECT_NE(one < other, other < one);
  EXPECT_FALSE(one < one);
}

/// What the operators make of two values: "<" where that one is true, and so on.
template <typename Value>
std::vector<std::string> TrueComparisons(const Value& a, const Value& b) {
  std::vector<std::string> names;
  if (a < b) names.push_back("<");
  if (a <= b) names.push_back("<=");
  if (a == b) names.push_back("==");
  if (a != b) names.push_back("!=");
  if (a >= b) names.push_back(">=");
  if (a > b) names.push_back(">");
#if defined(__cpp_lib_three_way_comparison)
  EXPECT_EQ((a <=> b) < 0, a < b);
  EXPECT_EQ((a <=> b) > 0, a > b);
#endif
  return names;
}

TEST(EncodableValueTest, ValueWithoutContentComesBeforeAllOthers) {
  for (const EncodableValue& value : OneOfEach()) {
    SCOPED_TRACE("alternative " + std::to_string(value.index()));
    EXPECT_THAT(TrueComparisons(Valueless(), value), ElementsAre("<", "<=", "!="));
    EXPECT_THAT(TrueComparisons(value, Valueless()), ElementsAre("!=", ">=", ">"));
  }
}

TEST(EncodableValueTest, ValuesWithoutContentAreEqual) {
  EXPECT_THAT(TrueComparisons(Valueless(), Valueless()), ElementsAre("<=", "==", ">="));
}

TEST(EncodableValueTest, ValuesWithoutContentAreComparedInListsAndMapsToo) {
  const EncodableList list = {Valueless()}, list_of_null = {EncodableValue()};
  const EncodableMap key = {{Valueless(), 1}}, null_key = {{EncodableValue(), 1}};
  const EncodableMap mapped = {{1, Valueless()}}, mapped_null = {{1, EncodableValue()}};
  const std::pair<EncodableValue, EncodableValue> kValues[] = {
      {list, list_of_null}, {key, null_key}, {mapped, mapped_null}};
  for (const auto& [without, with] : kValues) {
    EXPECT_THAT(TrueComparisons(without, with), ElementsAre("<", "<=", "!="));
    EXPECT_THAT(TrueComparisons(with, without), ElementsAre("!=", ">=", ">"));
    EXPECT_THAT(TrueComparisons(without, without), ElementsAre("<=", "==", ">="));
  }
  EXPECT_THAT(TrueComparisons(list, list_of_null), ElementsAre("<", "<=", "!="));
  EXPECT_THAT(TrueComparisons(key, key), ElementsAre("<=", "==", ">="));
  EXPECT_THAT(TrueComparisons(mapped_null, mapped), ElementsAre("!=", ">=", ">"));
}

TEST(EncodableValueTest, NumberThatIsNoneComparesAsADoubleDoes) {
  const EncodableValue none(std::nan("")), one(1.0);
  EXPECT_THAT(TrueComparisons(none, one), ElementsAre("!="));
  EXPECT_THAT(TrueComparisons(one, none), ElementsAre("!="));
  EXPECT_THAT(TrueComparisons(none, none), ElementsAre("!="));
  // In a list it is passed over by the order, and equals nothing.
  const EncodableValue list(EncodableList{none}), list_of_one(EncodableList{one});
  EXPECT_THAT(TrueComparisons(list, list_of_one), ElementsAre("<=", "!=", ">="));
  EXPECT_THAT(TrueComparisons(list, list), ElementsAre("<=", "!=", ">="));
}

TEST(EncodableValueTest, NumberThatIsNoneComesWithEveryOther) {
  const EncodableValue none(std::nan(""));
  const EncodableValue one(1.0);
  EXPECT_FALSE(none < one);
  EXPECT_FALSE(one < none);
  EXPECT_LT(EncodableValue(EncodableList{none, "a"}), EncodableValue(EncodableList{one, "b"}));
}

/// Lists of one element, or maps of one key, in one another.
template <typename Wrap>
EncodableValue Nested(Wrap wrap) {
  EncodableValue value("innermost");
  for (int depth = 0; depth < 500; ++depth) value = wrap(std::move(value));
  return value;
}

TEST(EncodableValueTest, ValuesNestedDeepAreComparedToTheEnd) {
  // All of them moved inside: copies of what is already nested would take longer than the comparisons.
  const auto list = [](EncodableValue inner) {
    EncodableList outer;
    outer.push_back(std::move(inner));
    return outer;
  };
  const auto key = [](EncodableValue inner) {
    EncodableMap outer;
    outer.emplace(std::move(inner), 1);
    return outer;
  };
  const auto mapped = [](EncodableValue inner) {
    EncodableMap outer;
    outer.emplace(1, std::move(inner));
    return outer;
  };
  EXPECT_THAT(TrueComparisons(Nested(list), Nested(list)), ElementsAre("<=", "==", ">="));
  EXPECT_THAT(TrueComparisons(Nested(key), Nested(key)), ElementsAre("<=", "==", ">="));
  EXPECT_THAT(TrueComparisons(Nested(mapped), Nested(mapped)), ElementsAre("<=", "==", ">="));
}

TEST(EncodableValueTest, MapKeepsItsKeysInTheOrderOfValues) {
  const EncodableMap map = {{EncodableValue("b"), EncodableValue()},
                            {EncodableValue(int64_t{0}), EncodableValue()},
                            {EncodableValue("a"), EncodableValue()},
                            {EncodableValue(int32_t{5}), EncodableValue()},
                            {EncodableValue(), EncodableValue()}};
  std::vector<EncodableValue> keys;
  for (const auto& [key, mapped] : map) keys.push_back(key);
  EXPECT_THAT(keys, ElementsAre(EncodableValue(), EncodableValue(int32_t{5}), EncodableValue(int64_t{0}),
                                EncodableValue("a"), EncodableValue("b")));
}

TEST(CustomEncodableValueTest, HoldsAnObjectOfAnyType) {
  const CustomEncodableValue custom(std::string("inside"));
  EXPECT_TRUE(custom.type() == typeid(std::string));
  EXPECT_EQ(std::any_cast<std::string>(custom.object()), "inside");
}

TEST(CustomEncodableValueTest, CopyHoldsTheSameObjectAndNotTheOriginal) {
  CustomEncodableValue original(std::string("inside"));
  const CustomEncodableValue copy = original;
  EXPECT_TRUE(copy.type() == typeid(std::string));
  EXPECT_EQ(std::any_cast<std::string>(copy.object()), "inside");
}

TEST(CustomEncodableValueTest, EachEqualsOnlyItselfAndComesByItsAddress) {
  const CustomEncodableValue values[] = {CustomEncodableValue(1), CustomEncodableValue(1)};
  const CustomEncodableValue& low = values[0];  // of two in an array the first has the lower address
  const CustomEncodableValue& high = values[1];
  EXPECT_TRUE(low < high && low <= high && low != high);
  EXPECT_FALSE(low > high || low >= high || low == high);
  EXPECT_TRUE(high > low && high >= low && high != low);
  EXPECT_FALSE(high < low || high <= low || high == low);
  EXPECT_TRUE(low == low && low <= low && low >= low);
  EXPECT_FALSE(low != low || low < low || low > low);
}

}  // namespace
}  // namespace client_wrapper_test
