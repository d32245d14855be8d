#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "byte_buffer_streams.h"
#include "container_read.h"
#include "error_line.h"
#include "flutter/standard_codec_serializer.h"
#include "flutter/standard_message_codec.h"
#include "flutter/standard_method_codec.h"

namespace flutter {

// ---- Type bytes --------------------------------------------------------------------------------------------

namespace {

enum TypeByte : uint8_t {
  kNull = 0,
  kTrue = 1,
  kFalse = 2,
  kInt32 = 3,
  kInt64 = 4,
  kLargeInt = 5,  // only ever read: an integer as text
  kDouble = 6,
  kString = 7,
  kUInt8List = 8,
  kInt32List = 9,
  kInt64List = 10,
  kDoubleList = 11,
  kList = 12,
  kMap = 13,
  kFloatList = 14,
};

TypeByte TypeByteOf(const EncodableValue& value) {
  switch (value.index()) {
    case 1: return std::get<bool>(value) ? kTrue : kFalse;
    case 2: return kInt32;
    case 3: return kInt64;
    case 4: return kDouble;
    case 5: return kString;
    case 6: return kUInt8List;
    case 7: return kInt32List;
    case 8: return kInt64List;
    case 9: return kDoubleList;
    case 10: return kList;
    case 11: return kMap;
    case 13: return kFloatList;
    default: return kNull;  // null, and a custom value that no codec extension took
  }
}

// The codec of type Codec over `serializer`, made at the first request for it and never destroyed: a message may still
// be answered while the program ends.
template <typename Codec, typename MakeCodec>
const Codec& CodecFor(const StandardCodecSerializer* serializer, MakeCodec make_codec) {
  static auto* const codecs = new std::map<const StandardCodecSerializer*, std::unique_ptr<Codec>>();
  if (serializer == nullptr) serializer = &StandardCodecSerializer::GetInstance();
  std::unique_ptr<Codec>& codec = (*codecs)[serializer];
  if (!codec) codec.reset(make_codec(serializer));
  return *codec;
}

}  // namespace

// ---- StandardCodecSerializer -------------------------------------------------------------------------------

const StandardCodecSerializer& StandardCodecSerializer::GetInstance() {
  static const auto* const instance = new StandardCodecSerializer();
  return *instance;
}

EncodableValue StandardCodecSerializer::ReadValue(ByteStreamReader* stream) const {
  const uint8_t type = stream->ReadByte();
  return ReadValueOfType(type, stream);
}

EncodableValue StandardCodecSerializer::ReadValueOfType(uint8_t type, ByteStreamReader* stream) const {
  switch (type) {
    case kNull: return EncodableValue();
    case kTrue: return EncodableValue(true);
    case kFalse: return EncodableValue(false);
    case kInt32: return EncodableValue(stream->ReadInt32());
    case kInt64: return EncodableValue(stream->ReadInt64());
    case kDouble: stream->ReadAlignment(8); return EncodableValue(stream->ReadDouble());
    case kLargeInt:
    case kString: return EncodableValue(ReadString(stream));
    case kUInt8List: return EncodableValue(ReadVector<uint8_t>(stream));
    case kInt32List: return EncodableValue(ReadVector<int32_t>(stream));
    case kInt64List: return EncodableValue(ReadVector<int64_t>(stream));
    case kDoubleList: return EncodableValue(ReadVector<double>(stream));
    case kFloatList: return EncodableValue(ReadVector<float>(stream));
    case kList: return ReadList(stream);
    case kMap: return ReadMap(stream);
    default:
      internal::WriteErrorLine("Unknown type in StandardCodecSerializer::ReadValueOfType: " + std::to_string(type));
      return EncodableValue();
  }
}

void StandardCodecSerializer::WriteValue(const EncodableValue& value, ByteStreamWriter* stream) const {
  stream->WriteByte(TypeByteOf(value));
  switch (value.index()) {
    case 0:
    case 1: break;
    case 2: stream->WriteInt32(std::get<int32_t>(value)); break;
    case 3: stream->WriteInt64(std::get<int64_t>(value)); break;
    case 4:
      stream->WriteAlignment(8);
      stream->WriteDouble(std::get<double>(value));
      break;
    case 5: {
      const auto& text = std::get<std::string>(value);
      WriteSize(text.size(), stream);
      stream->WriteBytes(reinterpret_cast<const uint8_t*>(text.data()), text.size());
      break;
    }
    case 6: WriteVector(std::get<std::vector<uint8_t>>(value), stream); break;
    case 7: WriteVector(std::get<std::vector<int32_t>>(value), stream); break;
    case 8: WriteVector(std::get<std::vector<int64_t>>(value), stream); break;
    case 9: WriteVector(std::get<std::vector<double>>(value), stream); break;
    case 10: {
      const auto& list = std::get<EncodableList>(value);
      WriteSize(list.size(), stream);
      for (const EncodableValue& element : list) WriteValue(element, stream);
      break;
    }
    case 11: {
      const auto& map = std::get<EncodableMap>(value);
      WriteSize(map.size(), stream);
      for (const auto& [key, mapped] : map) {
        WriteValue(key, stream);
        WriteValue(mapped, stream);
      }
      break;
    }
    case 12:
      internal::WriteErrorLine(
          "Unhandled custom type in StandardCodecSerializer::WriteValue. "
          "Custom types require codec extensions.");
      break;
    case 13: WriteVector(std::get<std::vector<float>>(value), stream); break;
  }
}

size_t StandardCodecSerializer::ReadSize(ByteStreamReader* stream) const {
  const uint8_t first = stream->ReadByte();
  if (first < 254) return first;
  if (first == 254) {
    uint16_t size = 0;
    stream->ReadBytes(reinterpret_cast<uint8_t*>(&size), sizeof size);
    return size;
  }
  uint32_t size = 0;
  stream->ReadBytes(reinterpret_cast<uint8_t*>(&size), sizeof size);
  return size;
}

void StandardCodecSerializer::WriteSize(size_t size, ByteStreamWriter* stream) const {
  if (size < 254) {
    stream->WriteByte(static_cast<uint8_t>(size));
  } else if (size <= 0xFFFF) {
    stream->WriteByte(254);
    const auto size16 = static_cast<uint16_t>(size);
    stream->WriteBytes(reinterpret_cast<const uint8_t*>(&size16), sizeof size16);
  } else {
    stream->WriteByte(255);
    const auto size32 = static_cast<uint32_t>(size);
    stream->WriteBytes(reinterpret_cast<const uint8_t*>(&size32), sizeof size32);
  }
}

std::string StandardCodecSerializer::ReadString(ByteStreamReader* stream) const {
  const size_t length = ReadSize(stream);
  std::string text;
  // As in ReadVector: a length that the message cannot hold gives an empty string.
  if (length <= stream->BytesLeft()) text.resize(length);
  stream->ReadBytes(reinterpret_cast<uint8_t*>(text.data()), length);
  return text;
}

// NOTE: the element that begins where the message has ended is still read, so that its failure is reported, and is
// the last: a claimed size cannot make the loops run on. StandardCodecTest.ListCutShortEndsWithTheElementThatFails.
EncodableValue StandardCodecSerializer::ReadList(ByteStreamReader* stream) const {
  const size_t size = ReadSize(stream);
  const ContainerRead container(stream, size);
  if (container.too_deep()) return SkipTooDeep(stream, size);
  EncodableList list;
  list.reserve(container.reserved());
  for (size_t i = 0; i < size; ++i) {
    const bool nothing_left = stream->BytesLeft() == 0;
    list.push_back(ReadValue(stream));
    if (nothing_left) break;
  }
  return EncodableValue(std::move(list));
}

EncodableValue StandardCodecSerializer::ReadMap(ByteStreamReader* stream) const {
  const size_t size = ReadSize(stream);
  const ContainerRead container(stream, 0);
  if (container.too_deep()) return SkipTooDeep(stream, 2 * size);
  EncodableMap map;
  for (size_t i = 0; i < size; ++i) {
    const bool no_key_left = stream->BytesLeft() == 0;
    EncodableValue key = ReadValue(stream);
    const bool no_value_left = stream->BytesLeft() == 0;
    map.emplace(std::move(key), no_key_left ? EncodableValue() : ReadValue(stream));
    if (no_value_left) break;
  }
  return EncodableValue(std::move(map));
}

// Reads past a container's values with neither building nor recursing into what nests in them, so that what
// follows the container is still read at its place.
EncodableValue StandardCodecSerializer::SkipTooDeep(ByteStreamReader* stream, size_t value_count) const {
  internal::WriteErrorLine("Lists and maps nested more than " + std::to_string(kMaxNesting) +
                           " deep in StandardCodecSerializer::ReadValueOfType; reading null instead");
  std::vector<size_t> values_to_skip{value_count};
  while (!values_to_skip.empty()) {
    if (values_to_skip.back() == 0) {
      values_to_skip.pop_back();
      continue;
    }
    --values_to_skip.back();
    const bool nothing_left = stream->BytesLeft() == 0;
    const uint8_t type = stream->ReadByte();
    if (nothing_left) break;
    if (type == kList) {
      values_to_skip.push_back(ReadSize(stream));
    } else if (type == kMap) {
      values_to_skip.push_back(2 * ReadSize(stream));
    } else {
      ReadValueOfType(type, stream);
    }
  }
  return EncodableValue();
}

// ---- StandardMessageCodec ----------------------------------------------------------------------------------

const StandardMessageCodec& StandardMessageCodec::GetInstance(const StandardCodecSerializer* serializer) {
  return CodecFor<StandardMessageCodec>(serializer,
                                        [](const StandardCodecSerializer* of) { return new StandardMessageCodec(of); });
}

std::unique_ptr<EncodableValue> StandardMessageCodec::DecodeMessageInternal(const uint8_t* bytes, size_t size) const {
  ByteBufferStreamReader stream(bytes, size);
  return std::make_unique<EncodableValue>(serializer_->ReadValue(&stream));
}

std::unique_ptr<std::vector<uint8_t>> StandardMessageCodec::EncodeMessageInternal(const EncodableValue& message) const {
  auto bytes = std::make_unique<std::vector<uint8_t>>();
  ByteBufferStreamWriter stream(bytes.get());
  serializer_->WriteValue(message, &stream);
  return bytes;
}

// ---- StandardMethodCodec -----------------------------------------------------------------------------------

const StandardMethodCodec& StandardMethodCodec::GetInstance(const StandardCodecSerializer* serializer) {
  return CodecFor<StandardMethodCodec>(serializer,
                                       [](const StandardCodecSerializer* of) { return new StandardMethodCodec(of); });
}

std::unique_ptr<MethodCall<EncodableValue>> StandardMethodCodec::DecodeMethodCallInternal(const uint8_t* bytes,
                                                                                          size_t size) const {
  ByteBufferStreamReader stream(bytes, size);
  EncodableValue name = serializer_->ReadValue(&stream);
  if (!std::holds_alternative<std::string>(name)) {
    internal::WriteErrorLine("Invalid method call; method name is not a string.");
    return nullptr;
  }
  auto arguments = std::make_unique<EncodableValue>(serializer_->ReadValue(&stream));
  return std::make_unique<MethodCall<EncodableValue>>(std::get<std::string>(std::move(name)), std::move(arguments));
}

std::unique_ptr<std::vector<uint8_t>> StandardMethodCodec::EncodeMethodCallInternal(
    const MethodCall<EncodableValue>& call) const {
  auto bytes = std::make_unique<std::vector<uint8_t>>();
  ByteBufferStreamWriter stream(bytes.get());
  serializer_->WriteValue(EncodableValue(call.method_name()), &stream);
  serializer_->WriteValue(call.arguments() ? *call.arguments() : EncodableValue(), &stream);
  return bytes;
}

std::unique_ptr<std::vector<uint8_t>> StandardMethodCodec::EncodeSuccessEnvelopeInternal(
    const EncodableValue* result) const {
  auto bytes = std::make_unique<std::vector<uint8_t>>();
  ByteBufferStreamWriter stream(bytes.get());
  stream.WriteByte(0);
  serializer_->WriteValue(result ? *result : EncodableValue(), &stream);
  return bytes;
}

std::unique_ptr<std::vector<uint8_t>> StandardMethodCodec::EncodeErrorEnvelopeInternal(
    const std::string& code, const std::string& message, const EncodableValue* details) const {
  auto bytes = std::make_unique<std::vector<uint8_t>>();
  ByteBufferStreamWriter stream(bytes.get());
  stream.WriteByte(1);
  serializer_->WriteValue(EncodableValue(code), &stream);
  serializer_->WriteValue(message.empty() ? EncodableValue() : EncodableValue(message), &stream);
  serializer_->WriteValue(details ? *details : EncodableValue(), &stream);
  return bytes;
}

bool StandardMethodCodec::DecodeAndProcessResponseEnvelopeInternal(const uint8_t* bytes, size_t size,
                                                                   MethodResult<EncodableValue>* result) const {
  ByteBufferStreamReader stream(bytes, size);
  const bool success = stream.ReadByte() == 0;
  if (success) {
    const EncodableValue value = serializer_->ReadValue(&stream);
    if (value.IsNull()) {
      result->Success();
    } else {
      result->Success(value);
    }
    return true;
  }
  const EncodableValue code = serializer_->ReadValue(&stream);
  const EncodableValue message = serializer_->ReadValue(&stream);
  const EncodableValue details = serializer_->ReadValue(&stream);
  const std::string message_text = message.IsNull() ? std::string() : std::get<std::string>(message);
  if (details.IsNull()) {
    result->Error(std::get<std::string>(code), message_text);
  } else {
    result->Error(std::get<std::string>(code), message_text, details);
  }
  return true;
}

}  // namespace flutter
