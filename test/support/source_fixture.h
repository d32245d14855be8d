#ifndef TEST_SUPPORT_SOURCE_FIXTURE_H_
#define TEST_SUPPORT_SOURCE_FIXTURE_H_

#include <array>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "plugin/orbisk_state.h"
#include "test/support/plugin_fixture.h"

/// An axis-aligned box, its faces counter-clockwise from outside, with flat normals.
inline MeshData Box(const std::array<float, 3>& center, float half, const std::array<float, 4>& color) {
  MeshData mesh;
  mesh.color = color;
  for (size_t axis = 0; axis < 3; ++axis) {
    const size_t u = (axis + 1) % 3;
    const size_t v = (axis + 2) % 3;
    for (const float side : {-1.0f, 1.0f}) {
      const auto first = static_cast<uint32_t>(mesh.positions.size() / 3);
      for (const auto& [du, dv] :
           {std::pair(-1.0f, -1.0f), std::pair(side, -side), std::pair(1.0f, 1.0f), std::pair(-side, side)}) {
        std::array<float, 3> corner = center;
        corner[axis] += side * half;
        corner[u] += du * half;
        corner[v] += dv * half;
        mesh.positions.insert(mesh.positions.end(), corner.begin(), corner.end());
        std::array<float, 3> normal = {};
        normal[axis] = side;
        mesh.normals.insert(mesh.normals.end(), normal.begin(), normal.end());
      }
      for (const uint32_t i : {0, 1, 2, 0, 2, 3}) mesh.indices.push_back(first + i);
    }
  }
  return mesh;
}

/// True when some thread holds the mutex; the calling one may be it.
inline bool IsLocked(std::mutex& mutex) {
  bool locked = true;
  std::thread([&] {
    if (!mutex.try_lock()) return;
    locked = false;
    mutex.unlock();
  }).join();
  return locked;
}

/// The fixture of the test program that has the plug-in's source inside: it sees the viewer state.
class PluginTest : public CommandTest {
 protected:
  PluginTest() : CommandTest(&OrbiskPluginRegisterWithRegistrar) {}

  static OrbiskState* State() { return g_viewer_state.get(); }

  /// Gives the viewer state a model without a file.
  static void SetModel(std::vector<MeshData> meshes) {
    const StateLock lock(*State());
    State()->model.meshes = std::move(meshes);
  }
  static void SetSmallModel() { SetModel({Box({0, 0, 0}, 1, {1, 0.5f, 0.25f, 1})}); }

  /// A viewer with a texture and a small model; returns the texture's identifier. The log so far is dropped.
  int64_t CreateViewer(int32_t width = 64, int32_t height = 48) {
    const int64_t id = CreateTexture(width, height);
    SetSmallModel();
    out_.Take();
    return id;
  }
};

#endif  // TEST_SUPPORT_SOURCE_FIXTURE_H_
