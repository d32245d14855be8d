#include "flutter/encodable_value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "message_bytes.h"

namespace client_wrapper_test {
namespace {

using flutter::CustomEncodableValue;
using flutter::EncodableList;
using flutter::EncodableMap;
using flutter::EncodableValue;
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

TEST(EncodableValueTest, EqualNumbersOfDifferentTypesDiffer) {
  EXPECT_FALSE(EncodableValue(int32_t{1}) == EncodableValue(int64_t{1}));
  EXPECT_FALSE(EncodableValue(int64_t{1}) == EncodableValue(1.0));
}

TEST(EncodableValueTest, OrderGoesByAlternativeBeforeContent) {
  const std::vector<EncodableValue> values = OneOfEach();
  for (size_t i = 0; i < values.size(); ++i) {
    for (size_t j = 0; j < values.size(); ++j) {
      if (i == j) continue;
      EXPECT_EQ(values[i] < values[j], i < j) << i << " and " << j;
    }
  }
  EXPECT_LT(EncodableValue(int32_t{1000}), EncodableValue(int64_t{-1000}));
}

TEST(EncodableValueTest, EveryComparisonCompilesAndAgreesWithTheOrder) {
  const std::vector<EncodableValue> values = OneOfEach();
  for (size_t i = 0; i < values.size(); ++i) {
    for (size_t j = 0; j < values.size(); ++j) {
      EXPECT_EQ(values[i] == values[j], i == j) << i << " and " << j;
      EXPECT_EQ(values[i] != values[j], i != j) << i << " and " << j;
      EXPECT_EQ(values[i] > values[j], i > j) << i << " and " << j;
      EXPECT_EQ(values[i] <= values[j], i <= j) << i << " and " << j;
      EXPECT_EQ(values[i] >= values[j], i >= j) << i << " and " << j;
    }
  }
}

TEST(EncodableValueTest, OrderWithinAnAlternativeIsItsOwn) {
  EXPECT_LT(EncodableValue(false), EncodableValue(true));
  EXPECT_LT(EncodableValue(int32_t{-1}), EncodableValue(int32_t{1}));
  EXPECT_LT(EncodableValue("Z"), EncodableValue("a"));
  EXPECT_LT(EncodableValue("a"), EncodableValue("aa"));
  EXPECT_LT(EncodableValue(std::vector<uint8_t>{1, 9}), EncodableValue(std::vector<uint8_t>{2}));
  EXPECT_LT(EncodableValue(EncodableList{EncodableValue("x")}),
            EncodableValue(EncodableList{EncodableValue("x"), EncodableValue()}));
}

TEST(EncodableValueTest, EveryAlternativeIsComparedBothWays) {
  const std::pair<EncodableValue, EncodableValue> kLowAndHigh[] = {
      {false, true},
      {int32_t{-1}, int32_t{1}},
      {int64_t{-1}, int64_t{1}},
      {-1.0, 1.0},
      {"a", "b"},
      {std::vector<uint8_t>{1}, std::vector<uint8_t>{2}},
      {std::vector<int32_t>{1}, std::vector<int32_t>{1, 0}},
      {std::vector<int64_t>{-1}, std::vector<int64_t>{1}},
      {std::vector<double>{}, std::vector<double>{-1}},
      {std::vector<float>{1, 2}, std::vector<float>{1, 3}},
      {EncodableList{1}, EncodableList{1, EncodableValue()}},
      {EncodableList{1, 2}, EncodableList{1, 3}},
      {EncodableMap{{1, 2}}, EncodableMap{{1, 2}, {2, 2}}},
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

TEST(EncodableValueTest, OrderOfMapsGoesByTheFirstKeyOrValueThatDiffers) {
  EXPECT_LT(EncodableValue(EncodableMap{{1, "z"}}), EncodableValue(EncodableMap{{2, "a"}}));
  EXPECT_LT(EncodableValue(EncodableMap{{1, "a"}, {2, "z"}}), EncodableValue(EncodableMap{{1, "b"}}));
  EXPECT_LT(EncodableValue(EncodableMap{{1, "a"}}), EncodableValue(EncodableMap{{1, "a"}, {2, "a"}}));
  EXPECT_LT(EncodableValue(EncodableMap{{1, EncodableMap{}}}),
            EncodableValue(EncodableMap{{1, EncodableMap{{1, 1}}}}));
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
  const auto list = [](EncodableValue inner) { return EncodableValue(EncodableList(1, std::move(inner))); };
  const auto key = [](EncodableValue inner) { return EncodableValue(EncodableMap{{std::move(inner), 1}}); };
  const auto mapped = [](EncodableValue inner) { return EncodableValue(EncodableMap{{1, std::move(inner)}}); };
  EXPECT_FALSE(Nested(list) < Nested(list));
  EXPECT_FALSE(Nested(key) < Nested(key));
  EXPECT_FALSE(Nested(mapped) < Nested(mapped));
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

TEST(CustomEncodableValueTest, EachEqualsOnlyItself) {
  const CustomEncodableValue one(1);
  const CustomEncodableValue other(1);
  EXPECT_TRUE(one == one);
  EXPECT_FALSE(one == other);
  EXPECT_FALSE(one < one);
  EXPECT_NE(one < other, other < one);
}

TEST(CustomEncodableValueTest, EveryComparisonAgreesWithTheOrder) {
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
