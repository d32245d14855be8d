#include "model_tool/palette.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <vector>

namespace model_tool {

namespace {

// Triangles that a screen shows in the same colour.
struct Shade {
  LinearColor sum;  // of light over the area
  double area = 0;
  OkLab place;
  size_t cluster = 0;
};

uint32_t KeyOf(const Color& color) {
  const auto byte = [](float light) {
    return static_cast<uint32_t>(std::lround(EncodeSrgb(static_cast<double>(light)) * 255));
  };
  return byte(color.r) << 16 | byte(color.g) << 8 | byte(color.b);
}

double AreaOf(const Triangle& triangle) {
  const Vec3 a = ToVec3(triangle.positions[0]);
  return Length(Cross(ToVec3(triangle.positions[1]) - a, ToVec3(triangle.positions[2]) - a)) / 2;
}

std::map<uint32_t, Shade> ShadesOf(const Scene& scene) {
  std::map<uint32_t, Shade> shades;
  for (const Part& part : scene.parts) {
    for (const Triangle& triangle : part.triangles) {
      Shade& shade = shades[KeyOf(triangle.color)];
      const double area = AreaOf(triangle);
      shade.sum = shade.sum + area * LinearColor{triangle.color.r, triangle.color.g, triangle.color.b};
      shade.area += area;
    }
  }
  for (auto& [key, shade] : shades) shade.place = ToOkLab((1 / shade.area) * shade.sum);
  return shades;
}

std::array<double, 3> Axes(const OkLab& color) { return {color.l, color.a, color.b}; }

double SquaredDistance(const OkLab& a, const OkLab& b) {
  return (a.l - b.l) * (a.l - b.l) + (a.a - b.a) * (a.a - b.a) + (a.b - b.b) * (a.b - b.b);
}

// What clusters are made from and compared by.
struct Cluster {
  double area = 0;
  std::array<double, 3> sum = {};
  std::array<double, 3> squares = {};

  void Add(const Shade& shade) {
    area += shade.area;
    for (size_t i = 0; i < 3; ++i) {
      sum[i] += shade.area * Axes(shade.place)[i];
      squares[i] += shade.area * Axes(shade.place)[i] * Axes(shade.place)[i];
    }
  }
  double Mean(size_t axis) const { return sum[axis] / area; }
  OkLab Center() const { return {Mean(0), Mean(1), Mean(2)}; }
  double Error(size_t axis) const { return std::max(0.0, squares[axis] - sum[axis] * Mean(axis)); }
  double Error() const { return Error(0) + Error(1) + Error(2); }
};

std::vector<Cluster> Sum(const std::vector<Shade*>& shades, size_t count) {
  std::vector<Cluster> clusters(count);
  for (const Shade* shade : shades) clusters[shade->cluster].Add(*shade);
  return clusters;
}

// Cuts the cluster with the largest error in two, across its widest axis, until there are enough.
void Split(const std::vector<Shade*>& shades, size_t count) {
  for (size_t next = 1; next < count; ++next) {
    const std::vector<Cluster> clusters = Sum(shades, next);
    const auto worst = std::max_element(clusters.begin(), clusters.end(),
                                        [](const Cluster& a, const Cluster& b) { return a.Error() < b.Error(); });
    size_t axis = 0;
    for (size_t i = 1; i < 3; ++i) {
      if (worst->Error(i) > worst->Error(axis)) axis = i;
    }
    const auto number = static_cast<size_t>(worst - clusters.begin());
    for (Shade* shade : shades) {
      if (shade->cluster == number && Axes(shade->place)[axis] > worst->Mean(axis)) shade->cluster = next;
    }
  }
}

// Moves each shade to the nearest cluster, and each cluster to the middle of its shades.
void Settle(const std::vector<Shade*>& shades, size_t count) {
  constexpr int kRounds = 16;
  for (int round = 0; round < kRounds; ++round) {
    const std::vector<Cluster> clusters = Sum(shades, count);
    bool moved = false;
    for (Shade* shade : shades) {
      size_t nearest = shade->cluster;
      double distance = std::numeric_limits<double>::infinity();
      for (size_t i = 0; i < count; ++i) {
        if (clusters[i].area == 0) continue;
        const double candidate = SquaredDistance(shade->place, clusters[i].Center());
        if (candidate < distance) {
          distance = candidate;
          nearest = i;
        }
      }
      moved = moved || nearest != shade->cluster;
      shade->cluster = nearest;
    }
    if (!moved) return;
  }
}

Color Rounded(const LinearColor& color) {
  return {static_cast<float>(color.r), static_cast<float>(color.g), static_cast<float>(color.b)};
}

}  // namespace

size_t ReducePalette(Scene& scene, size_t most) {
  std::map<uint32_t, Shade> shades = ShadesOf(scene);
  std::map<uint32_t, Color> palette;
  size_t count = shades.size();
  if (count <= most) {
    for (const auto& [key, shade] : shades) palette[key] = Rounded((1 / shade.area) * shade.sum);
  } else {
    std::vector<Shade*> pointers;
    pointers.reserve(count);
    for (auto& [key, shade] : shades) pointers.push_back(&shade);
    Split(pointers, most);
    Settle(pointers, most);
    const std::vector<Cluster> clusters = Sum(pointers, most);
    for (const auto& [key, shade] : shades) palette[key] = Rounded(FromOkLab(clusters[shade.cluster].Center()));
    count = static_cast<size_t>(
        std::count_if(clusters.begin(), clusters.end(), [](const Cluster& cluster) { return cluster.area > 0; }));
  }
  for (Part& part : scene.parts) {
    for (Triangle& triangle : part.triangles) triangle.color = palette[KeyOf(triangle.color)];
  }
  return count;
}

}  // namespace model_tool
