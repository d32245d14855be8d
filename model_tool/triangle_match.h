#ifndef MODEL_TOOL_TRIANGLE_MATCH_H_
#define MODEL_TOOL_TRIANGLE_MATCH_H_

#include <cstddef>
#include <vector>

#include "model_tool/geometry.h"
#include "model_tool/scene.h"

namespace model_tool {

/// How the plug-in fits a model into its view: the middle of the bounding box becomes the origin, its longest side 1.
struct Fit {
  Vec3 middle;
  double scale = 1;

  Vec3 operator()(const Vec3& v) const { return scale * (v - middle); }
};

Fit FitOf(const Scene& scene);

/// Two models laid over each other, each fitted, triangle by triangle.
struct Comparison {
  size_t matched = 0;
  size_t missing = 0;         // in the first only
  size_t extra = 0;           // in the second only
  size_t other_color = 0;     // matched, but shown in another colour
  double color_distance = 0;  // the largest difference in a channel of what the screen is given, 0 to 1
  size_t darker = 0;          // of those in another colour, shown darker
};

/// `meant` against `shown`; both in linear light. Corners count as the same within a ten-thousandth of the model's size.
Comparison Compare(const Scene& meant, const Scene& shown);

}  // namespace model_tool

#endif  // MODEL_TOOL_TRIANGLE_MATCH_H_
