#ifndef CLIENT_WRAPPER_BYTE_BUFFER_STREAMS_H_
#define CLIENT_WRAPPER_BYTE_BUFFER_STREAMS_H_

#include <cstring>
#include <vector>

#include "error_line.h"
#include "flutter/byte_streams.h"

namespace flutter {

/// Reads a message that lies in memory; borrows the bytes.
class ByteBufferStreamReader : public ByteStreamReader {
 public:
  ByteBufferStreamReader(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}

  uint8_t ReadByte() override {
    if (position_ >= size_) {
      ReportInvalidRead();
      return 0;
    }
    return bytes_[position_++];
  }

  void ReadBytes(uint8_t* buffer, size_t length) override {
    // The position may lie past the end: alignment moves it unchecked.
    if (position_ > size_ || length > size_ - position_) {
      ReportInvalidRead();
      return;
    }
    if (length > 0) std::memcpy(buffer, bytes_ + position_, length);
    position_ += length;
  }

  void ReadAlignment(uint8_t alignment) override {
    const size_t excess = position_ % alignment;
    if (excess != 0) position_ += alignment - excess;
  }

  size_t BytesLeft() const override { return position_ < size_ ? size_ - position_ : 0; }

 private:
  static void ReportInvalidRead() { internal::WriteErrorLine("Invalid read in StandardCodecByteStreamReader"); }

  const uint8_t* bytes_;
  size_t size_;
  size_t position_ = 0;
};

/// Appends a message to a byte vector of the caller's, whose first byte is position 0.
class ByteBufferStreamWriter : public ByteStreamWriter {
 public:
  explicit ByteBufferStreamWriter(std::vector<uint8_t>* bytes) : bytes_(bytes) {}

  void WriteByte(uint8_t byte) override { bytes_->push_back(byte); }

  void WriteBytes(const uint8_t* bytes, size_t length) override {
    if (length > 0) bytes_->insert(bytes_->end(), bytes, bytes + length);
  }

  void WriteAlignment(uint8_t alignment) override {
    const size_t excess = bytes_->size() % alignment;
    if (excess != 0) bytes_->insert(bytes_->end(), alignment - excess, 0);
  }

 private:
  std::vector<uint8_t>* bytes_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_BYTE_BUFFER_STREAMS_H_
