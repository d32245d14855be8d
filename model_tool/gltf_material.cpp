#include "model_tool/gltf_material.h"

#include <string>

#include "model/glb_loader.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

double Number(const tinygltf::Value& value, double otherwise) {
  return value.IsNumber() ? value.GetNumberAsDouble() : otherwise;
}

double Element(const tinygltf::Value& object, const char* key, size_t index, double otherwise) {
  const tinygltf::Value& array = object.Get(key);
  return array.IsArray() && index < array.ArrayLen() ? Number(array.Get(static_cast<int>(index)), otherwise)
                                                     : otherwise;
}

Material::Alpha AlphaMode(const std::string& name) {
  if (name == "MASK") return Material::Alpha::kMask;
  return name == "BLEND" ? Material::Alpha::kBlend : Material::Alpha::kOpaque;
}

Material WithoutMaterial() {
  Material material;
  material.factor = {DecodeSrgb(kDefaultMeshColor[0]), DecodeSrgb(kDefaultMeshColor[1]),
                     DecodeSrgb(kDefaultMeshColor[2])};
  return material;
}

}  // namespace

void GltfMaterials::AddTexture(int texture, int coordinate_set, const tinygltf::ExtensionMap& extensions,
                               Material& material) {
  std::shared_ptr<const Texture>& decoded = textures_[texture];
  if (!decoded) decoded = std::make_shared<const Texture>(ReadGltfTexture(file_, texture));
  material.texture = decoded;
  material.coordinate_set = coordinate_set;
  const auto extension = extensions.find("KHR_texture_transform");
  if (extension == extensions.end()) return;
  const tinygltf::Value& transform = extension->second;
  for (size_t i = 0; i < 2; ++i) {
    material.transform.offset[i] = Element(transform, "offset", i, 0);
    material.transform.scale[i] = Element(transform, "scale", i, 1);
  }
  material.transform.rotation = Number(transform.Get("rotation"), 0);
  if (transform.Get("texCoord").IsInt()) material.coordinate_set = transform.Get("texCoord").Get<int>();
}

// A texture that the library leaves as it stands in an extension.
void GltfMaterials::AddTexture(const tinygltf::Value& description, Material& material) {
  if (!description.IsObject() || !description.Get("index").IsInt()) return;
  tinygltf::ExtensionMap extensions;
  const tinygltf::Value& found = description.Get("extensions");
  if (found.IsObject()) {
    for (const std::string& name : found.Keys()) extensions[name] = found.Get(name);
  }
  const tinygltf::Value& set = description.Get("texCoord");
  AddTexture(description.Get("index").Get<int>(), set.IsInt() ? set.Get<int>() : 0, extensions, material);
}

Material GltfMaterials::Read(int index) {
  if (index < 0) return WithoutMaterial();
  if (static_cast<size_t>(index) >= file_.model.materials.size()) {
    throw ToolError("a primitive names a material that does not exist: " + std::to_string(index));
  }
  const tinygltf::Material& description = file_.model.materials[static_cast<size_t>(index)];
  Material material;
  material.mode = AlphaMode(description.alphaMode);
  material.cutoff = description.alphaCutoff;
  // Where a file has both, this is what it was made with.
  const auto specular = description.extensions.find("KHR_materials_pbrSpecularGlossiness");
  if (specular != description.extensions.end()) {
    const tinygltf::Value& extension = specular->second;
    material.factor = {Element(extension, "diffuseFactor", 0, 1), Element(extension, "diffuseFactor", 1, 1),
                       Element(extension, "diffuseFactor", 2, 1)};
    material.alpha = Element(extension, "diffuseFactor", 3, 1);
    AddTexture(extension.Get("diffuseTexture"), material);
    return material;
  }
  const tinygltf::PbrMetallicRoughness& pbr = description.pbrMetallicRoughness;
  const std::vector<double>& factor = pbr.baseColorFactor;
  if (factor.size() >= 4) {
    material.factor = {factor[0], factor[1], factor[2]};
    if (IsPrepared(file_)) material.factor = {DecodeSrgb(factor[0]), DecodeSrgb(factor[1]), DecodeSrgb(factor[2])};
    material.alpha = factor[3];
  }
  if (pbr.baseColorTexture.index >= 0) {
    AddTexture(pbr.baseColorTexture.index, pbr.baseColorTexture.texCoord, pbr.baseColorTexture.extensions, material);
  }
  return material;
}

}  // namespace model_tool
