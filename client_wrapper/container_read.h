#ifndef CLIENT_WRAPPER_CONTAINER_READ_H_
#define CLIENT_WRAPPER_CONTAINER_READ_H_

#include <algorithm>
#include <cstddef>

#include "flutter/byte_streams.h"
#include "flutter/standard_codec_serializer.h"

namespace flutter {

/// A list or map while it is being read: how deep it lies, and how much memory it may ask for ahead.
///
/// Every element takes a byte of the message at least, so all lists that are open at one time together cannot
/// hold more elements than the message has bytes; what enclosing lists have reserved is no longer there for this
/// one.
class ContainerRead {
 public:
  ContainerRead(ByteStreamReader* stream, size_t claimed_elements) : stream_(stream) {
    const size_t left = stream->BytesLeft();
    reserved_ = std::min(claimed_elements, left - std::min(left, stream->reserved_elements_));
    stream->reserved_elements_ += reserved_;
    ++stream->open_containers_;
  }
  ~ContainerRead() {
    stream_->reserved_elements_ -= reserved_;
    --stream_->open_containers_;
  }
  ContainerRead(const ContainerRead&) = delete;
  ContainerRead& operator=(const ContainerRead&) = delete;

  bool too_deep() const { return stream_->open_containers_ > StandardCodecSerializer::kMaxNesting; }
  size_t reserved() const { return reserved_; }

 private:
  ByteStreamReader* stream_;
  size_t reserved_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_CONTAINER_READ_H_
