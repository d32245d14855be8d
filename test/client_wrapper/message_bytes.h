// Builders and readers of values and message bytes, and what the code under test writes to standard error meanwhile.

#ifndef TEST_CLIENT_WRAPPER_MESSAGE_BYTES_H_
#define TEST_CLIENT_WRAPPER_MESSAGE_BYTES_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "flutter/encodable_value.h"
#include "flutter/standard_message_codec.h"
#include "test/support/log_capture.h"

namespace flutter {

// For failure messages; found by GoogleTest.
inline void PrintTo(const EncodableValue& value, std::ostream* out) {
  *out << "alternative " << value.index();
  if (std::holds_alternative<CustomEncodableValue>(value)) return;
  *out << ", encoded " << ::testing::PrintToString(*StandardMessageCodec::GetInstance().EncodeMessage(value));
}

}  // namespace flutter

namespace client_wrapper_test {

using Bytes = std::vector<uint8_t>;

inline const char kInvalidRead[] = "Invalid read in StandardCodecByteStreamReader\n";

/// The parts one after the other.
inline Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes joined;
  for (const Bytes& part : parts) joined.insert(joined.end(), part.begin(), part.end());
  return joined;
}

/// `part` as often as `count` says.
inline Bytes Repeat(size_t count, const Bytes& part) {
  Bytes repeated;
  repeated.reserve(count * part.size());
  for (size_t i = 0; i < count; ++i) repeated.insert(repeated.end(), part.begin(), part.end());
  return repeated;
}

/// The same for a line of text.
inline std::string RepeatLine(size_t count, const std::string& line) {
  std::string repeated;
  for (size_t i = 0; i < count; ++i) repeated += line;
  return repeated;
}

/// The first `size` bytes, in a block of their own of exactly that size.
inline Bytes Prefix(const Bytes& bytes, size_t size) { return Bytes(bytes.data(), bytes.data() + size); }

/// What `action` writes to standard error, whole.
template <typename Action>
std::string StderrOf(Action action) {
  LogCapture err(stderr);
  action();
  return err.Take();
}

/// Names the cases of a parameterised test by their member `name`.
struct CaseName {
  template <typename Case>
  std::string operator()(const ::testing::TestParamInfo<Case>& test) const {
    return test.param.name;
  }
};

/// A value that an exception left without content.
inline flutter::EncodableValue Valueless() {
  struct Uncopyable {
    Uncopyable() = default;
    Uncopyable(const Uncopyable&) { throw std::runtime_error("no copy"); }
  };
  flutter::EncodableValue value;
  EXPECT_THROW(value.emplace<flutter::CustomEncodableValue>(Uncopyable()), std::runtime_error);
  EXPECT_TRUE(value.valueless_by_exception());
  return value;
}

struct Decoded {
  flutter::EncodableValue value;
  std::string errors;
};

inline Decoded Decode(const Bytes& bytes) {
  Decoded decoded;
  decoded.errors =
      StderrOf([&] { decoded.value = std::move(*flutter::StandardMessageCodec::GetInstance().DecodeMessage(bytes)); });
  return decoded;
}

inline Bytes Encode(const flutter::EncodableValue& value) {
  return *flutter::StandardMessageCodec::GetInstance().EncodeMessage(value);
}

}  // namespace client_wrapper_test

#endif  // TEST_CLIENT_WRAPPER_MESSAGE_BYTES_H_
