// From the JSON text and the BIN data to one mesh: finding the primitive and its accessors, copying positions and
// indices. Normals are normals_test's, what lies outside BIN is range_check_test's.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "model/glb_container.h"
#include "test/model/mesh_primitive_fixture.h"

using namespace glb_builder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace glb {
namespace {

using IndexList = std::vector<uint32_t>;

const char kUnsupportedIndexType[] = "warn: unsupported index type\n";

// ---- Finding the primitive --------------------------------------------------------------------------------

TEST_F(MeshPrimitiveTest, AMeshThatIsNotThereIsNamedInTheMessage) {
  const Glb glb = Glb().Add(Triangle()).Add(Triangle());
  EXPECT_TRUE(Decode(glb, 0));
  EXPECT_TRUE(Decode(glb, 1));
  ExpectFailure(glb, "fail: mesh 2 not found\n", 2);
  ExpectFailure(glb, "fail: mesh -1 not found\n", -1);
  ExpectFailure(glb, "fail: mesh 2147483647 not found\n", std::numeric_limits<int>::max());
  ExpectFailure(Glb().Json("{}"), "fail: mesh 0 not found\n");
}

TEST_F(MeshPrimitiveTest, AMeshWithoutAUsablePrimitiveFailsWithTheReason) {
  const struct {
    const char* name;
    const char* mesh;
    const char* message;
  } kRows[] = {
      {"no key", R"({"name":"lid"})", "fail: no primitives in mesh 0\n"},
      {"another key", R"({"primitive":[{}]})", "fail: no primitives in mesh 0\n"},
      {"an empty mesh", "{}", "fail: no primitives in mesh 0\n"},
      {"no colon", R"({"primitives"[{}]})", "fail: primitives array not found\n"},
      {"a name that reads like the key", R"({"name":"primitives"})", "fail: primitives array not found\n"},
      {"no bracket", R"({"primitives":{"attributes":{"POSITION":0}}})", "fail: primitives array not found\n"},
      {"a bracket before the colon alone", R"({"primitives"[:{}})", "fail: primitives array not found\n"},
      {"an empty array", R"({"primitives":[]})", "fail: primitive 0 not found\n"},
      {"an array of numbers", R"({"primitives":[1,2]})", "fail: primitive 0 not found\n"},
      {"a nested array", R"({"primitives":[[],{"attributes":{"POSITION":0}}]})", "fail: primitive 0 not found\n"},
      {"an array that is never closed", R"({"primitives":[})", "fail: primitive 0 not found\n"},
      {"no attributes", R"({"primitives":[{"mode":4}]})", "fail: no attributes\n"},
      {"an empty primitive", R"({"primitives":[{}]})", "fail: no attributes\n"},
      {"attributes without a colon", R"({"primitives":[{"name":"attributes"}]})", "fail: no attributes\n"},
      {"attributes that are a number", R"({"primitives":[{"attributes":0}]})", "fail: no attributes\n"},
      {"no POSITION", R"({"primitives":[{"attributes":{"NORMAL":0}}]})", "fail: no POSITION\n"},
      {"no POSITION and none of the rest", R"({"primitives":[{"attributes":{}}]})", "fail: no POSITION\n"},
      {"POSITION in lower case", R"({"primitives":[{"attributes":{"position":0}}]})", "fail: no POSITION\n"},
      {"POSITION without a number", R"({"primitives":[{"attributes":{"POSITION":null}}]})", "fail: no POSITION\n"},
      {"POSITION of a morph target alone", R"({"primitives":[{"targets":[{"POSITION":0}],"attributes":{"NORMAL":0}}]})",
       "fail: no POSITION\n"},
      {"POSITION beside the attributes", R"({"primitives":[{"POSITION":0,"attributes":{"NORMAL":0}}]})",
       "fail: no POSITION\n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const std::string rest = R"("accessors":[{"componentType":5126,"count":1,"type":"VEC3"}],"name":["primitives"])";
    ExpectFailure(Glb().Json(std::string("{\"meshes\":[") + row.mesh + "]," + rest + "}").Bin(Bytes(12)), row.message);
  }
}

TEST_F(MeshPrimitiveTest, AMeshOfAnotherNumberIsNamedWhenItHasNoPrimitives) {
  ExpectFailure(Glb().Json(R"({"meshes":[{},{},{"name":"lid"}]})"), "fail: no primitives in mesh 2\n", 2);
}

TEST_F(MeshPrimitiveTest, TheMeshTakenIsTheOneOfTheNumber) {
  const Glb glb = Glb().Add(Mesh(Floats({1, 2, 3}))).Add(Mesh(Floats({4, 5, 6})));
  EXPECT_TRUE(Decode(glb, 0));
  EXPECT_THAT(mesh_.positions, ElementsAre(1, 2, 3));
  EXPECT_TRUE(Decode(glb, 1));
  EXPECT_THAT(mesh_.positions, ElementsAre(4, 5, 6));
}

TEST_F(MeshPrimitiveTest, OnlyTheFirstPrimitiveIsDecoded) {
  const Glb glb = Glb()
                      .Add(Mesh(Floats({1, 2, 3})).SecondPrimitive(R"({"attributes":{"POSITION":1},"material":1})"))
                      .Add(Mesh(Floats({4, 5, 6})));
  EXPECT_TRUE(Decode(glb, 0));
  EXPECT_THAT(mesh_.positions, ElementsAre(1, 2, 3));
}

TEST_F(MeshPrimitiveTest, TheFirstPrimitiveIsTheOneThatCountsAlsoWhenItIsBroken) {
  ExpectFailure(Triangle().PrimitiveWithout("attributes").SecondPrimitive(R"({"attributes":{"POSITION":0}})"),
                "fail: no attributes\n");
}

TEST_F(MeshPrimitiveTest, WhatIsNotLookedAtMakesNoDifference) {
  // In an order that nothing but the file gives.
  const auto turned = [](const Accessor& positions = Floats(kTrianglePositions)) {
    return Mesh(positions).Indices(Ushorts({2, 0, 1}));
  };
  const auto positions = [] { return Floats(kTrianglePositions); };
  const struct {
    const char* name;
    Mesh mesh;
  } kRows[] = {
      {"points", turned().PrimitiveField("mode", "0")},
      {"lines", turned().PrimitiveField("mode", "1")},
      {"a triangle strip", turned().PrimitiveField("mode", "5")},
      {"no mode that there is", turned().PrimitiveField("mode", "99")},
      {"a mode that is a text", turned().PrimitiveField("mode", "\"x\"")},
      {"a broken second primitive", turned().SecondPrimitive(R"({"attributes":{"POSITION":-},"indices":--})")},
      {"attributes of morph targets", turned().PrimitiveField("targets", R"([{"POSITION":7,"NORMAL":7}])")},
      {"the view's buffer", turned(positions().ViewField("buffer", "7"))},
      {"the view's target", turned(positions().ViewField("target", "--"))},
      {"whether numbers are normalized", turned(positions().Field("normalized", "--"))},
      {"bounds", turned(positions().Field("max", "[--,1e99]").Field("min", "[]"))},
      {"the type of 16-bit indices", turned().Indices(Ushorts({2, 0, 1}).Field("type", "\"VEC3\""))},
      {"no type of 32-bit indices", turned().Indices(Uints({2, 0, 1}).Without("type"))},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    ExpectDecoded(row.mesh);
    EXPECT_EQ(mesh_.positions, kTrianglePositions);
    EXPECT_THAT(mesh_.indices, ElementsAre(2, 0, 1));
  }
}

TEST_F(MeshPrimitiveTest, IndicesAndMaterialAreTakenFromAnywhereInThePrimitive) {
  // Deeper, inside the attributes: no valid file has them there, but that is where they are found first.
  const Mesh other = Mesh(Floats({0, 0, 0, 1, 0, 0, 0, 1, 0})).Indices(Ushorts({2, 1, 0})).Color("1, 0, 0");
  EXPECT_TRUE(Decode(Glb().Add(Triangle().Attribute("indices", "3").Attribute("material", "0")).Add(other)));
  EXPECT_THAT(mesh_.indices, ElementsAre(2, 1, 0));
  EXPECT_THAT(mesh_.color, ElementsAre(1, 0, 0, 1));
}

TEST_F(MeshPrimitiveTest, AValueThatReadsLikeAKeyIsTakenForTheKey) {
  // "name":"indices" leads to the number after the next colon, the mode: accessor 3, the indices that run
  // the other way.
  EXPECT_TRUE(Decode(Glb()
                         .Add(Triangle().PrimitiveField("name", "\"indices\"").PrimitiveField("mode", "3"))
                         .Add(Mesh(Floats(kTrianglePositions)).Indices(Ushorts({2, 1, 0})))));
  EXPECT_THAT(mesh_.indices, ElementsAre(2, 1, 0));
}

TEST_F(MeshPrimitiveTest, AMinusSignInAnAttributesNumberIsNoPartOfIt) {
  ExpectDecoded(Mesh(Floats({7, 7, 7})).Normals(Floats(kTrianglePositions)).Attribute("POSITION", "-1"));
  EXPECT_EQ(mesh_.positions, kTrianglePositions);
  ExpectDecoded(Triangle().Normals(Floats(Repeat(3, {5, 5, 5}))).Attribute("NORMAL", "-1"));
  EXPECT_EQ(mesh_.normals, Repeat(3, {5, 5, 5}));
}

TEST_F(MeshPrimitiveTest, NegativeIndicesAndMaterialMeanNone) {
  ExpectDecoded(Mesh(Floats(Curve(4)))
                    .Indices(Ushorts({0, 1, 2}))
                    .Color("1, 0, 0")
                    .PrimitiveField("indices", "-1")
                    .PrimitiveField("material", "-2"));
  EXPECT_THAT(mesh_.indices, IsEmpty());
  EXPECT_EQ(mesh_.color, kDefaultMeshColor);
}

TEST_F(MeshPrimitiveTest, AccessorZeroMayBeAnyOfTheThree) {
  ExpectDecoded(Mesh(Floats(kTrianglePositions)).Attribute("NORMAL", "0"));
  EXPECT_EQ(mesh_.normals, kTrianglePositions);
  EXPECT_TRUE(Decode(Mesh(Floats(kTrianglePositions)).PrimitiveField("indices", "0")));
  EXPECT_EQ(log_, kUnsupportedIndexType);
}

// ---- Missing accessors and the order of the steps ---------------------------------------------------------

TEST_F(MeshPrimitiveTest, AMissingAccessorFailsSilently) {
  ExpectFailure(Triangle().Attribute("POSITION", "2"), "");
  ExpectFailure(Triangle().Attribute("NORMAL", "2"), "");
  ExpectFailure(Triangle().PrimitiveField("indices", "2"), "");
  ExpectFailure(Triangle().Normals(Floats(kTrianglePositions)).Attribute("NORMAL", "99"), "");
  ExpectFailure(Glb().Json(R"({"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}]})").Bin(Bytes(36)), "");
}

TEST_F(MeshPrimitiveTest, AllFourNumbersAreReadBeforeTheMissingPositionIsNoticed) {
  const Mesh mesh = Triangle().WithoutAttribute("POSITION");
  ExpectFailure(mesh, "fail: no POSITION\n");
  ExpectThrow<std::out_of_range>(Mesh(mesh).Attribute("NORMAL", "99999999999"), "stoi");
  ExpectBadInteger(Mesh(mesh).PrimitiveField("indices", "-"));
  ExpectBadInteger(Mesh(mesh).PrimitiveField("material", "--1"));
}

TEST_F(MeshPrimitiveTest, TheColourIsReadBeforeTheAccessors) {
  ExpectThrow<std::out_of_range>(Triangle().Color("1e-50, 0, 0").Attribute("POSITION", "99"), "stof");
  ExpectFailure(Triangle().Color("1e-50, 0, 0").WithoutAttribute("POSITION"), "fail: no POSITION\n");
}

TEST_F(MeshPrimitiveTest, AccessorsAreReadInTheOrderPositionNormalIndices) {
  const Accessor bad = Floats(kTrianglePositions).Field("count", "-");
  ExpectBadInteger(Mesh(bad));
  ExpectBadInteger(Triangle().Normals(bad));
  ExpectBadInteger(Triangle().Indices(bad));
  ExpectFailure(Triangle().Normals(bad).Indices(bad).Attribute("POSITION", "99"), "");
  ExpectFailure(Triangle().Indices(bad).Attribute("NORMAL", "99"), "");
  ExpectBadInteger(Triangle().Normals(bad).PrimitiveField("indices", "99"));
}

TEST_F(MeshPrimitiveTest, ViewsAreReadAfterAllAccessorsAndBeforeThePositionsType) {
  const Accessor bad_view = Floats(kTrianglePositions).ViewField("byteOffset", "-");
  ExpectFailure(Mesh(bad_view).Attribute("NORMAL", "99"), "");
  ExpectFailure(Mesh(bad_view).PrimitiveField("indices", "99"), "");
  ExpectBadInteger(Mesh(Floats(kTrianglePositions).Field("count", "0").ViewField("byteOffset", "-")));
  const Mesh no_positions = Mesh(Floats(kTrianglePositions).Field("count", "0"));
  ExpectFailure(no_positions, "fail: pos type\n");
  ExpectBadInteger(Mesh(no_positions).Normals(bad_view));
  ExpectBadInteger(Mesh(no_positions).Indices(bad_view));
}

TEST_F(MeshPrimitiveTest, FieldsThatAreNotUsedAreReadAllTheSame) {
  for (const char* field : {"buffer", "byteOffset", "byteLength", "byteStride"}) {
    SCOPED_TRACE(field);
    ExpectBadInteger(Mesh(Floats(kTrianglePositions).ViewField(field, "-")));
    ExpectThrow<std::out_of_range>(Mesh(Floats(kTrianglePositions).ViewField(field, "2147483648")), "stoi");
    // An index accessor of no elements reads no data, its view is read nevertheless.
    ExpectBadInteger(Triangle().Indices(Ushorts({}).ViewField(field, "-")));
  }
  for (const char* field : {"bufferView", "byteOffset", "count", "componentType"}) {
    SCOPED_TRACE(field);
    ExpectBadInteger(Mesh(Floats(kTrianglePositions).Field(field, "-")));
  }
}

TEST_F(MeshPrimitiveTest, TheFirstOccurrenceOfAFieldWinsAlsoInADeeperObject) {
  ExpectDecoded(Mesh(Floats(kTrianglePositions).Field("sparse", R"({"count":2,"values":{"byteOffset":12}})")));
  EXPECT_THAT(mesh_.positions, ElementsAre(1, 0, 0, 0, 1, 0));
}

// ---- The state of the mesh --------------------------------------------------------------------------------

TEST_F(MeshPrimitiveTest, TheMeshIsResetFirstAndItsStorageReleased) {
  mesh_.positions.assign(1000, 1.0f);
  mesh_.normals.assign(1000, 1.0f);
  mesh_.indices.assign(1000, 1);
  mesh_.color = {1, 2, 3, 4};
  ExpectFailure(Glb().Json("{}"), "fail: mesh 0 not found\n");
  EXPECT_EQ(mesh_.positions.capacity(), 0u);
  EXPECT_EQ(mesh_.normals.capacity(), 0u);
  EXPECT_EQ(mesh_.indices.capacity(), 0u);
  EXPECT_EQ(mesh_.color, kDefaultMeshColor);
}

TEST_F(MeshPrimitiveTest, AFailureAfterTheColourKeepsTheColour) {
  ExpectFailure(Triangle().Color("1, 0, 0").WithoutAttribute("POSITION"), "fail: no POSITION\n");
  EXPECT_EQ(mesh_.color, kDefaultMeshColor);
  ExpectFailure(Triangle().Color("1, 0, 0").Attribute("POSITION", "99"), "");
  EXPECT_THAT(mesh_.color, ElementsAre(1, 0, 0, 1));
  ExpectFailure(Mesh(Floats(kTrianglePositions).Field("count", "0")).Color("0, 1, 0"), "fail: pos type\n");
  EXPECT_THAT(mesh_.color, ElementsAre(0, 1, 0, 1));
}

TEST_F(MeshPrimitiveTest, TheLogIsAppendedTo) {
  std::string log = "before\n";
  EXPECT_FALSE(load_mesh_primitive("{}", BinChunk{nullptr, 0}, 3, mesh_, &log));
  EXPECT_EQ(log, "before\nfail: mesh 3 not found\n");
}

// ---- Positions --------------------------------------------------------------------------------------------

TEST_F(MeshPrimitiveTest, PositionsThatAreNotFloatVectorsOrAreNoneFail) {
  const std::pair<const char*, std::vector<const char*>> kFields[] = {
      {"componentType", {"5125", "5123", "5121", "5120", "5130", "0", "-5126"}},
      {"type", {"\"VEC2\"", "\"VEC4\"", "\"SCALAR\"", "\"vec3\"", "\"VEC3 \"", "\"\""}},
      {"count", {"0", "-3", "-2147483648"}},
  };
  for (const auto& [field, values] : kFields) {
    SCOPED_TRACE(field);
    ExpectFailure(Mesh(Floats(kTrianglePositions).Without(field)), "fail: pos type\n");
    for (const char* value : values) {
      SCOPED_TRACE(value);
      ExpectFailure(Mesh(Floats(kTrianglePositions).Field(field, value)), "fail: pos type\n");
    }
  }
}

TEST_F(MeshPrimitiveTest, PositionsAreCopiedBitForBit) {
  const std::vector<uint32_t> kBits = {0x80000000, 0x7F800000, 0xFF800000,   // -0, infinities
                                       0x7FC12345, 0x7F812345, 0xFFFFFFFF,   // quiet and signalling NaN
                                       0x00000001, 0x807FFFFF, 0x3F800001};  // subnormals, 1 + epsilon
  Values values(kBits.size());
  std::memcpy(values.data(), kBits.data(), 4 * kBits.size());
  ExpectDecoded(Mesh(Floats(values)).Normals(Floats(values)));
  EXPECT_EQ(BytesOf(mesh_.positions), BytesOf(kBits));
  EXPECT_EQ(BytesOf(mesh_.normals), BytesOf(kBits));
}

TEST_F(MeshPrimitiveTest, ElementsLieAStrideApart) {
  const Values kPositions = Curve(3);
  const Values kNormals = Repeat(3, {0, 0, 1});
  for (const size_t stride : {12u, 13u, 16u, 24u, 252u, 1000u}) {
    SCOPED_TRACE(stride);
    ExpectDecoded(Mesh(Floats(kPositions).Stride(stride)).Normals(Floats(kNormals).Stride(stride + 3)));
    EXPECT_EQ(mesh_.positions, kPositions);
    EXPECT_EQ(mesh_.normals, kNormals);
  }
}

TEST_F(MeshPrimitiveTest, AStrideOfZeroOrLessOrNoneMeansPacked) {
  const Values kPositions = Curve(3);
  for (const char* stride : {"0", "-1", "-24", "null"}) {
    SCOPED_TRACE(stride);
    ExpectDecoded(Mesh(Floats(kPositions).ViewField("byteStride", stride)));
    EXPECT_EQ(mesh_.positions, kPositions);
  }
  ExpectDecoded(Mesh(Floats(kPositions)));
  EXPECT_EQ(mesh_.positions, kPositions);
}

TEST_F(MeshPrimitiveTest, AStrideBelowTheElementMakesThemOverlap) {
  ExpectDecoded(Mesh(Floats({1, 2, 3, 4, 5, 6}).Field("count", "4").ViewField("byteStride", "4")));
  EXPECT_THAT(mesh_.positions, ElementsAre(1, 2, 3, 2, 3, 4, 3, 4, 5, 4, 5, 6));
}

TEST_F(MeshPrimitiveTest, PositionsAndNormalsMayBeInterleavedInOneView) {
  const Glb glb = Glb()
                      .Add(Mesh(Floats({1, 2, 3, 4, 5, 6}).Stride(24))
                               .Normals(Floats({1, 0, 0, 0, 0, 1}).Field("bufferView", "0").Field("byteOffset", "12")))
                      .Bin(BytesOf<float>({1, 2, 3, 1, 0, 0, 4, 5, 6, 0, 0, 1}));
  EXPECT_TRUE(Decode(glb));
  EXPECT_THAT(mesh_.positions, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(mesh_.normals, ElementsAre(1, 0, 0, 0, 0, 1));
}

TEST_F(MeshPrimitiveTest, TheViewsAndTheAccessorsOffsetAddUp) {
  const Values kPositions = Curve(3);
  const Values kNormals = Repeat(3, {0, 0, 1});
  for (const size_t offset : {1u, 2u, 3u, 4u, 7u, 12u, 400u}) {
    SCOPED_TRACE(offset);
    ExpectDecoded(Mesh(Floats(kPositions).Offset(offset))
                      .Normals(Floats(kNormals).Offset(offset + 1).Stride(17))
                      .Indices(Ushorts({0, 2, 1}).Offset(offset + 2)));
    EXPECT_EQ(mesh_.positions, kPositions);
    EXPECT_EQ(mesh_.normals, kNormals);
    EXPECT_THAT(mesh_.indices, ElementsAre(0, 2, 1));
  }
}

TEST_F(MeshPrimitiveTest, NegativeOffsetsMeanZero) {
  ExpectDecoded(Mesh(Floats(kTrianglePositions).Field("byteOffset", "-12").ViewField("byteOffset", "-4"))
                    .Indices(Ushorts({2, 1, 0}).Field("byteOffset", "-2147483648")));
  EXPECT_EQ(mesh_.positions, kTrianglePositions);
  EXPECT_THAT(mesh_.indices, ElementsAre(2, 1, 0));
}

TEST_F(MeshPrimitiveTest, AnAccessorWithoutAViewReadsPackedFromTheStartOfBin) {
  // Every view begins at its fourth byte and has a stride: what is read there would not be this.
  const Bytes kBin = BytesOf<float>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  const auto in_view = [](Accessor accessor) {
    return accessor.ViewField("byteOffset", "4").ViewField("byteStride", "24");
  };
  const Accessor two = Floats({0, 0, 0, 0, 0, 0});
  const Glb in_views = Glb().Add(Mesh(in_view(two)).Normals(in_view(two))).Bin(kBin);
  EXPECT_TRUE(Decode(in_views));
  EXPECT_THAT(mesh_.positions, ElementsAre(2, 3, 4, 8, 9, 10));
  EXPECT_EQ(mesh_.normals, mesh_.positions);

  const Accessor without = in_view(two).Without("bufferView");
  EXPECT_TRUE(Decode(Glb().Add(Mesh(without).Normals(in_view(two))).Bin(kBin)));
  EXPECT_THAT(mesh_.positions, ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(mesh_.normals, ElementsAre(2, 3, 4, 8, 9, 10));
  EXPECT_TRUE(Decode(Glb().Add(Mesh(in_view(two)).Normals(Accessor(without).Field("byteOffset", "4"))).Bin(kBin)));
  EXPECT_THAT(mesh_.positions, ElementsAre(2, 3, 4, 8, 9, 10));
  EXPECT_THAT(mesh_.normals, ElementsAre(2, 3, 4, 5, 6, 7));

  Bytes bin = BytesOf<uint16_t>({2, 1, 0});
  bin.resize(36 + 6);
  EXPECT_TRUE(Decode(Glb().Add(Triangle().Indices(Ushorts({9, 9, 9}).Without("bufferView"))).Bin(bin)));
  EXPECT_THAT(mesh_.indices, ElementsAre(2, 1, 0));
}

TEST_F(MeshPrimitiveTest, AViewThatIsNotThereIsLikeNone) {
  for (const char* view : {"99", "-1", "-5", "2147483647", "null,\"a\":-1"}) {
    SCOPED_TRACE(view);
    ExpectDecoded(Mesh(Floats({1, 2, 3})).Normals(Floats({0, 0, 1}).Field("bufferView", view)));
    EXPECT_THAT(mesh_.normals, ElementsAre(1, 2, 3));
  }
}

// ---- Indices ----------------------------------------------------------------------------------------------

TEST_F(MeshPrimitiveTest, IndicesOf16And32BitsAreWidenedWithoutSign) {
  const size_t kCount = 70000;
  const Mesh mesh = Mesh(Floats(Repeat(kCount, {1, 2, 3})));
  ExpectDecoded(Mesh(mesh).Indices(Ushorts({0, 258, 65535})));
  EXPECT_THAT(mesh_.indices, ElementsAre(0, 258, 65535));
  ExpectDecoded(Mesh(mesh).Indices(Uints({65535, 65536, 0x010203})));
  EXPECT_THAT(mesh_.indices, ElementsAre(65535, 65536, 0x010203));
}

TEST_F(MeshPrimitiveTest, TheStrideOfAnIndexViewIsIgnored) {
  for (const char* stride : {"0", "2", "4", "8", "1000"}) {
    SCOPED_TRACE(stride);
    ExpectDecoded(Triangle().Indices(Ushorts({2, 0, 1}).ViewField("byteStride", stride)));
    EXPECT_THAT(mesh_.indices, ElementsAre(2, 0, 1));
    ExpectDecoded(Triangle().Indices(Uints({2, 0, 1}).ViewField("byteStride", stride)));
    EXPECT_THAT(mesh_.indices, ElementsAre(2, 0, 1));
  }
}

TEST_F(MeshPrimitiveTest, IndicesOfAnotherTypeAreWarnedOfAndReplacedByTheVerticesInOrder) {
  for (const char* type : {"5120", "5121", "5122", "5124", "5126", "0", "-5123"}) {
    SCOPED_TRACE(type);
    EXPECT_TRUE(Decode(Triangle().Indices(Ushorts({2, 1, 0}).Field("componentType", type))));
    EXPECT_EQ(log_, kUnsupportedIndexType);
    EXPECT_THAT(mesh_.indices, ElementsAre(0, 1, 2));
    EXPECT_EQ(mesh_.normals, Repeat(3, {0, 0, 1}));
  }
  EXPECT_TRUE(Decode(Triangle().Indices(Ubytes({2, 1, 0}))));
  EXPECT_EQ(log_, kUnsupportedIndexType);
  EXPECT_THAT(mesh_.indices, ElementsAre(0, 1, 2));
}

TEST_F(MeshPrimitiveTest, IndicesOfAnotherTypeStayEmptyWhereTheyCannotBeReplaced) {
  EXPECT_TRUE(Decode(Mesh(Floats(Curve(4))).Indices(Ubytes({0, 1, 2}))));
  EXPECT_EQ(log_, kUnsupportedIndexType);
  EXPECT_THAT(mesh_.indices, IsEmpty());
  EXPECT_EQ(mesh_.normals, Repeat(4, {0, 1, 0}));
}

TEST_F(MeshPrimitiveTest, IndicesOfAnotherTypeBesideNormalsOfTheFileStayEmpty) {
  EXPECT_TRUE(Decode(Triangle().Normals(Floats(kTrianglePositions)).Indices(Ubytes({2, 1, 0}))));
  EXPECT_EQ(log_, kUnsupportedIndexType);
  EXPECT_THAT(mesh_.indices, IsEmpty());
  EXPECT_EQ(mesh_.normals, kTrianglePositions);
}

TEST_F(MeshPrimitiveTest, AnIndexAccessorOfNoElementsIsLikeNoneAndNotWarnedOf) {
  for (const char* type : {"5121", "5123", "5125"}) {
    SCOPED_TRACE(type);
    ExpectDecoded(Triangle().Indices(Ushorts({}).Field("componentType", type)));
    EXPECT_THAT(mesh_.indices, ElementsAre(0, 1, 2));
    ExpectDecoded(Triangle().Indices(Ushorts({2, 1, 0}).Field("componentType", type).Field("count", "-3")));
    EXPECT_THAT(mesh_.indices, ElementsAre(0, 1, 2));
  }
}

TEST_F(MeshPrimitiveTest, VerticesWithoutIndicesAreNumberedInOrderOnlyInMultiplesOfThree) {
  for (const size_t count : {1u, 2u, 3u, 4u, 5u, 6u, 9u, 10u}) {
    SCOPED_TRACE(count);
    ExpectDecoded(Mesh(Floats(Curve(count))));
    IndexList expected;
    if (count % 3 == 0) {
      for (uint32_t i = 0; i < count; ++i) expected.push_back(i);
    }
    EXPECT_EQ(mesh_.indices, expected);
    EXPECT_EQ(mesh_.normals.size(), 3 * count);
    if (count % 3 != 0) {
      EXPECT_EQ(mesh_.normals, Repeat(count, {0, 1, 0}));
    }
  }
}

TEST_F(MeshPrimitiveTest, WithNormalsOfTheFileNoIndicesAreMadeUp) {
  ExpectDecoded(Mesh(Floats(kTrianglePositions)).Normals(Floats(kTrianglePositions)));
  EXPECT_THAT(mesh_.indices, IsEmpty());
}

TEST_F(MeshPrimitiveTest, IndicesOfAnyNumberAreKeptWhole) {
  ExpectDecoded(Triangle().Indices(Ushorts({2, 1, 0, 1})));
  EXPECT_THAT(mesh_.indices, ElementsAre(2, 1, 0, 1));
  ExpectDecoded(Triangle().Indices(Ushorts({2})));
  EXPECT_THAT(mesh_.indices, ElementsAre(2));
}

// ---- Ranges -----------------------------------------------------------------------------------------------

TEST(ElementRangeTest, EndsAfterItsLastElementNotAfterTheGap) {
  EXPECT_EQ((ElementRange{4, 24, 2, 12}.end()), 4u + 24 + 12);
}

// No range of a file is empty when it is checked; one that is must not wrap around.
TEST(ElementRangeTest, WithoutElementsEndsWhereItBegins) { EXPECT_EQ((ElementRange{4, 24, 0, 12}.end()), 4u); }

// ---- Cut short --------------------------------------------------------------------------------------------

TEST_F(MeshPrimitiveTest, EveryPrefixOfTheJsonDecodesOrFailsWithoutReadingOn) {
  const Glb glb =
      Glb().Add(Mesh(Floats(Curve(3))).Normals(Floats(Curve(3))).Indices(Ushorts({0, 1, 2})).Color("1, -0.5, 1e-3"));
  const std::string json = glb.JsonText();
  const Bytes data = glb.BinData();
  size_t decoded = 0;
  for (size_t size = 0; size <= json.size(); ++size) {
    SCOPED_TRACE(size);
    const std::vector<char> prefix(json.data(), json.data() + size);  // of exactly its size
    const std::string_view text(prefix.data(), prefix.size());
    EXPECT_LE(count_meshes(text), 1u);
    log_.clear();
    if (load_mesh_primitive(text, BinChunk{data.data(), data.size()}, 0, mesh_, &log_)) {
      ++decoded;
      EXPECT_EQ(mesh_.positions.size(), mesh_.normals.size());
    }
  }
  // Without its view at the end of the text, the indices would lie at the start of BIN, where they name no
  // vertex: only what comes after the views can go.
  EXPECT_EQ(decoded, std::string(R"(],"buffers":[{"byteLength":78}]})").size() + 1);
}

TEST_F(MeshPrimitiveTest, EveryPrefixOfTheBinIsRefusedWithTheFirstThingThatIsOutside) {
  const Glb glb = Glb().Add(Triangle().Normals(Floats(kTrianglePositions)));
  const Bytes data = glb.BinData();
  ASSERT_EQ(data.size(), 78u);  // positions to 36, normals to 72, indices
  for (size_t size = 0; size < data.size(); ++size) {
    SCOPED_TRACE(size);
    ExpectFailure(Glb(glb).Bin(Bytes(data.data(), data.data() + size)),
                  (size < 36 ? "fail: POSITION outside BIN: needs bytes 0 to 36 of "
                             : "fail: indices outside BIN: needs bytes 72 to 78 of ") +
                      std::to_string(size) + "\n");
  }
  EXPECT_TRUE(Decode(glb));
}

}  // namespace
}  // namespace glb
