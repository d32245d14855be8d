#include "model_tool/glb_writer.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "model_tool/color.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

constexpr int kArrayBuffer = 34962;
constexpr int kElementArrayBuffer = 34963;
constexpr int kUnsignedShort = 5123;
constexpr int kUnsignedInt = 5125;
constexpr int kFloat = 5126;

template <typename Value>
void Append(std::string& bytes, const Value& value) {
  char copy[sizeof value];
  std::memcpy(copy, &value, sizeof value);
  bytes.append(copy, sizeof value);
}

// As few digits as tell the number from its neighbours.
std::string Shortest(float number) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

// Without an exponent: a colour that is too small for one is black.
std::string Fixed(double number) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, 6).ptr};
}

std::string List(const std::vector<std::string>& elements) {
  std::string text;
  for (const std::string& element : elements) text += (text.empty() ? "" : ",") + element;
  return "[" + text + "]";
}

std::string Member(const std::string& key, const std::string& value) { return "\"" + key + "\":" + value; }
std::string Member(const std::string& key, size_t value) { return Member(key, std::to_string(value)); }

// The parts of the file as they grow, mesh by mesh.
class Writer {
 public:
  void Add(const FlatMesh& mesh) {
    const size_t positions = AddVectors(mesh, &FlatMesh::Vertex::position, true);
    const size_t normals = AddVectors(mesh, &FlatMesh::Vertex::normal, false);
    const size_t indices = AddIndices(mesh);
    const size_t number = meshes_.size();
    meshes_.push_back("{\"primitives\":[{\"attributes\":{" + Member("POSITION", positions) + "," +
                      Member("NORMAL", normals) + "}," + Member("indices", indices) + "," + Member("material", number) +
                      "}]}");
    const std::string color = List({Fixed(EncodeSrgb(static_cast<double>(mesh.color.r))),
                                    Fixed(EncodeSrgb(static_cast<double>(mesh.color.g))),
                                    Fixed(EncodeSrgb(static_cast<double>(mesh.color.b))), "1"});
    materials_.push_back("{\"pbrMetallicRoughness\":{" + Member("baseColorFactor", color) +
                         ",\"metallicFactor\":0,\"roughnessFactor\":1}}");
    nodes_.push_back("{" + Member("mesh", number) + "}");
    roots_.push_back(std::to_string(number));
  }

  std::string Finish() const {
    std::string json = "{\"asset\":{\"version\":\"2.0\",\"generator\":\"" + std::string(kGenerator) + "\"},";
    json += "\"scene\":0,\"scenes\":[{" + Member("nodes", List(roots_)) + "}]," + Member("nodes", List(nodes_)) + ",";
    json += Member("meshes", List(meshes_)) + "," + Member("materials", List(materials_)) + ",";
    json += Member("accessors", List(accessors_)) + "," + Member("bufferViews", List(views_)) + ",";
    json += "\"buffers\":[{" + Member("byteLength", bin_.size()) + "}]}";
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const uint64_t length = 28 + uint64_t{json.size()} + bin_.size();
    // The plug-in counts in 31 bits.
    if (length > 0x7FFFFFFF) throw ToolError("the model is too large for a .glb file; try --max-vertices");

    std::string file = "glTF";
    Append(file, uint32_t{2});
    Append(file, static_cast<uint32_t>(length));
    Append(file, static_cast<uint32_t>(json.size()));
    file += "JSON" + json;
    Append(file, static_cast<uint32_t>(bin_.size()));
    file.append("BIN\0", 4);
    return file + bin_;
  }

 private:
  size_t AddView(size_t offset, int target) {
    views_.push_back("{" + Member("buffer", 0) + "," + Member("byteOffset", offset) + "," +
                     Member("byteLength", bin_.size() - offset) + "," + Member("target", static_cast<size_t>(target)) +
                     "}");
    bin_.resize((bin_.size() + 3) / 4 * 4, '\0');
    return views_.size() - 1;
  }

  size_t AddAccessor(size_t view, int component_type, size_t count, const char* type, const std::string& more) {
    accessors_.push_back("{" + Member("bufferView", view) + "," +
                         Member("componentType", static_cast<size_t>(component_type)) + "," + Member("count", count) +
                         ",\"type\":\"" + type + "\"" + more + "}");
    return accessors_.size() - 1;
  }

  size_t AddVectors(const FlatMesh& mesh, Point FlatMesh::Vertex::*member, bool with_bounds) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    Point low = {kInfinity, kInfinity, kInfinity};
    Point high = {-kInfinity, -kInfinity, -kInfinity};
    const size_t offset = bin_.size();
    for (const FlatMesh::Vertex& vertex : mesh.vertices) {
      const Point& point = vertex.*member;
      Append(bin_, point);
      low = {std::min(low.x, point.x), std::min(low.y, point.y), std::min(low.z, point.z)};
      high = {std::max(high.x, point.x), std::max(high.y, point.y), std::max(high.z, point.z)};
    }
    const auto list = [](const Point& point) {
      return List({Shortest(point.x), Shortest(point.y), Shortest(point.z)});
    };
    const std::string bounds = with_bounds ? "," + Member("min", list(low)) + "," + Member("max", list(high)) : "";
    return AddAccessor(AddView(offset, kArrayBuffer), kFloat, mesh.vertices.size(), "VEC3", bounds);
  }

  size_t AddIndices(const FlatMesh& mesh) {
    const size_t offset = bin_.size();
    const bool narrow = mesh.vertices.size() <= 0xFFFF;  // the last number of 16 bits has a meaning of its own
    for (const uint32_t index : mesh.indices) {
      if (narrow) {
        Append(bin_, static_cast<uint16_t>(index));
      } else {
        Append(bin_, index);
      }
    }
    const size_t view = AddView(offset, kElementArrayBuffer);
    return AddAccessor(view, narrow ? kUnsignedShort : kUnsignedInt, mesh.indices.size(), "SCALAR", "");
  }

  std::string bin_;
  std::vector<std::string> roots_, nodes_, meshes_, materials_, accessors_, views_;
};

}  // namespace

std::string WriteGlb(const std::vector<FlatMesh>& meshes) {
  Writer writer;
  for (const FlatMesh& mesh : meshes) writer.Add(mesh);
  return writer.Finish();
}

}  // namespace model_tool
