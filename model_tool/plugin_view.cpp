#include "model_tool/plugin_view.h"

#include <exception>
#include <sstream>

#include "model/glb_loader.h"

namespace model_tool {

namespace {

// In a person's words.
std::string Plain(const std::string& loader_words) {
  if (loader_words.empty()) return "it names data that does not exist";
  if (loader_words == "pos type") return "its positions are quantised or compressed, or it has none";
  if (loader_words == "no POSITION") return "it has no positions";
  return loader_words;
}

// Its lines "Failed to load mesh 3: fail: pos type"; a mesh may fail without a word.
std::map<int, std::string> FailedMeshes(const std::string& log) {
  std::map<int, std::string> failed;
  const std::string beginning = "Failed to load mesh ";
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    const size_t colon = line.find(": ");
    if (line.rfind(beginning, 0) != 0 || colon == std::string::npos) continue;
    std::string why = line.substr(colon + 2);
    if (why.rfind("fail: ", 0) == 0) why.erase(0, 6);
    failed[std::stoi(line.substr(beginning.size()))] = Plain(why);
  }
  return failed;
}

Point PointAt(const std::vector<float>& numbers, size_t vertex) {
  return {numbers[3 * vertex], numbers[3 * vertex + 1], numbers[3 * vertex + 2]};
}

Part PartOf(const MeshData& mesh) {
  Part part;
  const auto light = [](float display) { return static_cast<float>(DecodeSrgb(static_cast<double>(display))); };
  for (size_t i = 0; i + 2 < mesh.indices.size(); i += 3) {
    Triangle triangle;
    for (size_t k = 0; k < 3; ++k) {
      triangle.positions[k] = PointAt(mesh.positions, mesh.indices[i + k]);
      triangle.normals[k] = PointAt(mesh.normals, mesh.indices[i + k]);
    }
    triangle.color = {light(mesh.color[0]), light(mesh.color[1]), light(mesh.color[2])};
    if (HasArea(triangle)) part.triangles.push_back(triangle);
  }
  return part;
}

}  // namespace

PluginView LoadAsPlugin(const std::string& path) {
  PluginView view;
  GLBModel model;
  std::string log;
  bool loaded = false;
  try {
    loaded = load_glb_model(path, model, &log);
  } catch (const std::exception& error) {
    view.refusal = std::string("a number in its JSON cannot be read (") + error.what() + ")";
    return view;
  }
  view.failed = FailedMeshes(log);
  if (!loaded) {
    view.refusal = "no mesh of it can be loaded";
    if (log.empty()) view.refusal = "its BIN chunk is missing, or a length in it is wrong";
    if (log.rfind("fail: ", 0) == 0) view.refusal = log.substr(6, log.find('\n') - 6);
    if (!view.failed.empty()) view.refusal += ": " + view.failed.begin()->second;
    return view;
  }
  for (const MeshData& mesh : model.meshes) {
    view.scene.parts.push_back(PartOf(mesh));
    view.scene.triangle_count += view.scene.parts.back().triangles.size();
    view.vertices += mesh.positions.size() / 3;
  }
  int number = 0;
  for (size_t part = 0; part < model.meshes.size(); ++part, ++number) {
    while (view.failed.count(number) != 0) ++number;
    view.part_of_mesh[number] = part;
  }
  return view;
}

}  // namespace model_tool
