// The numbers that reach the graphics libraries, bit for bit the same on every machine: matrices of some poses, normals
// that the loader computes. Multiplications and additions that a compiler fuses on one machine alone would show here.
//
// ORBISK_GOLDEN_WRITE=1 in the environment writes them anew.

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "fake_graphics.h"
#include "test/golden/poses.h"
#include "test/support/built_library.h"
#include "test/support/files.h"
#include "test/support/fresh_graphics.h"
#include "test/support/glb_builder.h"

namespace {

// "name 3f800000 00000000 ...\n"
std::string BitsLine(const std::string& name, const std::vector<float>& numbers) {
  std::ostringstream line;
  line << name << std::hex << std::setfill('0');
  for (const float number : numbers) {
    uint32_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    line << ' ' << std::setw(8) << bits;
  }
  return line.str() + '\n';
}

// A landscape of 8 x 8 vertices without normals. Its coordinates take all bits that a float has: thirds and sevenths.
glb_builder::Mesh Landscape() {
  constexpr uint16_t kSide = 8;
  std::vector<float> positions;
  std::vector<uint16_t> indices;
  for (uint16_t row = 0; row < kSide; ++row) {
    for (uint16_t column = 0; column < kSide; ++column) {
      const auto height = static_cast<float>((row * row * 5 + column * 11 + row * column * 3) % 17);
      positions.insert(positions.end(), {static_cast<float>(column) / 3, height / 7, static_cast<float>(row) / 3});
      if (row == 0 || column == 0) continue;
      const auto corner = static_cast<uint16_t>(row * kSide + column);
      const auto left = static_cast<uint16_t>(corner - 1);
      const auto above = static_cast<uint16_t>(corner - kSide);
      const auto left_above = static_cast<uint16_t>(above - 1);
      indices.insert(indices.end(), {left_above, left, above, above, left, corner});
    }
  }
  return glb_builder::Mesh(glb_builder::Floats(positions)).Indices(glb_builder::Ushorts(indices));
}

// A plug-in of its own for each pose: what one has set stays set after "dispose".
class Viewer : private FreshGraphics, public CommandTest {
 public:
  Viewer() : CommandTest(LoadedRegistration()) {}

  fake_graphics::Draw FirstDraw(const Pose& pose, const std::string& model) {
    const int64_t id = CreateTexture(pose.width, pose.height);
    EXPECT_EQ(Call("loadModel", Map({{"modelPath", model}})), "success true");
    for (const auto& [command, arguments] : pose.commands) EXPECT_EQ(Call(command, arguments), "success true");
    fake_graphics::ClearCalls();
    EXPECT_EQ(Call("startRendering"), "success true");
    EXPECT_TRUE(WaitForFrames(id, 1));
    EXPECT_EQ(Call("stopRendering"), "success true");
    const std::vector<fake_graphics::Draw> draws = fake_graphics::Draws();
    EXPECT_EQ(Call("dispose"), "success true");
    return draws.at(0);
  }

 private:
  void TestBody() override {}
};

TEST(GoldenNumbersTest, MatricesAndComputedNormalsHaveTheSameBitsEverywhere) {
  const TemporaryFolder folder;
  const std::string model = folder.Write("landscape.glb", glb_builder::Glb().Add(Landscape()));
  std::string drawn;
  fake_graphics::Draw draw;
  for (const Pose& pose : Poses()) {
    draw = Viewer().FirstDraw(pose, model);
    drawn += BitsLine(pose.name, draw.uniforms.at("u_mvp"));
  }
  const std::vector<float>& normals = draw.attributes.at("a_normal").values;
  ASSERT_EQ(normals.size(), 8u * 8 * 3);
  for (size_t vertex = 0; vertex < 64; ++vertex) {
    const auto first = normals.begin() + static_cast<std::ptrdiff_t>(vertex * 3);
    drawn += BitsLine("normal_" + std::to_string(vertex), {first, first + 3});
  }

  if (std::getenv("ORBISK_GOLDEN_WRITE") != nullptr) std::ofstream(ORBISK_GOLDEN_NUMBERS) << drawn;
  std::ostringstream golden;
  golden << std::ifstream(ORBISK_GOLDEN_NUMBERS).rdbuf();
  EXPECT_EQ(drawn, golden.str());
}

}  // namespace
