#include "model_tool/scene_reader.h"

#include <new>

#include "model_tool/gltf_scene.h"
#include "model_tool/tool_error.h"

namespace model_tool {

Scene ReadScene(const std::string& path, std::optional<int> number) {
  Scene scene;
  try {
    scene = ReadGltfScene(ReadGltfFile(path), number);
  } catch (const std::bad_alloc&) {
    throw ToolError("it needs more memory than there is");
  } catch (const std::length_error&) {
    throw ToolError("it needs more memory than there is");
  }
  if (scene.triangle_count == 0) throw ToolError("there is no triangle in it that could be seen");
  return scene;
}

}  // namespace model_tool
