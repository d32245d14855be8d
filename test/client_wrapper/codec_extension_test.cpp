// An application's own serializer: its types among the codec's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "flutter/standard_codec_serializer.h"
#include "flutter/standard_message_codec.h"
#include "flutter/standard_method_codec.h"
#include "message_bytes.h"
#include "recording_result.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;
using ::testing::ElementsAre;

/// A type of an application's own.
struct Track {
  std::string name;
  std::vector<float> points;
};

/// Carries a Track: type byte 128, size and bytes of the name, the points as a float list does.
class TrackSerializer : public StandardCodecSerializer {
 public:
  void WriteValue(const EncodableValue& value, ByteStreamWriter* stream) const override {
    const auto* const custom = std::get_if<CustomEncodableValue>(&value);
    if (custom == nullptr || custom->type() != typeid(Track)) {
      StandardCodecSerializer::WriteValue(value, stream);
      return;
    }
    const auto& track = std::any_cast<const Track&>(custom->object());
    stream->WriteByte(kTrackType);
    WriteSize(track.name.size(), stream);
    stream->WriteBytes(reinterpret_cast<const uint8_t*>(track.name.data()), track.name.size());
    WriteVector(track.points, stream);
  }

  EncodableValue ReadValueOfType(uint8_t type, ByteStreamReader* stream) const override {
    if (type != kTrackType) return StandardCodecSerializer::ReadValueOfType(type, stream);
    Track track;
    track.name.resize(ReadSize(stream));
    stream->ReadBytes(reinterpret_cast<uint8_t*>(track.name.data()), track.name.size());
    track.points = ReadVector<float>(stream);
    return EncodableValue(CustomEncodableValue(track));
  }

 private:
  static constexpr uint8_t kTrackType = 128;
};

const TrackSerializer& Serializer() {
  static const TrackSerializer serializer;
  return serializer;
}

const Bytes kTrackBytes = {128, 2, 'u', 'p', 1, 0, 0, 0, 0, 0, 0x80, 0x3F};

EncodableValue TrackValue() { return EncodableValue(CustomEncodableValue(Track{"up", {1.0f}})); }

// Custom values equal only themselves, so what they hold is looked at.
void ExpectTrack(const EncodableValue& value) {
  const auto& track = std::any_cast<const Track&>(std::get<CustomEncodableValue>(value).object());
  EXPECT_EQ(track.name, "up");
  EXPECT_EQ(track.points, std::vector<float>{1.0f});
}

TEST(CodecExtensionTest, CustomTypeEncodesByItsSerializerAndBack) {
  const auto& codec = StandardMessageCodec::GetInstance(&Serializer());
  Bytes bytes;
  EXPECT_EQ(StderrOf([&] { bytes = *codec.EncodeMessage(TrackValue()); }), "");
  EXPECT_EQ(bytes, kTrackBytes);
  ExpectTrack(*codec.DecodeMessage(kTrackBytes));
}

TEST(CodecExtensionTest, CustomTypeNestsInListsAndMaps) {
  const auto& codec = StandardMessageCodec::GetInstance(&Serializer());
  const EncodableValue list(
      EncodableList{EncodableValue(EncodableMap{{EncodableValue("a"), TrackValue()}}), EncodableValue(true)});
  const Bytes bytes = *codec.EncodeMessage(list);
  EXPECT_EQ(bytes, (Bytes{12, 2, 13, 1, 7, 1, 'a', 128, 2, 'u', 'p', 1, 0, 0, 0x80, 0x3F, 1}));

  const auto decoded = std::get<EncodableList>(*codec.DecodeMessage(bytes));
  ASSERT_EQ(decoded.size(), 2u);
  ExpectTrack(std::get<EncodableMap>(decoded[0]).at(EncodableValue("a")));
  EXPECT_EQ(decoded[1], EncodableValue(true));
}

TEST(CodecExtensionTest, OtherTypesStayAsTheyAre) {
  const auto& codec = StandardMessageCodec::GetInstance(&Serializer());
  EXPECT_EQ(*codec.EncodeMessage(EncodableValue("a")), (Bytes{7, 1, 'a'}));
  EXPECT_EQ(*codec.DecodeMessage({7, 1, 'a'}), EncodableValue("a"));
  EXPECT_EQ(StderrOf([&] { EXPECT_EQ(*codec.DecodeMessage({129}), EncodableValue()); }),
            "Unknown type in StandardCodecSerializer::ReadValueOfType: 129\n");
}

TEST(CodecExtensionTest, MethodCodecCarriesTheCustomTypeInCalls) {
  const auto& codec = StandardMethodCodec::GetInstance(&Serializer());
  const EncodableValue track = TrackValue();
  const Bytes call_bytes = *codec.EncodeMethodCall(MethodCall<>("go", std::make_unique<EncodableValue>(track)));
  EXPECT_EQ(call_bytes, (Bytes{7, 2, 'g', 'o', 128, 2, 'u', 'p', 1, 0, 0, 0, 0, 0, 0x80, 0x3F}));

  const auto call = codec.DecodeMethodCall(call_bytes.data(), call_bytes.size());
  ASSERT_NE(call, nullptr);
  ExpectTrack(*call->arguments());
}

TEST(CodecExtensionTest, MethodCodecCarriesTheCustomTypeInAnswers) {
  const auto& codec = StandardMethodCodec::GetInstance(&Serializer());
  const EncodableValue track = TrackValue();
  const Bytes success = *codec.EncodeSuccessEnvelope(&track);
  EXPECT_EQ(success, (Bytes{0, 128, 2, 'u', 'p', 1, 0, 0, 0, 0, 0x80, 0x3F}));
  const Bytes error = *codec.EncodeErrorEnvelope("E", "", &track);
  EXPECT_EQ(error, (Bytes{1, 7, 1, 'E', 0, 128, 2, 'u', 'p', 1, 0, 0, 0, 0, 0x80, 0x3F}));

  RecordingResult result;
  codec.DecodeAndProcessResponseEnvelope(success.data(), success.size(), &result);
  codec.DecodeAndProcessResponseEnvelope(error.data(), error.size(), &result);
  const std::string custom = ::testing::PrintToString(track);
  EXPECT_THAT(result.answers(), ElementsAre("success " + custom, "error E, , " + custom));
}

TEST(CodecExtensionTest, EachSerializerHasItsOwnCodecAndAlwaysTheSame) {
  static const TrackSerializer other;  // lives as long as its codecs
  EXPECT_EQ(&StandardMessageCodec::GetInstance(&Serializer()), &StandardMessageCodec::GetInstance(&Serializer()));
  EXPECT_NE(&StandardMessageCodec::GetInstance(&Serializer()), &StandardMessageCodec::GetInstance(&other));
  EXPECT_NE(&StandardMessageCodec::GetInstance(&Serializer()), &StandardMessageCodec::GetInstance());
  EXPECT_EQ(&StandardMethodCodec::GetInstance(&Serializer()), &StandardMethodCodec::GetInstance(&Serializer()));
  EXPECT_NE(&StandardMethodCodec::GetInstance(&Serializer()), &StandardMethodCodec::GetInstance(&other));
  EXPECT_NE(&StandardMethodCodec::GetInstance(&Serializer()), &StandardMethodCodec::GetInstance());
}

}  // namespace
}  // namespace client_wrapper_test
