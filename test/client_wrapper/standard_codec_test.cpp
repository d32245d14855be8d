// Values as message bytes, to the byte, and messages that are cut short or unknown.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>

#include "client_wrapper/byte_buffer_streams.h"
#include "flutter/standard_codec_serializer.h"
#include "flutter/standard_message_codec.h"
#include "message_bytes.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;

const char kUnhandledCustomType[] =
    "Unhandled custom type in StandardCodecSerializer::WriteValue. Custom types require codec extensions.\n";

EncodableValue List(EncodableList elements) { return EncodableValue(std::move(elements)); }
EncodableValue Map(EncodableMap entries) { return EncodableValue(std::move(entries)); }

std::string UnknownType(int type) {
  return "Unknown type in StandardCodecSerializer::ReadValueOfType: " + std::to_string(type) + "\n";
}

// ---- Every alternative, to the byte -------------------------------------------------------------

struct GoldenCase {
  const char* name;
  EncodableValue value;
  Bytes bytes;
};

std::vector<GoldenCase> GoldenCases() {
  return {
      {"Null", EncodableValue(), {0}},
      {"True", true, {1}},
      {"False", false, {2}},
      {"Int32", int32_t{0x12345678}, {3, 0x78, 0x56, 0x34, 0x12}},
      {"Int32Negative", int32_t{-2}, {3, 0xFE, 0xFF, 0xFF, 0xFF}},
      {"Int64", int64_t{0x123456789ABCDEF0}, {4, 0xF0, 0xDE, 0xBC, 0x9A, 0x78, 0x56, 0x34, 0x12}},
      {"Int64Small", int64_t{1}, {4, 1, 0, 0, 0, 0, 0, 0, 0}},
      {"Double", 1.0, {6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F}},
      {"String", "h\xC3\xA9", {7, 3, 'h', 0xC3, 0xA9}},
      {"StringWithAZeroByte", std::string("a\0b", 3), {7, 3, 'a', 0, 'b'}},
      {"StringEmpty", "", {7, 0}},
      {"Uint8List", std::vector<uint8_t>{1, 254, 255}, {8, 3, 1, 254, 255}},
      {"Uint8ListEmpty", std::vector<uint8_t>{}, {8, 0}},
      {"Int32List", std::vector<int32_t>{1, -2}, {9, 2, 0, 0, 1, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF}},
      {"Int32ListEmpty", std::vector<int32_t>{}, {9, 0, 0, 0}},
      {"Int64List",
       std::vector<int64_t>{-2},
       {10, 1, 0, 0, 0, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
      {"Int64ListEmpty", std::vector<int64_t>{}, {10, 0, 0, 0, 0, 0, 0, 0}},
      {"DoubleList", std::vector<double>{-2.5}, {11, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x04, 0xC0}},
      {"DoubleListEmpty", std::vector<double>{}, {11, 0, 0, 0, 0, 0, 0, 0}},
      {"List", List({{}, true, "a"}), {12, 3, 0, 1, 7, 1, 'a'}},
      {"ListEmpty", List({}), {12, 0}},
      {"ListInAList", List({List({true}), false}), {12, 2, 12, 1, 1, 2}},
      {"Map", Map({{"x", 1}, {"a", 2}}), {13, 2, 7, 1, 'a', 3, 2, 0, 0, 0, 7, 1, 'x', 3, 1, 0, 0, 0}},
      {"MapEmpty", Map({}), {13, 0}},
      {"MapInAMap", Map({{true, Map({{false, {}}})}}), {13, 1, 1, 13, 1, 2, 0}},
      {"FloatList", std::vector<float>{1.0f, -2.0f}, {14, 2, 0, 0, 0, 0, 0x80, 0x3F, 0, 0, 0, 0xC0}},
      {"FloatListEmpty", std::vector<float>{}, {14, 0, 0, 0}},
  };
}

class StandardCodecGoldenTest : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(StandardCodecGoldenTest, EncodesToTheseBytesAndBack) {
  EXPECT_EQ(Encode(GetParam().value), GetParam().bytes);
  const Decoded decoded = Decode(GetParam().bytes);
  EXPECT_EQ(decoded.value, GetParam().value);
  EXPECT_EQ(decoded.errors, "");
}

INSTANTIATE_TEST_SUITE_P(Values, StandardCodecGoldenTest, ::testing::ValuesIn(GoldenCases()), CaseName());

TEST(StandardCodecTest, MapEncodesItsEntriesInKeyOrder) {
  const EncodableValue map = Map({{"x", 1}, {"a", 2}, {int64_t{9}, {}}, {int32_t{9}, {}}, {{}, {}}});
  EXPECT_EQ(Encode(map), Join({{13, 5},
                               {0, 0},                          // null first
                               {3, 9, 0, 0, 0, 0},              // then the int32
                               {4, 9, 0, 0, 0, 0, 0, 0, 0, 0},  // the int64
                               {7, 1, 'a', 3, 2, 0, 0, 0},      // and the strings
                               {7, 1, 'x', 3, 1, 0, 0, 0}}));
}

TEST(StandardCodecTest, MapReadsItsEntriesInAnyOrder) {
  const Decoded decoded = Decode({13, 2, 7, 1, 'x', 1, 7, 1, 'a', 2});
  EXPECT_EQ(decoded.value, Map({{"a", false}, {"x", true}}));
}

TEST(StandardCodecTest, RepeatedKeyKeepsItsFirstValue) {
  const Decoded decoded = Decode({13, 3, 7, 1, 'a', 1, 7, 1, 'b', 0, 7, 1, 'a', 2});
  EXPECT_EQ(decoded.value, Map({{"a", true}, {"b", {}}}));
  EXPECT_EQ(decoded.errors, "");
}

TEST(StandardCodecTest, TypeByteFiveReadsAsAString) {
  const Decoded decoded = Decode({5, 3, '1', '2', 'f'});
  EXPECT_EQ(decoded.value, EncodableValue("12f"));
  EXPECT_EQ(decoded.errors, "");
}

TEST(StandardCodecTest, BytesAfterTheValueStayUnread) {
  const Decoded decoded = Decode({1, 200, 200});
  EXPECT_EQ(decoded.value, EncodableValue(true));
  EXPECT_EQ(decoded.errors, "");
}

// ---- Sizes --------------------------------------------------------------------------------------

struct SizePrefix {
  size_t size;
  Bytes bytes;
};

std::vector<SizePrefix> SizePrefixes() {
  return {{0, {0}}, {253, {253}}, {254, {254, 254, 0}}, {65535, {254, 255, 255}}, {65536, {255, 0, 0, 1, 0}}};
}

struct SizedKind {
  const char* name;
  uint8_t type;
  std::function<EncodableValue(size_t size)> make;
  size_t alignment;
  Bytes element;
};

template <typename Element>
SizedKind ListOf(const char* name, uint8_t type, Element element, const Bytes& bytes) {
  return {name, type, [element](size_t size) { return std::vector<Element>(size, element); }, bytes.size(), bytes};
}

std::vector<SizedKind> SizedKinds() {
  return {
      {"String", 7, [](size_t size) { return std::string(size, 'a'); }, 1, {'a'}},
      ListOf<uint8_t>("Uint8List", 8, 9, {9}),
      ListOf<int32_t>("Int32List", 9, 9, {9, 0, 0, 0}),
      ListOf<int64_t>("Int64List", 10, 9, {9, 0, 0, 0, 0, 0, 0, 0}),
      ListOf<double>("DoubleList", 11, 1.0, {0, 0, 0, 0, 0, 0, 0xF0, 0x3F}),
      ListOf<EncodableValue>("List", 12, true, {1}),
      ListOf<float>("FloatList", 14, 1.0f, {0, 0, 0x80, 0x3F}),
  };
}

class StandardCodecSizeTest : public ::testing::TestWithParam<SizedKind> {};

TEST_P(StandardCodecSizeTest, SizeTakesOneThreeOrFiveBytes) {
  const SizedKind& kind = GetParam();
  for (const SizePrefix& prefix : SizePrefixes()) {
    SCOPED_TRACE(prefix.size);
    Bytes expected = Join({{kind.type}, prefix.bytes});
    while (expected.size() % kind.alignment != 0) expected.push_back(0);
    expected = Join({expected, Repeat(prefix.size, kind.element)});

    EXPECT_TRUE(Encode(kind.make(prefix.size)) == expected);
    const Decoded decoded = Decode(expected);
    EXPECT_TRUE(decoded.value == kind.make(prefix.size));
    EXPECT_EQ(decoded.errors, "");
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, StandardCodecSizeTest, ::testing::ValuesIn(SizedKinds()), CaseName());

TEST(StandardCodecTest, MapSizeTakesOneThreeOrFiveBytes) {
  for (const SizePrefix& prefix : SizePrefixes()) {
    SCOPED_TRACE(prefix.size);
    EncodableMap map;
    Bytes expected = Join({{13}, prefix.bytes});
    for (size_t i = 0; i < prefix.size; ++i) {
      map.emplace(static_cast<int32_t>(i), true);
      expected.insert(expected.end(), {3, static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 0, 0, 1});
    }
    EXPECT_TRUE(Encode(Map(map)) == expected);
    const Decoded decoded = Decode(expected);
    EXPECT_TRUE(decoded.value == Map(map));
    EXPECT_EQ(decoded.errors, "");
  }
}

TEST(StandardCodecTest, SizeInALongerFormThanItNeedsReads) {
  EXPECT_EQ(Decode({7, 254, 1, 0, 'a'}).value, EncodableValue("a"));
  EXPECT_EQ(Decode({7, 255, 1, 0, 0, 0, 'a'}).value, EncodableValue("a"));
}

// ---- Alignment ----------------------------------------------------------------------------------

TEST(StandardCodecTest, DoubleAsSecondElementStartsAtTheNextMultipleOfEight) {
  const Bytes bytes = {12, 2, 1, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F};
  EXPECT_EQ(Encode(List({true, 1.0})), bytes);
  EXPECT_EQ(Decode(bytes).value, List({true, 1.0}));
}

TEST(StandardCodecTest, ValueThatIsAlignedAlreadyGetsNoPadding) {
  const Bytes bytes = {12, 2, 7, 3, 'a', 'b', 'c', 6, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F};
  EXPECT_EQ(Encode(List({"abc", 1.0})), bytes);
  EXPECT_EQ(Decode(bytes).value, List({"abc", 1.0}));
}

// After strings of every length up to 8, that is at every position modulo 8.
TEST(StandardCodecTest, AlignedValuesReadBackAtEveryPosition) {
  const std::vector<EncodableValue> aligned = {1.5, std::vector<int32_t>{5}, std::vector<int64_t>{5},
                                               std::vector<double>{1.5}, std::vector<float>{1.5f}};
  for (size_t length = 0; length <= 8; ++length) {
    for (const EncodableValue& value : aligned) {
      SCOPED_TRACE(::testing::PrintToString(length) + ", " + ::testing::PrintToString(value));
      const size_t element_size = value.index() == 7 || value.index() == 13 ? 4 : 8;
      const EncodableValue list = List({std::string(length, 'a'), value});
      const Bytes bytes = Encode(list);
      EXPECT_EQ(bytes.size() % element_size, 0u);
      const Decoded decoded = Decode(bytes);
      EXPECT_EQ(decoded.value, list);
      EXPECT_EQ(decoded.errors, "");
    }
  }
}

TEST(StandardCodecTest, Uint8ListGetsNoAlignmentAndInt32ListAlignsToFour) {
  EXPECT_EQ(Encode(std::vector<uint8_t>{5}), (Bytes{8, 1, 5}));
  EXPECT_EQ(Encode(List({true, std::vector<int32_t>{5}})), (Bytes{12, 2, 1, 9, 1, 0, 0, 0, 5, 0, 0, 0}));
}

TEST(StandardCodecTest, PaddingMayHoldAnything) {
  EXPECT_EQ(Decode({9, 1, 77, 77, 5, 0, 0, 0}).value, EncodableValue(std::vector<int32_t>{5}));
}

// ---- Custom values ------------------------------------------------------------------------------

TEST(StandardCodecTest, CustomValueEncodesAsABareNullWithAnErrorLine) {
  Bytes bytes;
  EXPECT_EQ(StderrOf([&] { bytes = Encode(CustomEncodableValue(1)); }), kUnhandledCustomType);
  EXPECT_EQ(bytes, Bytes{0});
}

TEST(StandardCodecTest, ValuesAfterACustomValueAreEncodedAsEver) {
  Bytes bytes;
  EXPECT_EQ(StderrOf([&] { bytes = Encode(List({CustomEncodableValue(1), true})); }), kUnhandledCustomType);
  EXPECT_EQ(bytes, (Bytes{12, 2, 0, 1}));
}

// ---- Unknown types ------------------------------------------------------------------------------

TEST(StandardCodecTest, ValueLostToAnExceptionEncodesAsABareNull) {
  EXPECT_EQ(Encode(List({Valueless(), true})), (Bytes{12, 2, 0, 1}));
}

TEST(StandardCodecTest, UnknownTypeGivesNullAndALineWithItsNumber) {
  const Decoded decoded = Decode({200});
  EXPECT_EQ(decoded.value, EncodableValue());
  EXPECT_EQ(decoded.errors, "Unknown type in StandardCodecSerializer::ReadValueOfType: 200\n");
}

TEST(StandardCodecTest, EveryTypeFromFifteenOnIsUnknown) {
  Bytes bytes = {12, 241};
  std::string lines;
  for (int type = 15; type <= 255; ++type) {
    bytes.push_back(static_cast<uint8_t>(type));
    lines += UnknownType(type);
  }
  const Decoded decoded = Decode(bytes);
  EXPECT_EQ(decoded.value, List(EncodableList(241)));
  EXPECT_EQ(decoded.errors, lines);
}

TEST(StandardCodecTest, ValuesAfterAnUnknownTypeAreRead) {
  const Decoded decoded = Decode({12, 2, 99, 7, 1, 'a'});
  EXPECT_EQ(decoded.value, List({{}, "a"}));
  EXPECT_EQ(decoded.errors, UnknownType(99));
}

// ---- Messages cut short -------------------------------------------------------------------------

struct CutCase {
  const char* name;
  Bytes bytes;
  EncodableValue value;
  size_t failed_reads;
};

std::vector<CutCase> CutCases() {
  return {
      {"NoBytes", {}, {}, 1},
      {"Int32", {3, 1, 2}, int32_t{0}, 1},
      {"Int64", {4, 1, 2, 3, 4, 5, 6, 7}, int64_t{0}, 1},
      {"DoubleBeforeItsPadding", {6}, 0.0, 1},
      {"DoubleAfterItsPadding", {6, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3}, 0.0, 1},
      {"StringWithoutItsSize", {7}, "", 1},
      {"String", {7, 3, 'a', 'b'}, "", 1},
      {"StringAsTypeFive", {5, 3, 'a', 'b'}, "", 1},
      {"StringWithHalfOfATwoByteSize", {7, 254, 1}, "", 1},
      {"StringWithHalfOfAFourByteSize", {7, 255, 1, 0}, "", 1},
      {"Uint8List", {8, 3, 1, 2}, std::vector<uint8_t>{}, 1},
      {"Int32List", {9, 2, 0, 0, 1, 0, 0, 0, 2, 0, 0}, std::vector<int32_t>{}, 1},
      {"Int32ListWithoutItsPadding", {9, 0}, std::vector<int32_t>{}, 1},
      {"Int64List", {10, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0}, std::vector<int64_t>{}, 1},
      {"DoubleList", {11, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0}, std::vector<double>{}, 1},
      {"FloatList", {14, 1, 0, 0, 1, 0, 0}, std::vector<float>{}, 1},
      {"ListWithoutItsSize", {12}, List({}), 1},
      {"MapWithoutItsSize", {13}, Map({}), 1},
      // The failed read takes nothing, so that the bytes there are read as the elements that follow.
      {"ListCutInsideAnElement", {12, 200, 3, 1, 2}, List({int32_t{0}, true, false, {}}), 2},
      {"ListsInAList", {12, 3, 12, 2, 1}, List({List({true, {}}), {}}), 2},
      {"MapBeforeAKey", {13, 9, 7, 1, 'a', 1}, Map({{"a", true}, {{}, {}}}), 1},
      {"MapBeforeAValue", {13, 9, 7, 1, 'a'}, Map({{"a", {}}}), 1},
      {"MapInsideAKey", {13, 9, 3, 1}, Map({{int32_t{0}, true}, {{}, {}}}), 2},
      {"MapsInAMap", {13, 9, 1, 13, 9, 2}, Map({{true, Map({{false, {}}})}, {{}, {}}}), 2},
  };
}

class StandardCodecCutShortTest : public ::testing::TestWithParam<CutCase> {};

TEST_P(StandardCodecCutShortTest, EachFailedReadGivesOneLineAndAZeroOrEmptyValue) {
  const Decoded decoded = Decode(GetParam().bytes);
  EXPECT_EQ(decoded.value, GetParam().value);
  EXPECT_EQ(decoded.errors, RepeatLine(GetParam().failed_reads, kInvalidRead));
}

INSTANTIATE_TEST_SUITE_P(Messages, StandardCodecCutShortTest, ::testing::ValuesIn(CutCases()), CaseName());

TEST(StandardCodecTest, ListCutShortEndsWithTheElementThatFails) {
  const Decoded decoded = Decode({12, 100, 3, 1, 0, 0, 0});
  EXPECT_EQ(decoded.value, List({int32_t{1}, {}}));
  EXPECT_EQ(decoded.errors, kInvalidRead);
}

TEST(StandardCodecTest, ListReservesItsCapacityAhead) {
  const EncodableValue hundred = List(EncodableList(100, EncodableValue(true)));
  const Decoded decoded = Decode(Encode(List({hundred, hundred, hundred})));
  const auto& lists = std::get<EncodableList>(decoded.value);
  EXPECT_EQ(lists.capacity(), 3u);
  EXPECT_EQ(std::get<EncodableList>(lists[1]).capacity(), 100u);
}

// One of each alternative that the codec knows, nested and padded. A failed read leaves its bytes to be read
// as values, so those inside strings and numbers are types themselves; the lines of unknown types would have
// no end of forms.
TEST(StandardCodecTest, EveryPrefixOfAMessageDecodesWithInvalidReadsAlone) {
  const EncodableValue everything = List({{},
                                          true,
                                          false,
                                          int32_t{1},
                                          int64_t{2},
                                          3.0,
                                          "\1\2",
                                          std::vector<uint8_t>{1, 2},
                                          std::vector<int32_t>{1, 2},
                                          std::vector<int64_t>{1},
                                          std::vector<double>{3.0},
                                          Map({{"\1", List({true, "\2"})}, {int32_t{1}, Map({{"\3", 2.0}})}}),
                                          std::vector<float>{2.0f, 8.0f},
                                          std::string(300, '\1')});
  const Bytes message = Encode(everything);
  ASSERT_EQ(Decode(message).value, everything);
  for (size_t size = 0; size < message.size(); ++size) {
    SCOPED_TRACE(size);
    std::string errors;
    ASSERT_NO_THROW(errors = Decode(Prefix(message, size)).errors);
    const size_t lines = errors.size() / std::string(kInvalidRead).size();
    EXPECT_GE(lines, 1u);
    EXPECT_EQ(errors, RepeatLine(lines, kInvalidRead));
  }
}

// ---- Streams of other makes ---------------------------------------------------------------------

/// A stream that does no more than it must, and cannot tell how much is left.
class MinimalReader : public ByteStreamReader {
 public:
  explicit MinimalReader(Bytes bytes) : bytes_(std::move(bytes)) {}

  uint8_t ReadByte() override { return bytes_.at(position_++); }
  void ReadBytes(uint8_t* buffer, size_t length) override {
    for (size_t i = 0; i < length; ++i) buffer[i] = ReadByte();
  }
  void ReadAlignment(uint8_t alignment) override {
    while (position_ % alignment != 0) ++position_;
  }

 private:
  Bytes bytes_;
  size_t position_ = 0;
};

TEST(StandardCodecTest, StreamThatCannotTellWhatIsLeftIsReadAllTheSame) {
  const EncodableValue value = List(
      {"text", std::vector<double>{1.0, 2.0}, List({true, List({})}), Map({{"a", Map({{"b", int32_t{1}}})}}), 1.0});
  MinimalReader reader(Encode(value));
  EXPECT_EQ(StandardCodecSerializer::GetInstance().ReadValue(&reader), value);
}

// ---- Instances ----------------------------------------------------------------------------------

TEST(StandardCodecTest, SerializerIsTheSameObjectEachTime) {
  static_assert(std::has_virtual_destructor_v<StandardCodecSerializer>);
  EXPECT_EQ(&StandardCodecSerializer::GetInstance(), &StandardCodecSerializer::GetInstance());
}

TEST(StandardCodecTest, MessageCodecIsTheSameObjectEachTime) {
  static_assert(!std::is_constructible_v<StandardMessageCodec, const StandardCodecSerializer*>);
  static_assert(std::is_base_of_v<MessageCodec<EncodableValue>, StandardMessageCodec>);
  EXPECT_EQ(&StandardMessageCodec::GetInstance(), &StandardMessageCodec::GetInstance());
  EXPECT_EQ(&StandardMessageCodec::GetInstance(nullptr), &StandardMessageCodec::GetInstance());
}

TEST(StandardCodecTest, NullSerializerMeansTheStandardOne) {
  EXPECT_EQ(&StandardMessageCodec::GetInstance(nullptr),
            &StandardMessageCodec::GetInstance(&StandardCodecSerializer::GetInstance()));
}

// A death test, because those come first: the program's first codec must be the one that is made here.
const StandardMessageCodec* g_codec_at_exit = nullptr;

TEST(StandardCodecDeathTest, CodecServesToTheVeryEndOfTheProgram) {
  const auto encode_at_exit = [] {
    std::atexit([] { _exit(*g_codec_at_exit->EncodeMessage(EncodableValue("ab")) == Bytes{7, 2, 'a', 'b'} ? 0 : 1); });
    // After the handler, so that what is destroyed with the program's static objects is gone when it runs.
    g_codec_at_exit = &StandardMessageCodec::GetInstance();
    std::exit(1);
  };
  EXPECT_EXIT(encode_at_exit(), ::testing::ExitedWithCode(0), "");
}

TEST(StandardCodecTest, DecodingAPointerAndASizeReadsNoFurther) {
  const Bytes bytes = {7, 2, 'a', 'b'};
  const auto& codec = StandardMessageCodec::GetInstance();
  EXPECT_EQ(*codec.DecodeMessage(bytes.data(), bytes.size()), EncodableValue("ab"));
  EXPECT_EQ(StderrOf([&] { EXPECT_EQ(*codec.DecodeMessage(bytes.data(), 3), EncodableValue("")); }), kInvalidRead);
}

TEST(StandardCodecTest, ReadValueOfTypeReadsWhatFollowsTheTypeByte) {
  const Bytes bytes = {1, 'a'};
  ByteBufferStreamReader reader(bytes.data(), bytes.size());
  EXPECT_EQ(StandardCodecSerializer::GetInstance().ReadValueOfType(7, &reader), EncodableValue("a"));
}

}  // namespace
}  // namespace client_wrapper_test
