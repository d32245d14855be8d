// What an accessor names must lie in BIN, and an index must name a vertex: a mesh in which that is not so is
// left out, before anything is read or allocated for it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "test/model/loading.h"
#include "test/support/files.h"
#include "test/support/operator_new.h"

using namespace glb_builder;
using namespace model_test;
using ::testing::ElementsAre;

namespace {

// How far the heap grew at most while the file was loaded.
size_t PeakWhileLoading(const std::string& path) {
  const operator_new::Peak peak;
  GLBModel model;
  std::string log;
  try {
    (void)load_glb_model(path, model, &log);
  } catch (const std::bad_alloc&) {
    ADD_FAILURE() << "out of memory";
  } catch (const std::length_error&) {
    ADD_FAILURE() << "longer than any vector";
  }
  return peak.bytes();
}

// What the loader says of an attribute that begins and ends there in a BIN of so many bytes.
std::string Outside(const std::string& attribute, uint64_t begin, uint64_t end, uint64_t size) {
  return "fail: " + attribute + " outside BIN: needs bytes " + std::to_string(begin) + " to " + std::to_string(end) +
         " of " + std::to_string(size) + "\n";
}

// What it says of an index that names none of three vertices.
std::string NoVertex(size_t index, uint32_t vertex) {
  return "fail: index " + std::to_string(index) + " names vertex " + std::to_string(vertex) + " of 3\n";
}

// What a small file may take: the stream's buffer, the file, its text, a few arrays.
constexpr size_t kLittle = 64 * 1024;

// ---- One bad mesh between two good ones -------------------------------------------------------------------

// BIN: mesh 0 has bytes 0 to 42; the bad mesh's positions begin at 44.
Glb BetweenGoodOnes(const Mesh& bad) { return Glb().Add(Triangle()).Add(bad).Add(Triangle()); }

void ExpectLeftOut(const Mesh& bad, const std::string& message) {
  const Loaded loaded = Load(BetweenGoodOnes(bad));
  EXPECT_TRUE(loaded.ok);
  EXPECT_EQ(loaded.log,
            "Found 3 meshes\n" + MeshLine(0, 3, 3) + "Failed to load mesh 1: " + message + "\n" + MeshLine(2, 3, 3));
  ASSERT_EQ(loaded.model.meshes.size(), 2u);
  for (const MeshData& mesh : loaded.model.meshes) {
    EXPECT_EQ(mesh.positions, kTrianglePositions);
    EXPECT_THAT(mesh.indices, ElementsAre(0, 1, 2));
  }
}

TEST(RangeCheckTest, PositionsOutsideBinAreRefused) {
  // BIN: 44 to 80 positions, 80 to 86 indices, 88 to 130 the last mesh, 132 with the padding.
  const auto bad = [](const Accessor& positions) { return Mesh(positions).Indices(Ushorts({0, 1, 2})); };
  const Accessor good = Floats(kTrianglePositions);
  ExpectLeftOut(bad(Accessor(good).Field("count", "8")), Outside("POSITION", 44, 140, 132));
  ExpectLeftOut(bad(Accessor(good).Field("byteOffset", "53")), Outside("POSITION", 97, 133, 132));
  ExpectLeftOut(bad(Accessor(good).ViewField("byteOffset", "97")), Outside("POSITION", 97, 133, 132));
  ExpectLeftOut(bad(Accessor(good).ViewField("byteStride", "40")), Outside("POSITION", 44, 136, 132));
  ExpectLeftOut(bad(Accessor(good).Field("byteOffset", "132")), Outside("POSITION", 176, 212, 132));
  ExpectLeftOut(bad(Accessor(good).Field("count", "1").ViewField("byteOffset", "121")),
                Outside("POSITION", 121, 133, 132));
  ExpectLeftOut(bad(Accessor(good).Without("bufferView").Field("count", "12")), Outside("POSITION", 0, 144, 132));
}

TEST(RangeCheckTest, NormalsOutsideBinAreRefused) {
  // BIN: 44 to 80 positions, 80 to 116 normals, 116 to 122 indices, 124 to 166 the last mesh, 168 with the
  // padding.
  const auto bad = [](const Accessor& normals) { return Triangle().Normals(normals); };
  const Accessor good = Floats(kTrianglePositions);
  ExpectLeftOut(bad(Accessor(good).Field("byteOffset", "53")), Outside("NORMAL", 133, 169, 168));
  ExpectLeftOut(bad(Accessor(good).ViewField("byteOffset", "133")), Outside("NORMAL", 133, 169, 168));
  ExpectLeftOut(bad(Accessor(good).ViewField("byteStride", "39")), Outside("NORMAL", 80, 170, 168));
}

TEST(RangeCheckTest, IndicesOutsideBinAreRefused) {
  // BIN: 44 to 80 positions, 80 to 86 indices of 16 bits or to 92 of 32 bits.
  ExpectLeftOut(Triangle().Indices(Ushorts({0, 1, 2}).Field("count", "27")), Outside("indices", 80, 134, 132));
  ExpectLeftOut(Triangle().Indices(Ushorts({0, 1, 2}).Field("byteOffset", "47")), Outside("indices", 127, 133, 132));
  ExpectLeftOut(Triangle().Indices(Ushorts({0, 1, 2}).ViewField("byteOffset", "127")),
                Outside("indices", 127, 133, 132));
  ExpectLeftOut(Triangle().Indices(Uints({0, 1, 2}).Field("count", "15")), Outside("indices", 80, 140, 136));
  ExpectLeftOut(Triangle().Indices(Uints({0, 1, 2}).Field("byteOffset", "45")), Outside("indices", 125, 137, 136));
}

TEST(RangeCheckTest, AnIndexThatNamesNoVertexIsRefused) {
  ExpectLeftOut(Triangle().Indices(Ushorts({3, 1, 2})), NoVertex(0, 3));
  ExpectLeftOut(Triangle().Indices(Ushorts({0, 65535, 9})), NoVertex(1, 65535));
  ExpectLeftOut(Triangle().Indices(Uints({0, 1, 3})), NoVertex(2, 3));
  ExpectLeftOut(Triangle().Indices(Uints({0, 1, 0xFFFFFFFF})), NoVertex(2, 4294967295));
  ExpectLeftOut(Triangle().Indices(Uints({0, 0x80000000, 2})), NoVertex(1, 2147483648));
  ExpectLeftOut(Triangle().Indices(Uints({0, 0x00010000, 2})), NoVertex(1, 65536));
  // Also one after the last whole triangle, and beside normals of the file, where nothing is computed from
  // it.
  ExpectLeftOut(Triangle().Indices(Ushorts({0, 1, 2, 3})), NoVertex(3, 3));
  ExpectLeftOut(Triangle().Normals(Floats(kTrianglePositions)).Indices(Ushorts({0, 1, 3})), NoVertex(2, 3));
}

TEST(RangeCheckTest, TheLastVertexMayBeNamed) {
  EXPECT_EQ(Load(Glb().Add(Triangle().Indices(Ushorts({2, 2, 2})))).log, kTriangleLog);
  EXPECT_EQ(Load(Glb().Add(Triangle().Indices(Uints({2, 2, 2})))).log, kTriangleLog);
}

TEST(RangeCheckTest, PositionsAreCheckedBeforeIndicesAndThoseBeforeNormals) {
  const Accessor outside = Floats(kTrianglePositions).Field("byteOffset", "1000");
  const Accessor outside_indices = Ushorts({0, 1, 2}).Field("byteOffset", "1000");
  ExpectLeftOut(Mesh(outside).Normals(outside).Indices(outside_indices), Outside("POSITION", 1044, 1080, 168));
  ExpectLeftOut(Triangle().Normals(outside).Indices(outside_indices), Outside("indices", 1116, 1122, 168));
  ExpectLeftOut(Triangle().Normals(outside).Indices(Ushorts({0, 1, 3})), NoVertex(2, 3));
  ExpectLeftOut(Mesh(Accessor(outside).Field("type", "\"VEC2\"")).Indices(outside_indices), "fail: pos type\n");
}

TEST(RangeCheckTest, AWarningComesBeforeTheMessageOfTheMeshThatIsRefused) {
  ExpectLeftOut(Triangle().Indices(Ubytes({0, 1, 2})).Normals(Floats(kTrianglePositions).Field("byteOffset", "1000")),
                "warn: unsupported index type\n" + Outside("NORMAL", 1080, 1116, 164));
}

// ---- To the last byte -------------------------------------------------------------------------------------

TEST(RangeCheckTest, AnElementMayEndWithBinAndNotOneByteAfter) {
  const Accessor positions = Floats(kTrianglePositions);
  const struct {
    const char* name;
    Mesh mesh;
    size_t vertices, indices;
    std::string message;
  } kRows[] = {
      {"positions", Mesh(positions), 3, 3, Outside("POSITION", 0, 36, 35)},
      {"one position", Mesh(Floats({1, 2, 3})), 1, 0, Outside("POSITION", 0, 12, 11)},
      {"positions with a stride: no gap after the last", Mesh(Accessor(positions).Stride(20)), 3, 3,
       Outside("POSITION", 0, 52, 51)},
      {"positions with an offset", Mesh(Accessor(positions).Offset(5)), 3, 3, Outside("POSITION", 5, 41, 40)},
      {"overlapping positions", Mesh(Floats({1, 2, 3, 4, 5, 6}).Field("count", "13").ViewField("byteStride", "1")), 13,
       0, Outside("POSITION", 0, 24, 23)},
      {"normals", Mesh(positions).Normals(positions), 3, 0, Outside("NORMAL", 36, 72, 71)},
      {"normals with a stride and an offset", Mesh(positions).Normals(Accessor(positions).Stride(13).Offset(2)), 3, 0,
       Outside("NORMAL", 38, 76, 75)},
      {"indices of 16 bits", Mesh(positions).Indices(Ushorts({0, 1, 2})), 3, 3, Outside("indices", 36, 42, 41)},
      {"indices of 32 bits", Mesh(positions).Indices(Uints({0, 1, 2, 0})), 3, 4, Outside("indices", 36, 52, 51)},
      {"indices with an offset", Mesh(positions).Indices(Ushorts({0, 1, 2}).Offset(3)), 3, 3,
       Outside("indices", 39, 45, 44)},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const Glb exact = Glb().Add(row.mesh).Unpadded();
    Loaded loaded = Load(exact);
    EXPECT_TRUE(loaded.ok);
    EXPECT_EQ(loaded.log, "Found 1 meshes\n" + MeshLine(0, row.vertices, row.indices));

    Bytes bin = exact.BinData();
    bin.pop_back();
    loaded = Load(Glb(exact).Bin(bin));
    EXPECT_FALSE(loaded.ok);
    EXPECT_EQ(loaded.log, "Found 1 meshes\nFailed to load mesh 0: " + row.message + "\n");

    // Bytes of the file after BIN are not BIN.
    loaded = Load(Glb(exact).BinLength(static_cast<uint32_t>(bin.size())));
    EXPECT_FALSE(loaded.ok);
    EXPECT_EQ(loaded.log, "Found 1 meshes\nFailed to load mesh 0: " + row.message + "\n");
  }
}

TEST(RangeCheckTest, NothingFitsIntoAnEmptyBin) {
  EXPECT_EQ(Load(Glb().Add(Mesh(Floats({1, 2, 3}))).Bin({})).log,
            "Found 1 meshes\nFailed to load mesh 0: " + Outside("POSITION", 0, 12, 0) + "\n");
}

// ---- Enormous claims --------------------------------------------------------------------------------------

TEST(RangeCheckTest, EnormousNumbersNeitherWrapNorAllocate) {
  const std::string kMost = "2147483647";
  const auto positions = [] { return Floats(kTrianglePositions); };
  const auto indices16 = [] { return Ushorts({0, 1, 2}); };
  const auto indices32 = [] { return Uints({0, 1, 2}); };
  const struct {
    const char* name;
    Mesh mesh;
    std::string message;
  } kRows[] = {
      {"count", Mesh(positions().Field("count", kMost)), Outside("POSITION", 0, 25769803764, 36)},
      {"count times 12 wraps to 8 in 32 bits", Mesh(positions().Field("count", "357913942")),
       Outside("POSITION", 0, 4294967304, 36)},
      {"count times 3 wraps in 32 bits", Mesh(positions().Field("count", "1431655766")),
       Outside("POSITION", 0, 17179869192, 36)},
      {"stride", Mesh(positions().ViewField("byteStride", kMost)), Outside("POSITION", 0, 4294967306, 36)},
      {"four strides wrap to 0 in 32 bits", Mesh(positions().Field("count", "5").ViewField("byteStride", "1073741824")),
       Outside("POSITION", 0, 4294967308, 36)},
      {"count and stride", Mesh(positions().Field("count", kMost).ViewField("byteStride", kMost)),
       Outside("POSITION", 0, 4611686011984936974, 36)},
      {"the accessor's offset", Mesh(positions().Field("byteOffset", kMost)),
       Outside("POSITION", 2147483647, 2147483683, 36)},
      {"the view's offset", Mesh(positions().ViewField("byteOffset", kMost)),
       Outside("POSITION", 2147483647, 2147483683, 36)},
      {"both offsets", Mesh(positions().Field("byteOffset", kMost).ViewField("byteOffset", kMost)),
       Outside("POSITION", 4294967294, 4294967330, 36)},
      {"everything",
       Mesh(positions()
                .Field("count", kMost)
                .Field("byteOffset", kMost)
                .ViewField("byteOffset", kMost)
                .ViewField("byteStride", kMost)),
       Outside("POSITION", 4294967294, 4611686016279904268, 36)},
      {"normals' stride", Mesh(positions()).Normals(positions().ViewField("byteStride", kMost)),
       Outside("NORMAL", 36, 4294967342, 72)},
      {"normals' offsets",
       Mesh(positions()).Normals(positions().Field("byteOffset", kMost).ViewField("byteOffset", kMost)),
       Outside("NORMAL", 4294967294, 4294967330, 72)},
      {"16-bit indices' count", Mesh(positions()).Indices(indices16().Field("count", kMost)),
       Outside("indices", 36, 4294967330, 44)},
      {"32-bit indices' count", Mesh(positions()).Indices(indices32().Field("count", kMost)),
       Outside("indices", 36, 8589934624, 48)},
      {"32-bit indices' count wraps to 4 in 32 bits",
       Mesh(positions()).Indices(indices32().Field("count", "1073741825")), Outside("indices", 36, 4294967336, 48)},
      {"indices' offsets",
       Mesh(positions()).Indices(indices16().Field("byteOffset", kMost).ViewField("byteOffset", kMost)),
       Outside("indices", 4294967294, 4294967300, 44)},
  };
  const TemporaryFolder folder;
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const std::string path = folder.Write("model.glb", Glb().Add(row.mesh));
    EXPECT_EQ(LoadPath(path).log, "Found 1 meshes\nFailed to load mesh 0: " + row.message + "\n");
    EXPECT_LT(PeakWhileLoading(path), kLittle);
  }
}

TEST(RangeCheckTest, EnormousChunkLengthsDoNotAllocate) {
  const TemporaryFolder folder;
  for (const uint32_t length : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFECu, 0xFFFFFFFFu}) {
    SCOPED_TRACE(length);
    EXPECT_LT(PeakWhileLoading(folder.Write("model.glb", Glb().Add(Triangle()).JsonLength(length))), kLittle);
    EXPECT_LT(PeakWhileLoading(folder.Write("model.glb", Glb().Add(Triangle()).BinLength(length))), kLittle);
    EXPECT_LT(PeakWhileLoading(folder.Write("model.glb", Glb().Add(Triangle()).TotalLength(length))), kLittle);
  }
}

TEST(RangeCheckTest, AFolderDoesNotAllocate) { EXPECT_LT(PeakWhileLoading(TemporaryFolder().path()), kLittle); }

TEST(RangeCheckTest, OverlappingElementsTakeNoMoreThanASmallMultipleOfTheFile) {
  // The most vertices that a file can have: one per byte. Their positions and normals are 24 times as long,
  // twice as much while the model gets its copy.
  const size_t kSize = 12 * 5461;
  const Mesh mesh = Mesh(Floats(std::vector<float>(kSize / 4, 1.0f))
                             .Field("count", std::to_string(kSize - 11))
                             .ViewField("byteStride", "1"));
  const TemporaryFolder folder;
  const std::string path = folder.Write("model.glb", Glb().Add(mesh));
  const Loaded loaded = LoadPath(path);
  EXPECT_EQ(loaded.log, "Found 1 meshes\n" + MeshLine(0, kSize - 11, 0));
  EXPECT_LT(PeakWhileLoading(path), 56 * kSize);
}

// ---- Sloppy but readable ----------------------------------------------------------------------------------

TEST(RangeCheckTest, WhatIsNotReadMayLieAnywhere) {
  const std::string kMost = "2147483647";
  const auto far = [&](Accessor accessor) {
    return accessor.Field("byteOffset", kMost).ViewField("byteOffset", kMost).ViewField("byteStride", kMost);
  };
  const Accessor positions = Floats(kTrianglePositions);
  const struct {
    const char* name;
    Mesh mesh;
  } kRows[] = {
      {"a view of no length", Mesh(Accessor(positions).ViewField("byteLength", "0"))},
      {"a view of one byte", Mesh(Accessor(positions).ViewField("byteLength", "1"))},
      {"a view of a negative length", Mesh(Accessor(positions).ViewField("byteLength", "-36"))},
      {"a view without a length", Mesh(Accessor(positions).ViewWithout("byteLength"))},
      {"a view far longer than BIN", Mesh(Accessor(positions).ViewField("byteLength", kMost))},
      {"views of one byte for indices", Triangle().Indices(Ushorts({0, 1, 2}).ViewField("byteLength", "1"))},
      {"unused normals: component type", Triangle().Normals(far(positions).Field("componentType", "5120"))},
      {"unused normals: type", Triangle().Normals(far(positions).Field("type", "\"VEC2\""))},
      {"unused normals: count", Triangle().Normals(far(positions).Field("count", "4"))},
      {"unused normals: enormous count", Triangle().Normals(far(positions).Field("count", kMost))},
      {"unused normals: no count", Triangle().Normals(far(positions).Without("count"))},
      {"indices of an unsupported type", Triangle().Indices(far(Ubytes({0, 1, 2})))},
      {"indices of an unsupported type, enormous count",
       Triangle().Indices(far(Ubytes({0, 1, 2})).Field("count", kMost))},
      {"indices of an unsupported type that name no vertex", Triangle().Indices(Ubytes({7, 8, 9}))},
      {"no indices", Triangle().Indices(far(Ushorts({})))},
      {"the stride of indices", Triangle().Indices(Ushorts({0, 1, 2}).ViewField("byteStride", kMost))},
      {"views that overlap", Triangle().Indices(Uints({0, 0, 0}).ViewField("byteOffset", "0"))},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const Loaded loaded = Load(Glb().Add(row.mesh));
    EXPECT_TRUE(loaded.ok);
    EXPECT_EQ(loaded.log, kTriangleLog);
    ASSERT_EQ(loaded.model.meshes.size(), 1u);
    EXPECT_EQ(loaded.model.meshes[0].positions, kTrianglePositions);
    EXPECT_EQ(loaded.model.meshes[0].normals.size(), 9u);
  }
}

TEST(RangeCheckTest, TheStrideOfASingleElementDoesNotMatter) {
  EXPECT_EQ(Load(Glb().Add(Mesh(Floats({1, 2, 3}).ViewField("byteStride", "2147483647")))).log,
            "Found 1 meshes\n" + MeshLine(0, 1, 0));
}

}  // namespace
