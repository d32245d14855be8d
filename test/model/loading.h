#ifndef TEST_MODEL_LOADING_H_
#define TEST_MODEL_LOADING_H_

#include <string>

#include "model/glb_loader.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"

// What the tests of the model loader share: loading what the builder made, and what a triangle's log says.
namespace model_test {

/// What came out of one load_glb_model.
struct Loaded {
  bool ok;
  std::string log;
  GLBModel model;
};

inline Loaded LoadPath(const std::string& path) {
  Loaded loaded;
  loaded.ok = load_glb_model(path, loaded.model, &loaded.log);
  return loaded;
}

inline Loaded Load(const glb_builder::Bytes& file) {
  const TemporaryFolder folder;
  return LoadPath(folder.Write("model.glb", file));
}

/// A model that is not empty, for what has to empty or replace it.
inline GLBModel PreviousModel() {
  MeshData mesh;
  mesh.positions = {7, 7, 7};
  return GLBModel{{mesh, mesh}};
}

/// The line of a mesh without a material.
inline std::string MeshLine(size_t index, size_t vertices, size_t indices,
                            const std::string& color = "0.800000,0.800000,0.800000") {
  return "Mesh " + std::to_string(index) + ": vertices=" + std::to_string(vertices) +
         " indices=" + std::to_string(indices) + " color=(" + color + ")\n";
}

/// The log of a file that holds a triangle and nothing else.
inline const char kTriangleLog[] = "Found 1 meshes\nMesh 0: vertices=3 indices=3 color=(0.800000,0.800000,0.800000)\n";

}  // namespace model_test

#endif  // TEST_MODEL_LOADING_H_
