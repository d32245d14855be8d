#include "bench/generated_models.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

#include "test/support/files.h"
#include "test/support/glb_builder.h"

namespace {

using namespace glb_builder;

// A sheet of width x height vertices, two triangles between every four.
MeshData Sheet(size_t width, size_t height, bool normals, std::mt19937& engine) {
  const auto random = [&engine] { return static_cast<float>(engine() % 1024) / 1024.0f; };
  MeshData mesh;
  for (size_t row = 0; row < height; ++row) {
    for (size_t column = 0; column < width; ++column) {
      mesh.positions.insert(mesh.positions.end(), {static_cast<float>(column), static_cast<float>(row), random()});
      if (!normals) continue;
      const float x = random(), y = random(), length = std::sqrt(x * x + y * y + 1.0f);
      mesh.normals.insert(mesh.normals.end(), {x / length, y / length, 1.0f / length});
    }
  }
  for (size_t row = 0; row + 1 < height; ++row) {
    for (size_t column = 0; column + 1 < width; ++column) {
      const auto corner = static_cast<uint32_t>(row * width + column), above = static_cast<uint32_t>(corner + width);
      mesh.indices.insert(mesh.indices.end(), {corner, corner + 1, above, above, corner + 1, above + 1});
    }
  }
  return mesh;
}

// A width near the square root that divides the number.
size_t SheetWidth(size_t vertex_count) {
  size_t width = static_cast<size_t>(std::sqrt(static_cast<double>(vertex_count)));
  while (vertex_count % width != 0) --width;
  return width;
}

std::string Bound(const std::vector<float>& positions, float (*choose)(float, float)) {
  std::string text;
  for (size_t axis = 0; axis < 3; ++axis) {
    float bound = positions[axis];
    for (size_t i = axis; i < positions.size(); i += 3) bound = choose(bound, positions[i]);
    text += (axis == 0 ? "" : ",") + std::to_string(bound);
  }
  return "[" + text + "]";
}

Accessor IndexAccessor(const MeshData& mesh) {
  if (mesh.positions.size() / 3 > 65536) return Uints(mesh.indices);
  std::vector<uint16_t> indices;
  for (const uint32_t index : mesh.indices) indices.push_back(static_cast<uint16_t>(index));
  return Ushorts(indices);
}

Mesh Exported(const MeshData& mesh, size_t number) {
  const auto named = [number](const std::string& kind) {
    return R"("name":")" + kind + "." + std::to_string(number) + '"';
  };
  Accessor positions = Floats(mesh.positions);
  positions.Field("max", Bound(mesh.positions, [](float a, float b) { return std::max(a, b); }));
  positions.Field("min", Bound(mesh.positions, [](float a, float b) { return std::min(a, b); }));
  Mesh exported(positions.ViewField("target", "34962"));
  if (!mesh.normals.empty()) exported.Normals(Floats(mesh.normals).ViewField("target", "34962"));
  exported.Indices(IndexAccessor(mesh).ViewField("target", "34963"));
  exported.Field("name", "\"Sheet." + std::to_string(number) + '"');
  exported.Material("{" + named("Material") +
                    R"(,"pbrMetallicRoughness":{"baseColorFactor":[0.8,0.5,0.2,1],"metallicFactor":0}})");
  return exported;
}

// The scene, without which other loaders find nothing, in front of what the builder writes.
std::string WithScene(const std::string& json, size_t mesh_count) {
  std::string numbers, nodes;
  for (size_t i = 0; i < mesh_count; ++i) {
    const std::string number = std::to_string(i), comma = i == 0 ? "" : ",";
    numbers += comma + number;
    nodes += comma + R"({"mesh":)" + number + R"(,"name":"Part.)" + number + R"("})";
  }
  return R"({"scene":0,"scenes":[{"name":"Scene","nodes":[)" + numbers + R"(]}],"nodes":[)" + nodes + "]," +
         json.substr(1);
}

GeneratedModel Generate(const ModelShape& shape, const std::string& path) {
  std::mt19937 engine(1);
  const size_t width = SheetWidth(shape.vertex_count);
  GeneratedModel model;
  Glb glb;
  for (size_t i = 0; i < shape.mesh_count; ++i) {
    model.content.meshes.push_back(Sheet(width, shape.vertex_count / width, shape.normals, engine));
    glb.Add(Exported(model.content.meshes.back(), i));
  }
  model.path = path;
  model.json = WithScene(glb.JsonText(), shape.mesh_count);
  WriteFile(path, glb.Json(model.json).Bin(glb.BinData()).Build());
  return model;
}

}  // namespace

std::string NameOf(const ModelShape& shape) {
  return std::to_string(shape.mesh_count) + " x " + std::to_string(shape.vertex_count) +
         (shape.normals ? "" : ", no normals");
}

const GeneratedModel& Generated(const ModelShape& shape) {
  static const TemporaryFolder folder;
  static std::map<std::string, GeneratedModel> models;
  const std::string name = NameOf(shape);
  const auto found = models.find(name);
  if (found != models.end()) return found->second;
  return models[name] = Generate(shape, folder.PathOf(name + ".glb"));
}
