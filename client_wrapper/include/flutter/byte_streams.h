#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_BYTE_STREAMS_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_BYTE_STREAMS_H_

#include <cstddef>
#include <cstdint>
#include <limits>

namespace flutter {

/// Where a codec reads a message from. Positions count from the start of the message.
///
/// Failure  a read past the end gives zeros and moves nothing; it never throws.
class ByteStreamReader {
 public:
  virtual ~ByteStreamReader() = default;

  virtual uint8_t ReadByte() = 0;
  /// Copies `length` bytes into `buffer`, or nothing when fewer are left.
  virtual void ReadBytes(uint8_t* buffer, size_t length) = 0;
  /// Moves to the next position that is a multiple of `alignment`.
  virtual void ReadAlignment(uint8_t alignment) = 0;
  /// How many bytes are left, so that a size in the message can be held against them. A stream that cannot tell
  /// keeps the default; what it claims is then believed.
  virtual size_t BytesLeft() const { return std::numeric_limits<size_t>::max(); }

  int32_t ReadInt32() { return ReadRaw<int32_t>(); }
  int64_t ReadInt64() { return ReadRaw<int64_t>(); }
  double ReadDouble() { return ReadRaw<double>(); }

 private:
  friend class ContainerRead;

  template <typename T>
  T ReadRaw() {
    T value = 0;
    ReadBytes(reinterpret_cast<uint8_t*>(&value), sizeof value);
    return value;
  }

  // What the lists and maps now being read have in common; kept by ContainerRead.
  size_t open_containers_ = 0;
  size_t reserved_elements_ = 0;
};

/// Where a codec writes a message to. Positions count from the start of the message.
class ByteStreamWriter {
 public:
  virtual ~ByteStreamWriter() = default;

  virtual void WriteByte(uint8_t byte) = 0;
  virtual void WriteBytes(const uint8_t* bytes, size_t length) = 0;
  /// Appends zeros up to the next position that is a multiple of `alignment`.
  virtual void WriteAlignment(uint8_t alignment) = 0;

  void WriteInt32(int32_t value) { WriteRaw(value); }
  void WriteInt64(int64_t value) { WriteRaw(value); }
  void WriteDouble(double value) { WriteRaw(value); }

 private:
  template <typename T>
  void WriteRaw(T value) {
    WriteBytes(reinterpret_cast<const uint8_t*>(&value), sizeof value);
  }
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_BYTE_STREAMS_H_
