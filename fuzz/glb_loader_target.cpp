// Any bytes as a .glb file, from the header to the decoded meshes.
//
//   scripts/fuzz.sh 60 glb_loader
//   build/fuzz/fuzz/glb_loader build/fuzz/fuzz/finds/glb_loader/crash-...      # one find again
//
// What must hold:
//   - no read and no write outside, no undefined arithmetic (the sanitizers watch), no allocation that the file's size
//     does not account for;
//   - true says that there are meshes; every mesh that is handed out can be drawn: whole vertices, as many normals,
//     no index that names no vertex;
//   - what was in the log stays, and what is added counts no fewer meshes than there
//     are;
//   - nothing is thrown but what the header names, and the meshes decoded until then can be drawn as well.

#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz/fuzz_target.h"
#include "model/glb_container.h"

namespace {

const std::string kEarlierLog = "earlier\n";

void RequireDrawable(const MeshData& mesh) {
  FUZZ_REQUIRE(!mesh.positions.empty() && mesh.positions.size() % 3 == 0);
  FUZZ_REQUIRE(mesh.normals.size() == mesh.positions.size());
  for (const uint32_t index : mesh.indices) FUZZ_REQUIRE(index < mesh.positions.size() / 3);
}

void RequireLog(const std::string& log, size_t mesh_count) {
  FUZZ_REQUIRE(log.compare(0, kEarlierLog.size(), kEarlierLog) == 0);
  if (mesh_count == 0) return;
  const std::string found = "Found ";
  FUZZ_REQUIRE(log.compare(kEarlierLog.size(), found.size(), found) == 0);
  FUZZ_REQUIRE(std::stoul(log.substr(kEarlierLog.size() + found.size())) >= mesh_count);
}

void Load(const std::vector<uint8_t>& bytes) {
  GLBModel model;
  std::string log = kEarlierLog;
  try {
    FUZZ_REQUIRE(glb::add_meshes(bytes, model, &log) == !model.meshes.empty());
  } catch (const std::invalid_argument& exception) {
    FUZZ_REQUIRE(exception.what() == std::string_view("stoi") || exception.what() == std::string_view("stof"));
  } catch (const std::out_of_range& exception) {
    FUZZ_REQUIRE(exception.what() == std::string_view("stoi") || exception.what() == std::string_view("stof"));
  }
  for (const MeshData& mesh : model.meshes) RequireDrawable(mesh);
  RequireLog(log, model.meshes.size());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Load(std::vector<uint8_t>(data, data + size));
  return 0;
}
