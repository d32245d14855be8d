#include "model_tool/surface.h"

#include <algorithm>
#include <cmath>

namespace model_tool {

namespace {

// How much of what has this alpha can be seen.
double Visible(const Material& material, double alpha) {
  switch (material.mode) {
    case Material::Alpha::kOpaque: return 1;
    case Material::Alpha::kMask: return alpha >= material.cutoff ? 1 : 0;
    case Material::Alpha::kBlend: return std::clamp(alpha, 0.0, 1.0);
  }
  return 1;
}

// Into how many pieces each side is cut, so that about every pixel under the triangle counts, up to a limit.
int Pieces(const Texture& texture, const std::array<std::array<double, 2>, 3>& uv) {
  double longest = 0;
  for (size_t i = 0; i < 3; ++i) {
    const double width = (uv[(i + 1) % 3][0] - uv[i][0]) * texture.width();
    const double height = (uv[(i + 1) % 3][1] - uv[i][1]) * texture.height();
    longest = std::max(longest, std::hypot(width, height));
  }
  constexpr double kMost = 96;
  return std::isfinite(longest) ? static_cast<int>(std::clamp(std::ceil(longest), 1.0, kMost)) : 1;
}

// Calls function(weights of the three corners) in the middle of each of the equal triangles that cutting the sides into
// `pieces` makes.
template <typename Function>
void ForEachPiece(int pieces, const Function& function) {
  const double step = 1.0 / pieces;
  for (int row = 0; row < pieces; ++row) {
    for (int column = 0; column < 2 * (pieces - row) - 1; ++column) {
      const bool inverted = column % 2 != 0;
      const double third = inverted ? 2.0 / 3 : 1.0 / 3;
      const int place = column / 2;  // every other triangle stands on its tip between two others
      const double b = (place + third) * step;
      const double c = (row + third) * step;
      function(std::array<double, 3>{1 - b - c, b, c});
    }
  }
}

}  // namespace

std::array<double, 2> CoordinateTransform::operator()(const std::array<double, 2>& uv) const {
  const double u = uv[0] * scale[0];
  const double v = uv[1] * scale[1];
  const double sine = std::sin(rotation);
  const double cosine = std::cos(rotation);
  return {offset[0] + cosine * u + sine * v, offset[1] - sine * u + cosine * v};
}

std::optional<LinearColor> MeanColor(const Material& material, const CornerColors& corners) {
  const bool textured = material.texture && corners.coordinates;
  std::array<std::array<double, 2>, 3> uv = {};
  if (textured) {
    for (size_t i = 0; i < 3; ++i) uv[i] = material.transform((*corners.coordinates)[i]);
  }
  const int pieces = textured ? Pieces(*material.texture, uv) : 1;
  LinearColor sum;
  double visible = 0;
  ForEachPiece(pieces, [&](const std::array<double, 3>& weights) {
    Sample sample = {material.factor, material.alpha};
    if (textured) {
      std::array<double, 2> place = {};
      for (size_t i = 0; i < 3; ++i) {
        place[0] += weights[i] * uv[i][0];
        place[1] += weights[i] * uv[i][1];
      }
      const Sample texel = material.texture->At(place[0], place[1]);
      sample = {sample.color * texel.color, sample.alpha * texel.alpha};
    }
    if (corners.colors) {
      Sample vertex = {{}, 0};
      for (size_t i = 0; i < 3; ++i) {
        vertex.color = vertex.color + weights[i] * (*corners.colors)[i].color;
        vertex.alpha += weights[i] * (*corners.colors)[i].alpha;
      }
      sample = {sample.color * vertex.color, sample.alpha * vertex.alpha};
    }
    const double part = Visible(material, sample.alpha);
    sum = sum + part * sample.color;
    visible += part;
  });
  const double least = material.mode == Material::Alpha::kBlend ? 1.0 / 255 : 0;
  if (visible <= least * pieces * pieces) return std::nullopt;
  return (1 / visible) * sum;
}

}  // namespace model_tool
