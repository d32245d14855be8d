// Method calls and their envelopes as message bytes.

#include "flutter/standard_method_codec.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "message_bytes.h"
#include "recording_result.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Bytes kSuccessOfOne = {0, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F};
const char kNameIsNoString[] = "Invalid method call; method name is not a string.\n";

const StandardMethodCodec& Codec() { return StandardMethodCodec::GetInstance(); }

std::unique_ptr<MethodCall<>> DecodeCall(const Bytes& bytes) {
  return Codec().DecodeMethodCall(bytes.data(), bytes.size());
}

std::unique_ptr<EncodableValue> Owned(EncodableValue value) {
  return std::make_unique<EncodableValue>(std::move(value));
}

/// What a response envelope answers a result with.
std::vector<std::string> AnswersOf(const Bytes& envelope) {
  RecordingResult result;
  EXPECT_TRUE(Codec().DecodeAndProcessResponseEnvelope(envelope.data(), envelope.size(), &result));
  return result.answers();
}

// ---- Calls --------------------------------------------------------------------------------------

TEST(MethodCallTest, WithoutArgumentsTheyAreANullPointer) {
  static_assert(std::has_virtual_destructor_v<MethodCall<>>);
  const MethodCall<> call("go", nullptr);
  EXPECT_EQ(call.method_name(), "go");
  EXPECT_EQ(call.arguments(), nullptr);
}

TEST(MethodCallTest, OwnsItsArguments) {
  const MethodCall<> call("go", Owned("far"));
  EXPECT_EQ(*call.arguments(), EncodableValue("far"));
}

TEST(StandardMethodCodecTest, CallEncodesItsNameThenItsArgumentsOrANull) {
  EXPECT_EQ(*Codec().EncodeMethodCall(MethodCall<>("go", Owned(int32_t{5}))), (Bytes{7, 2, 'g', 'o', 3, 5, 0, 0, 0}));
  EXPECT_EQ(*Codec().EncodeMethodCall(MethodCall<>("go", nullptr)), (Bytes{7, 2, 'g', 'o', 0}));
}

TEST(StandardMethodCodecTest, CallDecodesNameAndArguments) {
  const auto call = DecodeCall({7, 2, 'g', 'o', 12, 2, 1, 7, 1, 'a'});
  ASSERT_NE(call, nullptr);
  EXPECT_EQ(call->method_name(), "go");
  EXPECT_EQ(*call->arguments(), EncodableValue(EncodableList{EncodableValue(true), EncodableValue("a")}));
}

TEST(StandardMethodCodecTest, CallWithNullArgumentsOrNoneDecodesToANullValue) {
  for (const Bytes& bytes : {Bytes{7, 2, 'g', 'o', 0}, Bytes{7, 2, 'g', 'o'}}) {
    std::unique_ptr<MethodCall<>> call;
    EXPECT_EQ(StderrOf([&] { call = DecodeCall(bytes); }), bytes.size() == 5 ? "" : kInvalidRead);
    ASSERT_NE(call, nullptr);
    ASSERT_NE(call->arguments(), nullptr);
    EXPECT_TRUE(call->arguments()->IsNull());
  }
}

TEST(StandardMethodCodecTest, CallAlignsItsArgumentsFromItsFirstByte) {
  const Bytes bytes = {7, 1, 'g', 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F};
  EXPECT_EQ(*Codec().EncodeMethodCall(MethodCall<>("g", Owned(1.0))), bytes);
  EXPECT_EQ(*DecodeCall(bytes)->arguments(), EncodableValue(1.0));
}

TEST(StandardMethodCodecTest, CallWhoseNameIsNoStringDecodesToNothingWithALine) {
  const Bytes names[] = {{0},          {1},          {3, 1, 0, 0, 0}, {4, 1, 0, 0, 0, 0, 0, 0, 0},
                         {8, 1, 'a'},  {12, 0},      {13, 0},         {6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
                         {9, 0, 0, 0}, {14, 0, 0, 0}};
  for (const Bytes& name : names) {
    SCOPED_TRACE(::testing::PrintToString(name));
    std::unique_ptr<MethodCall<>> call;
    EXPECT_EQ(StderrOf([&] { call = DecodeCall(Join({name, {0}})); }), kNameIsNoString);
    EXPECT_EQ(call, nullptr);
  }
}

TEST(StandardMethodCodecTest, CallOfNoBytesDecodesToNothingWithTwoLines) {
  std::unique_ptr<MethodCall<>> call;
  EXPECT_EQ(StderrOf([&] { call = Codec().DecodeMethodCall(nullptr, 0); }),
            std::string(kInvalidRead) + kNameIsNoString);
  EXPECT_EQ(call, nullptr);
}

TEST(StandardMethodCodecTest, EveryPrefixOfACallDecodesWithoutThrowing) {
  const Bytes bytes =
      *Codec().EncodeMethodCall(MethodCall<>("go", Owned(EncodableList{EncodableValue(1.0), EncodableValue("far")})));
  for (size_t size = 0; size < bytes.size(); ++size) {
    SCOPED_TRACE(size);
    std::unique_ptr<MethodCall<>> call;
    std::string errors;
    ASSERT_NO_THROW(errors = StderrOf([&] { call = DecodeCall(Prefix(bytes, size)); }));
    EXPECT_NE(errors, "");
    EXPECT_EQ(call == nullptr, size == 0);  // with one byte the name is a string, though an empty one
  }
}

// ---- Encoding answers ---------------------------------------------------------------------------

TEST(StandardMethodCodecTest, SuccessEncodesAZeroThenTheValueOrANull) {
  const EncodableValue text("a"), number(1.0);
  EXPECT_EQ(*Codec().EncodeSuccessEnvelope(&text), (Bytes{0, 7, 1, 'a'}));
  EXPECT_EQ(*Codec().EncodeSuccessEnvelope(), (Bytes{0, 0}));
  // Aligned from the envelope's first byte.
  EXPECT_EQ(*Codec().EncodeSuccessEnvelope(&number), kSuccessOfOne);
}

TEST(StandardMethodCodecTest, ErrorEncodesCodeMessageAndDetailsOrNulls) {
  const EncodableValue number(int32_t{5}), yes(true);
  EXPECT_EQ(*Codec().EncodeErrorEnvelope("E"), (Bytes{1, 7, 1, 'E', 0, 0}));
  EXPECT_EQ(*Codec().EncodeErrorEnvelope("E", "", nullptr), (Bytes{1, 7, 1, 'E', 0, 0}));
  EXPECT_EQ(*Codec().EncodeErrorEnvelope("E", "m", &number), (Bytes{1, 7, 1, 'E', 7, 1, 'm', 3, 5, 0, 0, 0}));
  EXPECT_EQ(*Codec().EncodeErrorEnvelope("E", "", &yes), (Bytes{1, 7, 1, 'E', 0, 1}));
}

// ---- Decoding answers ---------------------------------------------------------------------------

TEST(StandardMethodCodecTest, SuccessEnvelopeAnswersWithItsValueOrWithout) {
  EXPECT_THAT(AnswersOf({0, 7, 1, 'a'}), ElementsAre("success " + ::testing::PrintToString(EncodableValue("a"))));
  EXPECT_THAT(AnswersOf(kSuccessOfOne), ElementsAre("success " + ::testing::PrintToString(EncodableValue(1.0))));
  EXPECT_THAT(AnswersOf({0, 0}), ElementsAre("success"));
}

TEST(StandardMethodCodecTest, ErrorEnvelopeAnswersWithCodeMessageAndDetailsOrWithout) {
  EXPECT_THAT(AnswersOf({1, 7, 1, 'E', 7, 1, 'm', 1}),
              ElementsAre("error E, m, " + ::testing::PrintToString(EncodableValue(true))));
  EXPECT_THAT(AnswersOf({1, 7, 1, 'E', 7, 1, 'm', 0}), ElementsAre("error E, m"));
  EXPECT_THAT(AnswersOf({1, 7, 1, 'E', 0, 0}), ElementsAre("error E, "));
}

TEST(StandardMethodCodecTest, EnvelopeOfAnyOtherFirstByteIsAnError) {
  for (const uint8_t first : {uint8_t{2}, uint8_t{7}, uint8_t{255}}) {
    EXPECT_THAT(AnswersOf({first, 7, 1, 'E', 0, 0}), ElementsAre("error E, ")) << int{first};
  }
}

TEST(StandardMethodCodecTest, ErrorEnvelopeWhoseCodeIsNoStringThrowsAndAnswersNothing) {
  const Bytes envelopes[] = {{1, 0, 0, 0}, {1, 3, 1, 0, 0, 0, 0, 0}, {1, 0, 7, 1, 'm', 1}};
  for (const Bytes& envelope : envelopes) {
    RecordingResult result;
    EXPECT_THROW(Codec().DecodeAndProcessResponseEnvelope(envelope.data(), envelope.size(), &result),
                 std::bad_variant_access);
    EXPECT_THAT(result.answers(), IsEmpty());
  }
}

TEST(StandardMethodCodecTest, ErrorEnvelopeWhoseMessageIsNeitherStringNorNullThrowsAndAnswersNothing) {
  const Bytes messages[] = {{1}, {3, 1, 0, 0, 0}, {8, 1, 'm'}, {12, 0}};
  for (const Bytes& message : messages) {
    SCOPED_TRACE(::testing::PrintToString(message));
    for (const uint8_t details : {uint8_t{0}, uint8_t{1}}) {
      const Bytes envelope = Join({{1, 7, 1, 'E'}, message, {details}});
      RecordingResult result;
      EXPECT_THROW(Codec().DecodeAndProcessResponseEnvelope(envelope.data(), envelope.size(), &result),
                   std::bad_variant_access);
      EXPECT_THAT(result.answers(), IsEmpty());
    }
  }
}

TEST(StandardMethodCodecTest, EveryPrefixOfASuccessEnvelopeAnswersWithALine) {
  const EncodableValue value(EncodableList{EncodableValue(1.0), EncodableValue("far")});
  const Bytes bytes = *Codec().EncodeSuccessEnvelope(&value);
  for (size_t size = 0; size < bytes.size(); ++size) {
    SCOPED_TRACE(size);
    std::vector<std::string> answers;
    EXPECT_NE(StderrOf([&] { answers = AnswersOf(Prefix(bytes, size)); }), "");
    EXPECT_EQ(answers.size(), 1u);
  }
}

TEST(StandardMethodCodecTest, EveryPrefixOfAnErrorEnvelopeAnswersOnceItHasACode) {
  const EncodableValue details("far");
  const Bytes bytes = *Codec().EncodeErrorEnvelope("E", "m", &details);
  EXPECT_THROW(StderrOf([&] { AnswersOf(Prefix(bytes, 1)); }), std::bad_variant_access);
  for (size_t size = 2; size < bytes.size(); ++size) {
    SCOPED_TRACE(size);
    std::vector<std::string> answers;
    EXPECT_NE(StderrOf([&] { answers = AnswersOf(Prefix(bytes, size)); }), "");
    EXPECT_EQ(answers.size(), 1u);
  }
}

// ---- Instances ----------------------------------------------------------------------------------

TEST(StandardMethodCodecTest, IsTheSameObjectEachTime) {
  static_assert(!std::is_constructible_v<StandardMethodCodec, const StandardCodecSerializer*>);
  EXPECT_EQ(&StandardMethodCodec::GetInstance(), &StandardMethodCodec::GetInstance());
}

TEST(StandardMethodCodecTest, NullSerializerMeansTheStandardOne) {
  EXPECT_EQ(&StandardMethodCodec::GetInstance(nullptr),
            &StandardMethodCodec::GetInstance(&StandardCodecSerializer::GetInstance()));
}

}  // namespace
}  // namespace client_wrapper_test
