#ifndef MODEL_TOOL_GLTF_MATERIAL_H_
#define MODEL_TOOL_GLTF_MATERIAL_H_

#include <map>
#include <memory>

#include "model_tool/gltf_file.h"
#include "model_tool/surface.h"

namespace model_tool {

/// The materials of a glTF file. Each texture is decoded once, when a surface that is drawn needs it.
class GltfMaterials {
 public:
  explicit GltfMaterials(const GltfFile& file) : file_(file) {}

  /// -1: a surface that the file gives no material; it gets the plug-in's grey.
  ///
  /// Failure  ToolError.
  Material Read(int material);

 private:
  void AddTexture(const tinygltf::Value& description, Material& material);
  void AddTexture(int texture, int coordinate_set, const tinygltf::ExtensionMap& extensions, Material& material);

  const GltfFile& file_;
  std::map<int, std::shared_ptr<const Texture>> textures_;
};

}  // namespace model_tool

#endif  // MODEL_TOOL_GLTF_MATERIAL_H_
