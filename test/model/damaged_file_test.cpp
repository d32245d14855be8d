// Files of which any byte may be any other, or the rest missing: what is loaded is sound, whatever it is.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "model/glb_loader.h"
#include "test/support/glb_builder.h"

namespace {

using namespace glb_builder;

// A file in memory: thousands of them take no time.
class MemoryFile {
 public:
  MemoryFile() : file_(memfd_create("model.glb", 0)) {
    if (file_ < 0) throw std::runtime_error("memfd_create");
  }
  ~MemoryFile() { close(file_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// Replaces what it holds. Returns its path.
  std::string Write(const Bytes& bytes) const {
    const auto size = static_cast<ssize_t>(bytes.size());
    if (ftruncate(file_, size) != 0 || pwrite(file_, bytes.data(), bytes.size(), 0) != size) {
      throw std::runtime_error("MemoryFile");
    }
    return "/proc/self/fd/" + std::to_string(file_);
  }

 private:
  int file_;
};

// Loads it and expects nothing but a sound model, a clean failure or an error in a number.
void ExpectSoundOrFailed(const std::string& path) {
  GLBModel model;
  std::string log;
  try {
    const bool ok = load_glb_model(path, model, &log);
    EXPECT_EQ(ok, !model.meshes.empty());
  } catch (const std::invalid_argument& exception) {
    EXPECT_THAT(exception.what(), ::testing::AnyOf(::testing::StrEq("stoi"), ::testing::StrEq("stof")));
  } catch (const std::out_of_range& exception) {
    EXPECT_THAT(exception.what(), ::testing::AnyOf(::testing::StrEq("stoi"), ::testing::StrEq("stof")));
  }
  for (const MeshData& mesh : model.meshes) {
    EXPECT_EQ(mesh.positions.size() % 3, 0u);
    EXPECT_EQ(mesh.normals.size(), mesh.positions.size());
    for (const uint32_t index : mesh.indices) EXPECT_LT(index, mesh.positions.size() / 3);
  }
}

Glb Rich() {
  return Glb()
      .Add(Triangle().Normals(Floats(kTrianglePositions).Stride(16)).Color("1, -0.5, 1e-3").Field("name", "\"a\""))
      .Add(Mesh(Floats(kTrianglePositions).Offset(4)).Indices(Uints({2, 1, 0})));
}

TEST(DamagedFileTest, AnyByteOfAFileMayBeAnyOther) {
  const MemoryFile memory;
  const Bytes kWrong = {0x00, 0xFF, '{', '}', ']', '"', '-', '9'};
  Bytes file = Rich().Build();
  for (size_t i = 0; i < file.size(); ++i) {
    SCOPED_TRACE(i);
    const uint8_t right = file[i];
    for (const uint8_t wrong : kWrong) {
      file[i] = wrong;
      ExpectSoundOrFailed(memory.Write(file));
    }
    file[i] = right;
  }
}

TEST(DamagedFileTest, TheJsonMayEndAnywhereInAFileThatIsWholeOtherwise) {
  const MemoryFile memory;
  const Glb glb = Rich();
  const std::string json = glb.JsonText();
  for (size_t size = 0; size <= json.size(); ++size) {
    SCOPED_TRACE(size);
    ExpectSoundOrFailed(memory.Write(Glb(glb).Unpadded().Json(json.substr(0, size))));
  }
}

TEST(DamagedFileTest, TheBinMayEndAnywhereInAFileThatIsWholeOtherwise) {
  const MemoryFile memory;
  const Glb glb = Rich();
  const Bytes bin = glb.BinData();
  for (size_t size = 0; size <= bin.size(); ++size) {
    SCOPED_TRACE(size);
    ExpectSoundOrFailed(memory.Write(Glb(glb).Unpadded().Bin(Bytes(bin.data(), bin.data() + size))));
  }
}

}  // namespace
