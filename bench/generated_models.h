#ifndef BENCH_GENERATED_MODELS_H_
#define BENCH_GENERATED_MODELS_H_

#include <cstddef>
#include <string>

#include "model/glb_loader.h"

/// What a generated model is made of: meshes that all have so many vertices.
struct ModelShape {
  size_t mesh_count;
  size_t vertex_count;  // per mesh, a multiple of 10
  bool normals;
};

/// A .glb file and what it holds.
struct GeneratedModel {
  std::string path;
  std::string json;
  GLBModel content;  // colours left at their default, normals empty where the file has none
};

/// "30 x 2000, no normals"
std::string NameOf(const ModelShape& shape);

/// The model of this shape, written into a temporary folder when it is first asked for: bent sheets whose JSON is as
/// exporters write it (minified, everything named, an accessor and a buffer view per array, a material per mesh),
/// their indices of 16 bits where those suffice.
///
/// Lifetime  the program's; the folder goes away with it.
const GeneratedModel& Generated(const ModelShape& shape);

#endif  // BENCH_GENERATED_MODELS_H_
