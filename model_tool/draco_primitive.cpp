#include "model_tool/draco_primitive.h"

#include <draco/compression/decode.h>

#include <memory>

#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

constexpr char kExtension[] = "KHR_draco_mesh_compression";

// Normalised numbers, such as colours of 8 bits, come out as fractions.
template <size_t kComponents>
void ReadAttribute(const draco::PointAttribute& attribute, uint32_t vertex_count, DracoData::Attribute& result) {
  result.components = kComponents;
  result.numbers.resize(size_t{vertex_count} * kComponents);
  for (uint32_t i = 0; i < vertex_count; ++i) {
    const draco::AttributeValueIndex value = attribute.mapped_index(draco::PointIndex(i));
    if (value.value() >= attribute.size() ||
        !attribute.ConvertValue<float, kComponents>(value, &result.numbers[size_t{i} * kComponents])) {
      throw ToolError(std::string(kExtension) + ": an attribute cannot be read");
    }
  }
}

void ReadAttribute(const draco::PointAttribute& attribute, uint32_t vertex_count, DracoData::Attribute& result) {
  switch (attribute.num_components()) {
    case 1: return ReadAttribute<1>(attribute, vertex_count, result);
    case 2: return ReadAttribute<2>(attribute, vertex_count, result);
    case 3: return ReadAttribute<3>(attribute, vertex_count, result);
    case 4: return ReadAttribute<4>(attribute, vertex_count, result);
    default: throw ToolError(std::string(kExtension) + ": an attribute has a broken number of components");
  }
}

}  // namespace

bool IsDraco(const tinygltf::Primitive& primitive) { return primitive.extensions.count(kExtension) != 0; }

DracoData DecodeDraco(const GltfFile& file, const tinygltf::Primitive& primitive) {
  const tinygltf::Value& description = primitive.extensions.at(kExtension);
  const tinygltf::Value& view = description.Get("bufferView");
  const tinygltf::Value& attributes = description.Get("attributes");
  if (!view.IsInt() || !attributes.IsObject()) throw ToolError(std::string(kExtension) + " names no data");
  const ByteRange bytes = ViewBytes(file, view.Get<int>());

  draco::DecoderBuffer buffer;
  buffer.Init(reinterpret_cast<const char*>(bytes.data), bytes.size);
  draco::Decoder decoder;
  auto decoded = decoder.DecodeMeshFromBuffer(&buffer);
  if (!decoded.ok()) {
    throw ToolError("data compressed by " + std::string(kExtension) +
                    " cannot be decoded: " + decoded.status().error_msg_string());
  }
  const std::unique_ptr<draco::Mesh> mesh = std::move(decoded).value();

  DracoData data;
  data.vertex_count = mesh->num_points();
  data.indices.reserve(size_t{mesh->num_faces()} * 3);
  for (uint32_t i = 0; i < mesh->num_faces(); ++i) {
    for (const draco::PointIndex& corner : mesh->face(draco::FaceIndex(i))) data.indices.push_back(corner.value());
  }
  for (const std::string& name : attributes.Keys()) {
    const tinygltf::Value& id = attributes.Get(name);
    const draco::PointAttribute* attribute =
        id.IsInt() && id.Get<int>() >= 0 ? mesh->GetAttributeByUniqueId(static_cast<uint32_t>(id.Get<int>())) : nullptr;
    if (attribute == nullptr) throw ToolError(std::string(kExtension) + " has no data for " + name);
    ReadAttribute(*attribute, mesh->num_points(), data.attributes[name]);
  }
  return data;
}

}  // namespace model_tool
