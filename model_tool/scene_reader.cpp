#include "model_tool/scene_reader.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string_view>

#include "model_tool/assimp_scene.h"
#include "model_tool/files.h"
#include "model_tool/gltf_scene.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

Scene ReadByKind(const std::string& path, std::optional<int> number) {
  const std::string beginning = ReadBeginning(path, 256);
  std::string_view text = beginning;
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  if (text.substr(0, 4) == "glTF" || text.substr(0, 1) == "{") return ReadGltfScene(ReadGltfFile(path), number);
  if (text.substr(0, 12) == "ISO-10303-21") {
    throw ToolError(
        "it is a STEP file, which holds curves and no triangles; export it from a CAD program (FreeCAD opens it) as "
        "glTF, with its colours");
  }
  if (text.empty()) throw ToolError("it is empty");
  if (number) throw ToolError("only a glTF file has numbered scenes");
  return ReadAssimpScene(path);
}

}  // namespace

Scene ReadScene(const std::string& path, std::optional<int> number) {
  constexpr char kMemory[] = "it needs more memory than there is";
  Scene scene;
  try {
    scene = ReadByKind(path, number);
  } catch (const std::bad_alloc&) {
    throw ToolError(kMemory);
  } catch (const std::length_error&) {
    throw ToolError(kMemory);
  }
  if (scene.triangle_count == 0) throw ToolError("there is no triangle in it that could be seen");
  return scene;
}

}  // namespace model_tool
