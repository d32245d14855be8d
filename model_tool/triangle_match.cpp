#include "model_tool/triangle_match.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <unordered_map>

namespace model_tool {

namespace {

constexpr double kTolerance = 1e-4;
constexpr double kColorTolerance = 0.02;  // what an eye hardly sees

struct FittedTriangle {
  std::array<Vec3, 3> corners;
  Vec3 middle;
  std::array<double, 3> display;
  bool taken = false;
};

std::vector<FittedTriangle> Fitted(const Scene& scene) {
  const Fit fit = FitOf(scene);
  std::vector<FittedTriangle> triangles;
  for (const Part& part : scene.parts) {
    for (const Triangle& triangle : part.triangles) {
      FittedTriangle fitted;
      for (size_t i = 0; i < 3; ++i) fitted.corners[i] = fit(ToVec3(triangle.positions[i]));
      fitted.middle = (1.0 / 3) * (fitted.corners[0] + fitted.corners[1] + fitted.corners[2]);
      const Color& color = triangle.color;
      fitted.display = {EncodeSrgb(color.r), EncodeSrgb(color.g), EncodeSrgb(color.b)};
      triangles.push_back(fitted);
    }
  }
  return triangles;
}

// The same corners, beginning anywhere, in the same sense.
bool SamePlace(const FittedTriangle& a, const FittedTriangle& b) {
  for (size_t first = 0; first < 3; ++first) {
    bool near = true;
    for (size_t i = 0; i < 3; ++i) near = near && Length(a.corners[i] - b.corners[(first + i) % 3]) < kTolerance;
    if (near) return true;
  }
  return false;
}

double ColorDistance(const FittedTriangle& a, const FittedTriangle& b) {
  double largest = 0;
  for (size_t i = 0; i < 3; ++i) largest = std::max(largest, std::abs(a.display[i] - b.display[i]));
  return largest;
}

// Cells in which triangles are looked up by their middle.
constexpr double kCell = 8 * kTolerance;

int64_t CellOf(double place) { return static_cast<int64_t>(std::floor(place / kCell)); }

uint64_t KeyOf(int64_t x, int64_t y, int64_t z) {
  const auto spread = [](int64_t cell, uint64_t factor) { return static_cast<uint64_t>(cell) * factor; };
  return spread(x, 0x9E3779B97F4A7C15u) ^ spread(y, 0xC2B2AE3D27D4EB4Fu) ^ spread(z, 0x165667B19E3779F9u);
}

// The best match that is not taken: in the same place, and of those the nearest colour.
FittedTriangle* Find(const FittedTriangle& wanted, std::vector<FittedTriangle>& triangles,
                     const std::unordered_multimap<uint64_t, size_t>& cells) {
  FittedTriangle* best = nullptr;
  const auto range = [](double place) { return std::pair(CellOf(place - kTolerance), CellOf(place + kTolerance)); };
  const auto [x0, x1] = range(wanted.middle.x);
  const auto [y0, y1] = range(wanted.middle.y);
  const auto [z0, z1] = range(wanted.middle.z);
  for (int64_t x = x0; x <= x1; ++x) {
    for (int64_t y = y0; y <= y1; ++y) {
      for (int64_t z = z0; z <= z1; ++z) {
        const auto [begin, end] = cells.equal_range(KeyOf(x, y, z));
        for (auto cell = begin; cell != end; ++cell) {
          FittedTriangle& candidate = triangles[cell->second];
          if (candidate.taken || !SamePlace(wanted, candidate)) continue;
          if (best == nullptr || ColorDistance(wanted, candidate) < ColorDistance(wanted, *best)) best = &candidate;
        }
      }
    }
  }
  return best;
}

}  // namespace

Fit FitOf(const Scene& scene) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Vec3 low = {kInfinity, kInfinity, kInfinity};
  Vec3 high = {-kInfinity, -kInfinity, -kInfinity};
  for (const Part& part : scene.parts) {
    for (const Triangle& triangle : part.triangles) {
      for (const Point& point : triangle.positions) {
        const Vec3 v = ToVec3(point);
        low = {std::min(low.x, v.x), std::min(low.y, v.y), std::min(low.z, v.z)};
        high = {std::max(high.x, v.x), std::max(high.y, v.y), std::max(high.z, v.z)};
      }
    }
  }
  const Vec3 size = high - low;
  const double longest = std::max({size.x, size.y, size.z});
  return longest > 0 ? Fit{0.5 * (low + high), 1 / longest} : Fit();
}

Comparison Compare(const Scene& meant, const Scene& shown) {
  std::vector<FittedTriangle> candidates = Fitted(shown);
  std::unordered_multimap<uint64_t, size_t> cells;
  cells.reserve(candidates.size());
  for (size_t i = 0; i < candidates.size(); ++i) {
    const Vec3& middle = candidates[i].middle;
    cells.emplace(KeyOf(CellOf(middle.x), CellOf(middle.y), CellOf(middle.z)), i);
  }
  Comparison result;
  for (const FittedTriangle& wanted : Fitted(meant)) {
    FittedTriangle* const found = Find(wanted, candidates, cells);
    if (found == nullptr) {
      ++result.missing;
      continue;
    }
    found->taken = true;
    ++result.matched;
    const double distance = ColorDistance(wanted, *found);
    result.color_distance = std::max(result.color_distance, distance);
    if (distance <= kColorTolerance) continue;
    ++result.other_color;
    const auto sum = [](const FittedTriangle& triangle) {
      return triangle.display[0] + triangle.display[1] + triangle.display[2];
    };
    if (sum(*found) < sum(wanted)) ++result.darker;
  }
  result.extra = candidates.size() - result.matched;
  return result;
}

}  // namespace model_tool
