#include "model_tool/meshopt_views.h"

#include <meshoptimizer.h>

#include <string>

#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

uint64_t Number(const tinygltf::Value& object, const char* key) {
  if (!object.Has(key)) return 0;
  const tinygltf::Value& value = object.Get(key);
  if (!value.IsNumber() || !(value.GetNumberAsDouble() >= 0) || value.GetNumberAsDouble() > 1e15) {
    throw ToolError(std::string("EXT_meshopt_compression: \"") + key + "\" is no length");
  }
  return static_cast<uint64_t>(value.GetNumberAsDouble());
}

std::string Text(const tinygltf::Value& object, const char* key, const char* otherwise) {
  return object.Has(key) && object.Get(key).IsString() ? object.Get(key).Get<std::string>() : otherwise;
}

// The decoders take these for granted.
void CheckShape(const std::string& mode, const std::string& filter, uint64_t count, uint64_t stride) {
  const bool attributes = mode == "ATTRIBUTES";
  bool good = count > 0;
  if (attributes) good = good && stride > 0 && stride <= 256 && stride % 4 == 0;
  if (!attributes) good = good && (stride == 2 || stride == 4);
  if (mode == "TRIANGLES") good = good && count % 3 == 0;
  if (filter == "OCTAHEDRAL") good = good && (stride == 4 || stride == 8);
  if (filter == "QUATERNION") good = good && stride == 8;
  constexpr uint64_t kMost = uint64_t{1} << 31;
  if (!good || count > kMost / stride) throw ToolError("EXT_meshopt_compression: broken count or byteStride");
}

std::vector<uint8_t> Decode(const tinygltf::Model& model, const tinygltf::Value& description) {
  const uint64_t buffer = Number(description, "buffer");
  if (buffer >= model.buffers.size()) throw ToolError("EXT_meshopt_compression names a buffer that does not exist");
  const std::vector<unsigned char>& data = model.buffers[buffer].data;
  const uint64_t offset = Number(description, "byteOffset");
  const uint64_t length = Number(description, "byteLength");
  if (offset > data.size() || length > data.size() - offset) {
    throw ToolError("EXT_meshopt_compression reaches outside its buffer");
  }
  const uint64_t count = Number(description, "count");
  const uint64_t stride = Number(description, "byteStride");
  const std::string mode = Text(description, "mode", "");
  const std::string filter = Text(description, "filter", "NONE");
  CheckShape(mode, filter, count, stride);

  std::vector<uint8_t> decoded(count * stride);
  const uint8_t* source = data.data() + offset;
  int result = -1;
  if (mode == "ATTRIBUTES") result = meshopt_decodeVertexBuffer(decoded.data(), count, stride, source, length);
  if (mode == "TRIANGLES") result = meshopt_decodeIndexBuffer(decoded.data(), count, stride, source, length);
  if (mode == "INDICES") result = meshopt_decodeIndexSequence(decoded.data(), count, stride, source, length);
  if (result != 0) throw ToolError("data compressed by EXT_meshopt_compression cannot be decoded");
  if (filter == "OCTAHEDRAL") meshopt_decodeFilterOct(decoded.data(), count, stride);
  if (filter == "QUATERNION") meshopt_decodeFilterQuat(decoded.data(), count, stride);
  if (filter == "EXPONENTIAL") meshopt_decodeFilterExp(decoded.data(), count, stride);
  return decoded;
}

}  // namespace

std::map<int, std::vector<uint8_t>> DecodeMeshoptViews(const tinygltf::Model& model) {
  std::map<int, std::vector<uint8_t>> views;
  for (size_t i = 0; i < model.bufferViews.size(); ++i) {
    const auto extension = model.bufferViews[i].extensions.find("EXT_meshopt_compression");
    if (extension != model.bufferViews[i].extensions.end()) {
      views.emplace(static_cast<int>(i), Decode(model, extension->second));
    }
  }
  return views;
}

}  // namespace model_tool
