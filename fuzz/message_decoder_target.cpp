// Any bytes for the standard codecs: as a value, as a method call, as a reply's envelope.
//
//   scripts/fuzz.sh 60 message_decoder
//
// An input: a byte that says which of them (see fuzz/message_kind.h), and the message.
//
// What must hold:
//   - no read outside the message, no allocation that its size does not account for, nothing thrown by the decoding of
//     values and calls; an envelope throws std::bad_variant_access where its code or message is no string;
//   - what decodes encodes again, and that decodes to an equal value without an error line, and encodes to the same
//     bytes;
//   - a message is a method call exactly when its first value is a string, which is the call's name;
//   - a value that lies too deep to be read is skipped to the byte at which it would have been read to its end.
//
// Numbers that are no number count as equal when their bits are. Where a map's key holds one, keys are no longer in one
// order: the map that is read back may hold fewer of them, and only the sanitizers watch.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <memory>
#include <utility>
#include <variant>

#include "client_wrapper/byte_buffer_streams.h"
#include "client_wrapper/container_read.h"
#include "flutter/standard_message_codec.h"
#include "flutter/standard_method_codec.h"
#include "fuzz/answer.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/message_kind.h"

namespace {

using flutter::EncodableList;
using flutter::EncodableMap;
using flutter::EncodableValue;
using Bytes = std::vector<uint8_t>;
using MethodCall = flutter::MethodCall<EncodableValue>;

const flutter::StandardMessageCodec& Messages() { return flutter::StandardMessageCodec::GetInstance(); }
const flutter::StandardMethodCodec& Methods() { return flutter::StandardMethodCodec::GetInstance(); }

// ---- Equal values ------------------------------------------------------------------------------------------

bool Same(const EncodableValue& a, const EncodableValue& b);

template <typename T>
bool SameContent(const T& a, const T& b) {
  return a == b;
}
bool SameContent(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }
bool SameContent(float a, float b) { return std::memcmp(&a, &b, sizeof a) == 0; }
bool SameContent(const EncodableValue& a, const EncodableValue& b) { return Same(a, b); }
bool SameContent(const EncodableMap::value_type& a, const EncodableMap::value_type& b) {
  return Same(a.first, b.first) && Same(a.second, b.second);
}

template <typename Container>
bool SameElements(const Container& a, const Container& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const auto& x, const auto& y) { return SameContent(x, y); });
}
bool SameContent(const std::vector<double>& a, const std::vector<double>& b) { return SameElements(a, b); }
bool SameContent(const std::vector<float>& a, const std::vector<float>& b) { return SameElements(a, b); }
bool SameContent(const EncodableList& a, const EncodableList& b) { return SameElements(a, b); }
bool SameContent(const EncodableMap& a, const EncodableMap& b) { return SameElements(a, b); }

bool Same(const EncodableValue& a, const EncodableValue& b) {
  return std::visit(
      [](const auto& x, const auto& y) {
        if constexpr (std::is_same_v<decltype(x), decltype(y)>) {
          return SameContent(x, y);
        } else {
          return false;
        }
      },
      static_cast<const flutter::internal::EncodableVariant&>(a),
      static_cast<const flutter::internal::EncodableVariant&>(b));
}

// ---- Numbers that are no number ----------------------------------------------------------------------------

bool AnyNan(const EncodableValue& value);

template <typename T>
bool NanIn(const T&) {
  return false;
}
bool NanIn(double number) { return std::isnan(number); }
bool NanIn(float number) { return std::isnan(number); }
bool NanIn(const EncodableValue& value) { return AnyNan(value); }
bool NanIn(const EncodableMap::value_type& entry) { return AnyNan(entry.first) || AnyNan(entry.second); }

template <typename Container>
bool NanInElements(const Container& container) {
  return std::any_of(container.begin(), container.end(), [](const auto& element) { return NanIn(element); });
}
bool NanIn(const std::vector<double>& list) { return NanInElements(list); }
bool NanIn(const std::vector<float>& list) { return NanInElements(list); }
bool NanIn(const EncodableList& list) { return NanInElements(list); }
bool NanIn(const EncodableMap& map) { return NanInElements(map); }

bool AnyNan(const EncodableValue& value) {
  return std::visit([](const auto& content) { return NanIn(content); },
                    static_cast<const flutter::internal::EncodableVariant&>(value));
}

// Whether a map in the value, at any depth, has a key with one.
bool AnyNanKey(const EncodableValue& value) {
  if (const auto* list = std::get_if<EncodableList>(&value)) {
    return std::any_of(list->begin(), list->end(), AnyNanKey);
  }
  if (const auto* map = std::get_if<EncodableMap>(&value)) {
    return std::any_of(map->begin(), map->end(), [](const EncodableMap::value_type& entry) {
      return AnyNan(entry.first) || AnyNanKey(entry.first) || AnyNanKey(entry.second);
    });
  }
  return false;
}

// ---- Round trips -------------------------------------------------------------------------------------------

void DecodeValue(const Bytes& message) {
  const std::unique_ptr<EncodableValue> value = Messages().DecodeMessage(message);
  const Bytes written = *Messages().EncodeMessage(*value);
  const size_t lines_before = fuzz::SilencedWrites();
  const std::unique_ptr<EncodableValue> read_back = Messages().DecodeMessage(written);
  FUZZ_REQUIRE(fuzz::SilencedWrites() == lines_before);
  const Bytes written_again = *Messages().EncodeMessage(*read_back);
  if (AnyNanKey(*value)) return;
  FUZZ_REQUIRE(Same(*read_back, *value));
  FUZZ_REQUIRE(written_again == written);
}

void DecodeCall(const Bytes& message) {
  const std::unique_ptr<MethodCall> call = Methods().DecodeMethodCall(message.data(), message.size());
  const std::unique_ptr<EncodableValue> first_value = Messages().DecodeMessage(message);
  const auto* name = std::get_if<std::string>(first_value.get());
  FUZZ_REQUIRE((call != nullptr) == (name != nullptr));
  if (call == nullptr) return;
  FUZZ_REQUIRE(call->method_name() == *name && call->arguments() != nullptr);

  const Bytes written = *Methods().EncodeMethodCall(*call);
  const std::unique_ptr<MethodCall> read_back = Methods().DecodeMethodCall(written.data(), written.size());
  FUZZ_REQUIRE(read_back != nullptr && read_back->method_name() == call->method_name());
  if (AnyNanKey(*call->arguments())) return;
  FUZZ_REQUIRE(Same(*read_back->arguments(), *call->arguments()));
  FUZZ_REQUIRE(*Methods().EncodeMethodCall(*read_back) == written);
}

void DecodeEnvelope(const Bytes& message) {
  fuzz::Answer answer;
  try {
    FUZZ_REQUIRE(Methods().DecodeAndProcessResponseEnvelope(message.data(), message.size(), &answer));
  } catch (const std::bad_variant_access&) {
    FUZZ_REQUIRE(answer.count == 0 && message.at(0) != 0);
    return;
  }
  FUZZ_REQUIRE(answer.count == 1);

  const Bytes written = answer.is_error ? *Methods().EncodeErrorEnvelope(answer.code, answer.message, &answer.value)
                                        : *Methods().EncodeSuccessEnvelope(&answer.value);
  fuzz::Answer read_back;
  FUZZ_REQUIRE(Methods().DecodeAndProcessResponseEnvelope(written.data(), written.size(), &read_back));
  FUZZ_REQUIRE(read_back.count == 1 && read_back.is_error == answer.is_error);
  FUZZ_REQUIRE(read_back.code == answer.code && read_back.message == answer.message);
  FUZZ_REQUIRE(AnyNanKey(answer.value) || Same(read_back.value, answer.value));
}

// Reads one message after the other, each as what lies inside as many lists as may nest.
class InnermostReader : public flutter::ByteStreamReader {
 public:
  InnermostReader() {
    for (size_t i = 0; i < flutter::StandardCodecSerializer::kMaxNesting; ++i) lists_.emplace_back(this, 0);
  }
  void Begin(const Bytes& message) { message_ = flutter::ByteBufferStreamReader(message.data(), message.size()); }

  uint8_t ReadByte() override { return message_.ReadByte(); }
  void ReadBytes(uint8_t* buffer, size_t length) override { message_.ReadBytes(buffer, length); }
  void ReadAlignment(uint8_t alignment) override { message_.ReadAlignment(alignment); }
  size_t BytesLeft() const override { return message_.BytesLeft(); }

 private:
  flutter::ByteBufferStreamReader message_{nullptr, 0};
  std::deque<flutter::ContainerRead> lists_;
};

void SkipValue(const Bytes& message) {
  const auto& serializer = flutter::StandardCodecSerializer::GetInstance();
  flutter::ByteBufferStreamReader outermost(message.data(), message.size());
  serializer.ReadValue(&outermost);

  static InnermostReader innermost;  // the lists around it cost more than the rest
  innermost.Begin(message);
  const EncodableValue skipped = serializer.ReadValue(&innermost);
  FUZZ_REQUIRE(!std::holds_alternative<EncodableList>(skipped) && !std::holds_alternative<EncodableMap>(skipped));
  FUZZ_REQUIRE(innermost.BytesLeft() == outermost.BytesLeft());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::SilenceStandardStreams();
  fuzz::Input input(data, size);
  const uint8_t kind = input.Byte();
  const Bytes message = input.Rest();
  switch (kind) {
    case fuzz::kCall: DecodeCall(message); break;
    case fuzz::kEnvelope: DecodeEnvelope(message); break;
    case fuzz::kTooDeep: SkipValue(message); break;
    default: DecodeValue(message);
  }
  return 0;
}
