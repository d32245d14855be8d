#ifndef TEST_PLUGIN_SIMPLE_MODEL_FIT_H_
#define TEST_PLUGIN_SIMPLE_MODEL_FIT_H_

#include <algorithm>

#include "plugin/scene_transform.h"

/// FitModel as one would write it without a thought of speed: what it has to come to.
inline ModelFit SimpleModelFit(const GLBModel& model) {
  std::array<float, 3> low = {1e30f, 1e30f, 1e30f};
  std::array<float, 3> high = {-1e30f, -1e30f, -1e30f};
  for (const MeshData& mesh : model.meshes) {
    for (size_t i = 0; i + 2 < mesh.positions.size(); i += 3) {
      for (size_t axis = 0; axis < 3; ++axis) {
        const float coordinate = mesh.positions[i + axis];
        if (coordinate < low[axis]) low[axis] = coordinate;
        if (coordinate > high[axis]) high[axis] = coordinate;
      }
    }
  }
  const float extent = std::max({high[2] - low[2], high[1] - low[1], high[0] - low[0]});
  return {{(low[0] + high[0]) * 0.5f, (low[1] + high[1]) * 0.5f, (low[2] + high[2]) * 0.5f},
          extent > 1e-6f ? 1.5f / extent : 1.0f};
}

#endif  // TEST_PLUGIN_SIMPLE_MODEL_FIT_H_
