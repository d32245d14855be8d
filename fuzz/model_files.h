#ifndef FUZZ_MODEL_FILES_H_
#define FUZZ_MODEL_FILES_H_

#include <string>
#include <utility>
#include <vector>

#include "test/support/glb_builder.h"

namespace fuzz {

/// The files that a "loadModel" of a fuzzed message finds in the working folder.
inline std::vector<std::pair<std::string, glb_builder::Glb>> ModelFiles() {
  using namespace glb_builder;
  return {
      {"model.glb", Glb().Add(Triangle().Color("1, 0.5, 0"))},
      {"data/flutter_assets/asset.glb", Glb().Add(Triangle()).Add(Triangle().Color("0, 1, 0"))},
      // Its normals come from the file, so that it has no indices.
      {"points.glb", Glb().Add(Mesh(Floats(kTrianglePositions)).Normals(Floats({0, 0, 1, 0, 0, 1, 0, 0, 1})))},
      {"broken.glb", Glb().Add(Triangle()).Version(1)},
      {"no_number.glb", Glb().Add(Triangle()).Add(Mesh(Floats(kTrianglePositions).Field("count", "-")))},
      {"large_number.glb", Glb().Add(Triangle()).Add(Mesh(Floats(kTrianglePositions).Field("count", "99999999999")))},
  };
}

}  // namespace fuzz

#endif  // FUZZ_MODEL_FILES_H_
