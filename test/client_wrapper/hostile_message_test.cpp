// Messages that claim or nest more than they hold: what they come to, and what they may cost.

#include <gtest/gtest.h>

#include "flutter/standard_codec_serializer.h"
#include "message_bytes.h"
#include "test/support/operator_new.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;

const char kTooDeep[] =
    "Lists and maps nested more than 1000 deep in StandardCodecSerializer::ReadValueOfType; reading null "
    "instead\n";

struct Measured {
  std::unique_ptr<EncodableValue> value;
  std::string errors;
  size_t peak = 0;  // bytes allocated at a time on top of what was there before
};

Measured DecodeMeasured(const Bytes& bytes) {
  Measured measured;
  measured.errors = StderrOf([&] {
    const operator_new::Peak peak;
    measured.value = StandardMessageCodec::GetInstance().DecodeMessage(bytes);
    measured.peak = peak.bytes();
  });
  return measured;
}

// What a message may cost: each byte can be a value in a list that grows by doubling, old and new together.
size_t FairPeak(const Bytes& bytes) { return 4096 + 4 * sizeof(EncodableValue) * bytes.size(); }

// ---- Claims -------------------------------------------------------------------------------------

struct ClaimCase {
  const char* name;
  uint8_t type;
};

class HostileClaimTest : public ::testing::TestWithParam<ClaimCase> {};

TEST_P(HostileClaimTest, SizeBeyondTheMessageAllocatesNothingLikeIt) {
  for (const Bytes& claim : {Bytes{255, 255, 255, 255, 255}, Bytes{255, 255, 255, 255, 127},
                             Bytes{255, 255, 255, 255, 0}, Bytes{254, 255, 255}}) {
    SCOPED_TRACE(::testing::PrintToString(claim));
    const Bytes bytes = Join({{GetParam().type}, claim, Repeat(16, {0})});
    Measured measured;
    ASSERT_NO_THROW(measured = DecodeMeasured(bytes));
    EXPECT_LE(measured.peak, FairPeak(bytes));
    EXPECT_EQ(measured.errors, kInvalidRead);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, HostileClaimTest,
                         ::testing::Values(ClaimCase{"TypeFive", 5}, ClaimCase{"String", 7}, ClaimCase{"Uint8List", 8},
                                           ClaimCase{"Int32List", 9}, ClaimCase{"Int64List", 10},
                                           ClaimCase{"DoubleList", 11}, ClaimCase{"List", 12}, ClaimCase{"Map", 13},
                                           ClaimCase{"FloatList", 14}),
                         CaseName());

TEST(HostileMessageTest, NestedListsThatEachClaimTheRestShareOneRest) {
  const Bytes bytes = Join({Repeat(900, {12, 255, 0, 0, 1, 0}), Repeat(65536, {1})});
  const Measured measured = DecodeMeasured(bytes);
  EXPECT_LE(measured.peak, FairPeak(bytes));
  EXPECT_EQ(measured.errors, RepeatLine(899, kInvalidRead));  // the innermost one gets all it claims
}

TEST(HostileMessageTest, ListTakesNoMoreElementsThanTheBytesLeftAndTheOneThatFails) {
  const Measured measured = DecodeMeasured(Join({{12, 255, 255, 255, 255, 255}, Repeat(1000, {1})}));
  EXPECT_EQ(std::get<EncodableList>(*measured.value).size(), 1001u);
  EXPECT_EQ(measured.errors, kInvalidRead);
}

TEST(HostileMessageTest, MapEndsWithTheKeyThatFails) {
  const Measured measured = DecodeMeasured(Join({{13, 255, 255, 255, 255, 255}, {1, 0, 2, 0}}));
  EXPECT_EQ(*measured.value, EncodableValue(EncodableMap{{true, {}}, {false, {}}, {{}, {}}}));
  EXPECT_EQ(measured.errors, kInvalidRead);
}

// ---- Nesting ------------------------------------------------------------------------------------

/// How many lists or maps of one entry lie in one another.
size_t DepthOf(const EncodableValue& value) {
  size_t depth = 0;
  for (const EncodableValue* inner = &value;; ++depth) {
    if (const auto* list = std::get_if<EncodableList>(inner)) {
      inner = &list->at(0);
    } else if (const auto* map = std::get_if<EncodableMap>(inner)) {
      // Down the side that nests.
      const auto& [key, mapped] = *map->begin();
      inner = key.IsNull() ? &mapped : &key;
    } else {
      return depth;
    }
  }
}

EncodableValue NestedLists(size_t depth, EncodableValue innermost) {
  for (size_t i = 0; i < depth; ++i) {
    EncodableList list;
    list.push_back(std::move(innermost));  // an initializer list would copy all that is nested
    innermost = EncodableValue(std::move(list));
  }
  return innermost;
}

TEST(HostileMessageTest, ThousandNestedListsAreRead) {
  const Bytes bytes = Encode(NestedLists(1000, "innermost"));
  const Measured measured = DecodeMeasured(bytes);
  EXPECT_EQ(StandardCodecSerializer::kMaxNesting, 1000u);
  EXPECT_EQ(DepthOf(*measured.value), 1000u);
  EXPECT_EQ(Encode(*measured.value), bytes);
  EXPECT_EQ(measured.errors, "");
}

TEST(HostileMessageTest, ListInsideAThousandOthersIsReadAsNull) {
  const Measured measured = DecodeMeasured(Encode(NestedLists(1001, "innermost")));
  EXPECT_EQ(*measured.value, NestedLists(1000, EncodableValue()));
  EXPECT_EQ(measured.errors, kTooDeep);
}

TEST(HostileMessageTest, ListsSideBySideDoNotAddToTheDepth) {
  const EncodableValue value(EncodableList(2000, EncodableValue(EncodableList{EncodableValue(EncodableMap{})})));
  const Measured measured = DecodeMeasured(Encode(value));
  EXPECT_EQ(*measured.value, value);
  EXPECT_EQ(measured.errors, "");
}

// Padded values among them: whether they are skipped rightly shows in what is read after them.
TEST(HostileMessageTest, ValuesOfEveryKindInAListTooDeepAreSkipped) {
  const EncodableValue every_kind(EncodableList{{},
                                                true,
                                                int32_t{1},
                                                int64_t{2},
                                                3.0,
                                                "four",
                                                std::vector<uint8_t>{5},
                                                std::vector<int32_t>{6},
                                                std::vector<int64_t>{7},
                                                std::vector<double>{8.0},
                                                EncodableList{9.0, EncodableList{}},
                                                EncodableMap{{"ten", EncodableMap{{1.0, "x"}}}, {"eleven", {}}},
                                                std::vector<float>{12.0f}});
  const Bytes bytes = Encode(EncodableList{NestedLists(999, every_kind), 1.5, "after"});
  const Measured measured = DecodeMeasured(bytes);
  EXPECT_EQ(*measured.value, EncodableValue(EncodableList{NestedLists(999, EncodableValue()), 1.5, "after"}));
  EXPECT_EQ(measured.errors, kTooDeep);
}

TEST(HostileMessageTest, ListTooDeepThatIsCutShortEndsWithTheValueThatFails) {
  const Measured measured = DecodeMeasured(Join({Repeat(1000, {12, 1}), {12, 254, 255, 255, 1, 1}}));
  EXPECT_EQ(*measured.value, NestedLists(1000, EncodableValue()));
  EXPECT_EQ(measured.errors, std::string(kTooDeep) + kInvalidRead);
}

TEST(HostileMessageTest, EqualKeysThatNestDeepAreToldApartToTheEnd) {
  const Bytes key = Join({Repeat(500, {12, 1}), {0}});
  const Measured measured = DecodeMeasured(Join({{13, 2}, key, {1}, key, {2}}));
  const auto& map = std::get<EncodableMap>(*measured.value);
  ASSERT_EQ(map.size(), 1u);
  EXPECT_EQ(map.begin()->second, EncodableValue(true));
  EXPECT_EQ(measured.errors, "");
}

struct NestCase {
  const char* name;
  Bytes opening;  // of each list or map
  Bytes closing;
};

class HostileNestTest : public ::testing::TestWithParam<NestCase> {
 protected:
  static constexpr size_t kDepth = 100000;

  /// A list of the nest and of "after".
  static Bytes Message() {
    return Join({{12, 2},
                 Repeat(kDepth, GetParam().opening),
                 {0},
                 Repeat(kDepth, GetParam().closing),
                 {7, 5, 'a', 'f', 't', 'e', 'r'}});
  }
};

TEST_P(HostileNestTest, HundredThousandDeepIsCutAtTheLimitAndWhatFollowsIsRead) {
  const Bytes bytes = Message();
  Measured measured;
  ASSERT_NO_THROW(measured = DecodeMeasured(bytes));
  const auto& list = std::get<EncodableList>(*measured.value);
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(DepthOf(list[0]), StandardCodecSerializer::kMaxNesting - 1);  // in the list around it
  EXPECT_EQ(list[1], EncodableValue("after"));
  EXPECT_EQ(measured.errors, kTooDeep);
  EXPECT_LE(measured.peak, FairPeak(bytes));
}

TEST_P(HostileNestTest, PrefixesNeitherCrashNorThrow) {
  const Bytes bytes = Message();
  for (size_t size = 1; size < bytes.size(); size += bytes.size() / 50) {
    SCOPED_TRACE(size);
    EXPECT_NO_THROW(DecodeMeasured(Prefix(bytes, size)));
  }
}

INSTANTIATE_TEST_SUITE_P(Nests, HostileNestTest,
                         ::testing::Values(NestCase{"Lists", {12, 1}, {}}, NestCase{"MapsAsValues", {13, 1, 0}, {}},
                                           NestCase{"MapsAsKeys", {13, 1}, {0}},
                                           NestCase{"MapsWithPaddedKeys", {13, 1, 0, 12, 1}, {}}),
                         CaseName());

}  // namespace
}  // namespace client_wrapper_test
