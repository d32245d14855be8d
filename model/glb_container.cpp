#include "model/glb_container.h"

#include <cstring>
#include <locale>
#include <sstream>

#include "model/json_scanning.h"
#include "model/load_log.h"
#include "model/mesh_primitive.h"

namespace glb {

namespace {

constexpr uint32_t kMagic = 0x46546C67;      // "glTF"
constexpr uint32_t kJsonChunk = 0x4E4F534A;  // "JSON"
constexpr uint32_t kBinChunk = 0x004E4942;   // "BIN\0"

uint32_t read_u32(const std::vector<uint8_t>& bytes, uint64_t offset) {
  uint32_t value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

// GLB: "glTF" 4 | version 4 | length 4 | J 4 | "JSON" 4 | text J | B 4 | "BIN\0" 4 | data B
//
// The total length is not looked at, nor is what follows the BIN chunk. `bin` points into `bytes`.
bool read_container(const std::vector<uint8_t>& bytes, std::string& json, BinChunk& bin, std::string* log) {
  if (bytes.size() < 12) {
    append(log, "fail: header\n");
    return false;
  }
  if (read_u32(bytes, 0) != kMagic || read_u32(bytes, 4) != 2) {
    append(log, "fail: magic/version\n");
    return false;
  }
  if (bytes.size() < 20) return false;
  const uint64_t json_end = 20 + uint64_t{read_u32(bytes, 12)};  // 64 bits: the length may be close to 2^32
  if (json_end > bytes.size()) return false;
  json.assign(reinterpret_cast<const char*>(bytes.data()) + 20, json_end - 20);
  if (read_u32(bytes, 16) != kJsonChunk) {
    append(log, "fail: first chunk not JSON\n");
    return false;
  }
  if (json_end + 8 > bytes.size()) return false;
  const uint32_t bin_length = read_u32(bytes, json_end);
  if (json_end + 8 + bin_length > bytes.size()) return false;
  if (read_u32(bytes, json_end + 4) != kBinChunk) {
    append(log, "fail: second chunk not BIN\n");
    return false;
  }
  bin = {bytes.data() + json_end + 8, bin_length};
  return true;
}

// "Mesh 0: vertices=24 indices=36 color=(0.800000,0.800000,0.800000)\n"
std::string describe_mesh(size_t index, const MeshData& mesh) {
  std::ostringstream line(std::ios_base::out);  // the constructor without a mode is newer than many boards' libstdc++
  line.imbue(std::locale::classic());
  line.setf(std::ios::fixed);
  line.precision(6);
  line << "Mesh " << index << ": vertices=" << mesh.positions.size() / 3 << " indices=" << mesh.indices.size()
       << " color=(" << mesh.color[0] << "," << mesh.color[1] << "," << mesh.color[2] << ")\n";
  return line.str();
}

}  // namespace

size_t count_meshes(std::string_view json) {
  const size_t bracket = json_scanning::find_after_key(json, "meshes", '[');
  return bracket == json_scanning::npos ? 0 : json_scanning::scan_array(json, bracket, -1).object_count;
}

bool add_meshes(const std::vector<uint8_t>& bytes, GLBModel& model, std::string* log) {
  std::string json;
  BinChunk bin = {};
  if (!read_container(bytes, json, bin, log)) return false;

  const size_t mesh_count = count_meshes(json);
  append(log, "Found " + std::to_string(mesh_count) + " meshes\n");
  for (size_t i = 0; i < mesh_count; ++i) {
    MeshData mesh;
    std::string mesh_log;
    if (load_mesh_primitive(json, bin, static_cast<int>(i), mesh, &mesh_log)) {
      model.meshes.push_back(mesh);
      append(log, describe_mesh(i, mesh));
    } else {
      append(log, "Failed to load mesh " + std::to_string(i) + ": " + mesh_log + "\n");
    }
  }
  return !model.meshes.empty();
}

}  // namespace glb
