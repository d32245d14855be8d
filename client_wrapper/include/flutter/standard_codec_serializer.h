#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_CODEC_SERIALIZER_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_CODEC_SERIALIZER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "flutter/byte_streams.h"
#include "flutter/encodable_value.h"

namespace flutter {

/// Maps values to Flutter's standard message bytes and back.
///
/// To carry types of one's own, derive from it, override the two virtual operations, and hand the serializer to
/// a codec's GetInstance. An override writes and reads a type byte of its own (128 and above are free) and leaves
/// all other values to this class.
///
/// Thread   the platform thread.
/// Failure  bad input never throws: each failed read writes one line to standard error and gives a zero or empty
///          value; an unknown type byte gives null, and so does a list or map inside more than
///          kMaxNesting others, with a line too. Sizes in a message are held against what is left of it.
class StandardCodecSerializer {
 public:
  /// How deep lists and maps may nest in a message that is read: no message may use up the stack.
  static constexpr size_t kMaxNesting = 1000;

  virtual ~StandardCodecSerializer() = default;

  /// The one serializer of the standard types.
  static const StandardCodecSerializer& GetInstance();

  EncodableValue ReadValue(ByteStreamReader* stream) const;
  virtual void WriteValue(const EncodableValue& value, ByteStreamWriter* stream) const;

  /// Reads what follows the type byte `type`.
  virtual EncodableValue ReadValueOfType(uint8_t type, ByteStreamReader* stream) const;

 protected:
  StandardCodecSerializer() = default;

  /// A length: one byte up to 253; 254 and 16 bits; 255 and 32 bits.
  size_t ReadSize(ByteStreamReader* stream) const;
  void WriteSize(size_t size, ByteStreamWriter* stream) const;

  /// A typed list: its length, zeros up to a multiple of the element's size, the elements as they lie in memory.
  template <typename T>
  std::vector<T> ReadVector(ByteStreamReader* stream) const {
    const size_t count = ReadSize(stream);
    if (sizeof(T) > 1) stream->ReadAlignment(sizeof(T));
    std::vector<T> vector;
    // A count that the message cannot hold is not believed: the read then fails and the list stays empty.
    if (count <= stream->BytesLeft() / sizeof(T)) vector.resize(count);
    stream->ReadBytes(reinterpret_cast<uint8_t*>(vector.data()), count * sizeof(T));
    return vector;
  }
  template <typename T>
  void WriteVector(const std::vector<T>& vector, ByteStreamWriter* stream) const {
    WriteSize(vector.size(), stream);
    if (sizeof(T) > 1) stream->WriteAlignment(sizeof(T));
    stream->WriteBytes(reinterpret_cast<const uint8_t*>(vector.data()), vector.size() * sizeof(T));
  }

 private:
  std::string ReadString(ByteStreamReader* stream) const;
  EncodableValue ReadList(ByteStreamReader* stream) const;
  EncodableValue ReadMap(ByteStreamReader* stream) const;
  EncodableValue SkipTooDeep(ByteStreamReader* stream, size_t value_count) const;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_STANDARD_CODEC_SERIALIZER_H_
