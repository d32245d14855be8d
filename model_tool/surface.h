#ifndef MODEL_TOOL_SURFACE_H_
#define MODEL_TOOL_SURFACE_H_

#include <array>
#include <memory>
#include <optional>

#include "model_tool/color.h"
#include "model_tool/texture.h"

namespace model_tool {

/// How a texture's coordinates are moved before it is looked up.
struct CoordinateTransform {
  std::array<double, 2> offset = {0, 0};
  std::array<double, 2> scale = {1, 1};
  double rotation = 0;  // radians

  std::array<double, 2> operator()(const std::array<double, 2>& uv) const;
};

/// What a surface is made of.
struct Material {
  enum class Alpha { kOpaque, kMask, kBlend };

  LinearColor factor = {1, 1, 1};
  double alpha = 1;
  Alpha mode = Alpha::kOpaque;
  double cutoff = 0.5;                     // under kMask, what is less is not there
  std::shared_ptr<const Texture> texture;  // may be null
  int coordinate_set = 0;
  CoordinateTransform transform;
};

/// What a triangle has at its corners besides its material.
struct CornerColors {
  std::optional<std::array<std::array<double, 2>, 3>> coordinates;
  std::optional<std::array<Sample, 3>> colors;
};

/// The one colour that stands for the whole triangle: the mean over its area in linear light, of what can be seen. None
/// where nothing can.
std::optional<LinearColor> MeanColor(const Material& material, const CornerColors& corners);

}  // namespace model_tool

#endif  // MODEL_TOOL_SURFACE_H_
