#ifndef BENCH_OTHER_LOADERS_H_
#define BENCH_OTHER_LOADERS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "model/glb_loader.h"

// What load_glb_model is compared with: each leaves the first primitive of every mesh in the same vectors, colours
// aside. Files that cannot be loaded end in an exception.

GLBModel LoadWithTinygltf(const std::string& path);

/// By assimp, without any of its post-processing.
GLBModel LoadWithAssimp(const std::string& path);

/// Where in a file an array lies. No elements: the mesh has no such array.
struct ArrayLocation {
  uint64_t offset = 0;
  uint64_t count = 0;
  uint64_t stride = 0;  // 0: packed
};

struct MeshLocation {
  ArrayLocation positions;
  ArrayLocation normals;
  ArrayLocation indices;
  bool short_indices = false;
};

struct FileLocations {
  std::string path;
  uint64_t size;
  std::vector<MeshLocation> meshes;
};

FileLocations Locate(const std::string& path);

/// Bytes of JSON in the file.
uint32_t JsonLength(const std::string& path);

/// The least that anybody has to do who knows beforehand what lies where: one read, one vector per array.
GLBModel LoadLocated(const FileLocations& file);

#endif  // BENCH_OTHER_LOADERS_H_
