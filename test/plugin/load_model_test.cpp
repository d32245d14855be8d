// "loadModel": which paths are tried, what the viewer holds afterwards.

#include <filesystem>

#include "plugin/model_path.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"
#include "test/support/source_fixture.h"

using glb_builder::Glb;
using ::testing::ElementsAre;

namespace {

// A mesh of `vertices` vertices (as many triangles as indices give) in one colour.
glb_builder::Mesh FileMesh(size_t vertices, size_t triangles, const std::string& color) {
  std::vector<float> positions;
  for (size_t i = 0; i < vertices; ++i) {
    for (const size_t coordinate : {i % 2, i % 3, i % 5}) positions.push_back(static_cast<float>(coordinate));
  }
  std::vector<uint16_t> indices;
  for (size_t i = 0; i < 3 * triangles; ++i) indices.push_back(static_cast<uint16_t>(i % vertices));
  return glb_builder::Mesh(glb_builder::Floats(positions)).Indices(glb_builder::Ushorts(indices)).Color(color);
}

Glb TwoMeshes() { return Glb().Add(FileMesh(24, 12, "1, 0, 0.8")).Add(FileMesh(36, 12, "0.25, 0.5, 0.123456789")); }

EncodableValue ModelPath(const std::string& path) { return Map({{"modelPath", path}}); }

// Runs in a folder of its own, where relative paths begin.
class LoadModelTest : public PluginTest {
 protected:
  LoadModelTest() { std::filesystem::current_path(folder_.path()); }
  ~LoadModelTest() override { std::filesystem::current_path(folder_before_); }

  void CreateViewerQuietly() {
    CreateTexture();
    out_.Take();
    err_.Take();
  }

  const std::filesystem::path folder_before_ = std::filesystem::current_path();
  TemporaryFolder folder_;
};

TEST_F(LoadModelTest, CandidatesOfAPathInTheBundleAreThePathAndThePathWithoutTheBundle) {
  EXPECT_THAT(ModelPathCandidates("data/flutter_assets/assets/models/device.glb"),
              ElementsAre("data/flutter_assets/assets/models/device.glb", "assets/models/device.glb"));
}

TEST_F(LoadModelTest, CandidatesOfAnotherPathAreThePathAndThePathInTheBundle) {
  EXPECT_THAT(ModelPathCandidates("assets/models/device.glb"),
              ElementsAre("assets/models/device.glb", "data/flutter_assets/assets/models/device.glb"));
}

TEST_F(LoadModelTest, TheBundleInTheMiddleOfAPathIsNotTakenOff) {
  EXPECT_THAT(
      ModelPathCandidates("/abs/dir/data/flutter_assets/x.glb"),
      ElementsAre("/abs/dir/data/flutter_assets/x.glb", "data/flutter_assets//abs/dir/data/flutter_assets/x.glb"));
}

TEST_F(LoadModelTest, AnEmptyPathIsTriedAsItIsAndAsTheBundleAlone) {
  EXPECT_THAT(ModelPathCandidates(""), ElementsAre("", "data/flutter_assets/"));
  CreateViewerQuietly();
  EXPECT_EQ(Call("loadModel", ModelPath("")),
            "error LOAD_FAILED: Failed to load model: fail: read file\nfail: read file\n");
}

TEST_F(LoadModelTest, AModelAtThePathIsLoaded) {
  folder_.Write("device.glb", TwoMeshes());
  CreateViewerQuietly();
  EXPECT_EQ(Call("loadModel", ModelPath("device.glb")), "success true");
  ASSERT_EQ(State()->model.meshes.size(), 2u);
  EXPECT_EQ(State()->model.meshes[1].positions.size(), 36u * 3);
}

TEST_F(LoadModelTest, AModelInTheBundleIsFoundAndTheLogHasBothAttempts) {
  folder_.Write("data/flutter_assets/device.glb", TwoMeshes());
  CreateViewerQuietly();
  EXPECT_EQ(Call("loadModel", ModelPath("device.glb")), "success true");
  EXPECT_EQ(out_.Take(),
            OrbiskLines({kBar, "LoadModel called", kBar, "Model path (original): device.glb", "Loading GLB model...",
                         "Trying path: device.glb", "Trying path: data/flutter_assets/device.glb",
                         "Successfully loaded from: data/flutter_assets/device.glb", kBar, "Model loaded successfully!",
                         "Total meshes: 2", "  Mesh 0: vertices=24 triangles=12 color=(1,0,0.8)",
                         "  Mesh 1: vertices=36 triangles=12 color=(0.25,0.5,0.123457)", "Total vertices: 60",
                         "Total triangles: 24",
                         "GLB loader log: fail: read file\n"
                         "Found 2 meshes\n"
                         "Mesh 0: vertices=24 indices=36 color=(1.000000,0.000000,0.800000)\n"
                         "Mesh 1: vertices=36 indices=36 color=(0.250000,0.500000,0.123457)\n",
                         kBar}));
  EXPECT_EQ(err_.Take(), "");
}

TEST_F(LoadModelTest, AModelBesideTheBundleIsFoundByItsBundlePath) {
  folder_.Write("device.glb", TwoMeshes());
  CreateViewerQuietly();
  EXPECT_EQ(Call("loadModel", ModelPath("data/flutter_assets/device.glb")), "success true");
}

TEST_F(LoadModelTest, BothCandidatesFailingEmptiesTheModel) {
  folder_.Write("broken.glb", Glb().Add(glb_builder::Triangle()).Version(1));
  CreateViewer();
  ASSERT_FALSE(State()->model.meshes.empty());
  EXPECT_EQ(Call("loadModel", ModelPath("broken.glb")),
            "error LOAD_FAILED: Failed to load model: fail: magic/version\nfail: read file\n");
  EXPECT_TRUE(State()->model.meshes.empty());
}

TEST_F(LoadModelTest, AModelReplacesTheEarlierOne) {
  folder_.Write("two.glb", TwoMeshes());
  folder_.Write("one.glb", Glb().Add(glb_builder::Triangle()));
  CreateViewerQuietly();
  Call("loadModel", ModelPath("two.glb"));
  Call("loadModel", ModelPath("one.glb"));
  EXPECT_EQ(State()->model.meshes.size(), 1u);
}

TEST_F(LoadModelTest, AModelLoadedAfterDisposeIsKeptForTheNextTexture) {
  folder_.Write("device.glb", TwoMeshes());
  CreateViewerQuietly();
  Call("dispose");
  EXPECT_EQ(Call("loadModel", ModelPath("device.glb")), "success true");
  const int64_t id = CreateTexture();
  EXPECT_EQ(Call("startRendering"), "success true");
  EXPECT_TRUE(WaitForFrames(id, 1));
}

TEST_F(LoadModelTest, ARunningThreadDrawsTheNewModel) {
  folder_.Write("device.glb", TwoMeshes());
  const int64_t id = CreateViewer();
  Call("startRendering");
  ASSERT_TRUE(WaitForFrames(id, 1));
  EXPECT_EQ(Call("loadModel", ModelPath("no such file")),
            "error LOAD_FAILED: Failed to load model: fail: read file\nfail: read file\n");
  EXPECT_EQ(Call("loadModel", ModelPath("device.glb")), "success true");
  EXPECT_TRUE(WaitForFrames(id, 2));
}

}  // namespace
