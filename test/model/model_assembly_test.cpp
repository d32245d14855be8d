// From the JSON text to the model: counting the meshes, their colours, the log, and what is left of a model
// when something fails.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "test/model/loading.h"
#include "test/model/throws_as.h"
#include "test/support/files.h"

using namespace glb_builder;
using namespace model_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const char kDefaultColor[] = "0.800000,0.800000,0.800000";

Mesh BadMesh() { return Mesh(Floats(kTrianglePositions).Field("type", "\"VEC2\"")); }

Glb WithMeshes(const std::string& meshes_field) {
  return Glb()
      .Json("{" + meshes_field + R"(,"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}]})")
      .Bin(BytesOf(kTrianglePositions));
}

// ---- The types --------------------------------------------------------------------------------------------

TEST(MeshDataTest, ANewMeshIsEmptyAndOfTheDefaultColour) {
  const MeshData mesh;
  EXPECT_THAT(mesh.positions, IsEmpty());
  EXPECT_THAT(mesh.normals, IsEmpty());
  EXPECT_THAT(mesh.indices, IsEmpty());
  EXPECT_THAT(mesh.color, ElementsAre(0.8f, 0.8f, 0.8f, 1.0f));
}

TEST(MeshDataTest, ACopyHasArraysOfItsOwn) {
  GLBModel model = Load(Glb().Add(Triangle())).model;
  const GLBModel copy = model;
  model.meshes[0].positions[0] = 99;
  model.meshes[0].normals.clear();
  model.meshes[0].indices[0] = 2;
  model.meshes[0].color[0] = 99;
  EXPECT_EQ(copy.meshes[0].positions, kTrianglePositions);
  EXPECT_THAT(copy.meshes[0].normals, ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1));
  EXPECT_THAT(copy.meshes[0].indices, ElementsAre(0, 1, 2));
  EXPECT_EQ(copy.meshes[0].color, kDefaultMeshColor);
}

// ---- Counting the meshes ----------------------------------------------------------------------------------

TEST(LoadGlbModelTest, WithoutMeshesTheLogSaysZeroAndTheLoadFails) {
  const char* const kFields[] = {
      R"("meshes":[])",
      R"("meshes":[1,"x",null])",
      R"("scenes":[{"nodes":[0]}])",
      R"("Meshes":[{}])",
      R"("meshes":[[],{"primitives":[{"attributes":{"POSITION":0}}]}])",  // "]" ends the array, a nested one
                                                                          // too
      R"("meshes":["]",{"primitives":[{"attributes":{"POSITION":0}}]}])",
  };
  for (const char* field : kFields) {
    SCOPED_TRACE(field);
    const TemporaryFolder folder;
    GLBModel model = PreviousModel();
    std::string log;
    EXPECT_FALSE(load_glb_model(folder.Write("model.glb", WithMeshes(field)), model, &log));
    EXPECT_EQ(log, "Found 0 meshes\n");
    EXPECT_THAT(model.meshes, IsEmpty());
  }
  for (const char* json :
       {"", "{}", R"("meshes")", R"({"a":[{}],"meshes"})", R"({"meshes":{"a":1}})", R"("meshes":)"}) {
    SCOPED_TRACE(json);
    const Loaded loaded = Load(Glb().Json(json));
    EXPECT_FALSE(loaded.ok);
    EXPECT_EQ(loaded.log, "Found 0 meshes\n");
  }
}

TEST(LoadGlbModelTest, OnlyObjectsDirectlyInTheArrayAreMeshes) {
  const std::string kMesh = R"({"primitives":[{"attributes":{"POSITION":0}},{},{"a":{"b":{}}}],"extras":{"c":[{}]}})";
  const Loaded loaded = Load(WithMeshes(R"("meshes":[1,)" + kMesh + ",null," + kMesh + R"(],"nodes":[{},{}])"));
  EXPECT_TRUE(loaded.ok);
  EXPECT_EQ(loaded.log, "Found 2 meshes\n" + MeshLine(0, 3, 3) + MeshLine(1, 3, 3));
}

TEST(LoadGlbModelTest, AnObjectInANestedArrayIsAMeshAndTheNestedArraysEndTheEnd) {
  const std::string kMesh = R"({"primitives":[{"attributes":{"POSITION":0}}]})";
  EXPECT_EQ(Load(WithMeshes(R"("meshes":[[)" + kMesh + "]," + kMesh + "]")).log,
            "Found 1 meshes\n" + MeshLine(0, 3, 3));
}

TEST(LoadGlbModelTest, AMeshThatIsNeverClosedIsCountedAndNotFound) {
  const Loaded loaded = Load(Glb().Json(R"({"meshes":[{"name":"a"},{"name":)"));
  EXPECT_FALSE(loaded.ok);
  EXPECT_EQ(loaded.log,
            "Found 2 meshes\n"
            "Failed to load mesh 0: fail: no primitives in mesh 0\n\n"
            "Failed to load mesh 1: fail: mesh 1 not found\n\n");
}

TEST(LoadGlbModelTest, ABraceInANameTurnsThePrimitiveIntoAMeshAndHidesTheMeshesAfter) {
  const Loaded loaded = Load(Glb().Add(Triangle().Field("name", "\"}\"")).Add(Triangle()));
  EXPECT_FALSE(loaded.ok);
  EXPECT_EQ(loaded.log,
            "Found 2 meshes\n"
            "Failed to load mesh 0: fail: no primitives in mesh 0\n\n"
            "Failed to load mesh 1: fail: no primitives in mesh 1\n\n");
}

TEST(LoadGlbModelTest, AValueThatReadsLikeTheKeyIsTakenForIt) {
  EXPECT_EQ(Load(WithMeshes(R"("generator":"meshes","scenes":[{"nodes":[0]},{}],"meshes":[])")).log,
            "Found 2 meshes\n"
            "Failed to load mesh 0: fail: no primitives in mesh 0\n\n"
            "Failed to load mesh 1: fail: no primitives in mesh 1\n\n");
}

TEST(LoadGlbModelTest, MoreThanTenMeshesAreNumberedInDecimal) {
  Glb glb;
  std::string expected = "Found 12 meshes\n";
  for (size_t i = 0; i < 12; ++i) {
    glb.Add(Mesh(Floats(std::vector<float>(3 * (i + 1), 1.0f))));
    expected += MeshLine(i, i + 1, (i + 1) % 3 == 0 ? i + 1 : 0);
  }
  EXPECT_EQ(Load(glb).log, expected);
}

// ---- The model and the log --------------------------------------------------------------------------------

TEST(LoadGlbModelTest, TheMeshesThatDecodeMakeTheModelAndTheOthersAreReported) {
  const Mesh cube = Mesh(Floats(std::vector<float>(72, 1.0f))).Indices(Ushorts(std::vector<uint16_t>(36, 23)));
  const Mesh red = Mesh(Floats(std::vector<float>(24, 2.0f))).Indices(Ushorts(std::vector<uint16_t>(36, 7)));
  const Loaded loaded = Load(Glb().Add(cube).Add(BadMesh()).Add(Mesh(red).Color("1.0, 0.0, 0.0, 0.5")));
  EXPECT_TRUE(loaded.ok);
  EXPECT_EQ(loaded.log,
            "Found 3 meshes\n"
            "Mesh 0: vertices=24 indices=36 color=(0.800000,0.800000,0.800000)\n"
            "Failed to load mesh 1: fail: pos type\n"
            "\n"
            "Mesh 2: vertices=8 indices=36 color=(1.000000,0.000000,0.000000)\n");
  ASSERT_EQ(loaded.model.meshes.size(), 2u);
  EXPECT_EQ(loaded.model.meshes[0].positions, std::vector<float>(72, 1.0f));
  EXPECT_EQ(loaded.model.meshes[0].normals.size(), 72u);
  EXPECT_EQ(loaded.model.meshes[0].indices, std::vector<uint32_t>(36, 23));
  EXPECT_THAT(loaded.model.meshes[0].color, ElementsAre(0.8f, 0.8f, 0.8f, 1.0f));
  EXPECT_EQ(loaded.model.meshes[1].positions, std::vector<float>(24, 2.0f));
  EXPECT_THAT(loaded.model.meshes[1].color, ElementsAre(1.0f, 0.0f, 0.0f, 0.5f));
}

TEST(LoadGlbModelTest, AMeshThatFailsSilentlyStillHasItsLine) {
  const Loaded loaded = Load(Glb().Add(Triangle().Attribute("NORMAL", "99")).Add(Triangle()));
  EXPECT_TRUE(loaded.ok);
  EXPECT_EQ(loaded.log, "Found 2 meshes\nFailed to load mesh 0: \n" + MeshLine(1, 3, 3));
  EXPECT_EQ(loaded.model.meshes.size(), 1u);
}

TEST(LoadGlbModelTest, WhenEveryMeshFailsTheLoadFails) {
  const Loaded loaded = Load(Glb().Add(BadMesh()).Add(Triangle().WithoutAttribute("POSITION")));
  EXPECT_FALSE(loaded.ok);
  EXPECT_EQ(loaded.log,
            "Found 2 meshes\n"
            "Failed to load mesh 0: fail: pos type\n\n"
            "Failed to load mesh 1: fail: no POSITION\n\n");
  EXPECT_THAT(loaded.model.meshes, IsEmpty());
}

TEST(LoadGlbModelTest, TheWarningOfAMeshThatDecodesIsDropped) {
  const Loaded loaded = Load(Glb().Add(Triangle().Indices(Ubytes({0, 1, 2}))));
  EXPECT_TRUE(loaded.ok);
  EXPECT_EQ(loaded.log, kTriangleLog);
}

TEST(LoadGlbModelTest, TheLogIsAppendedToAndTheModelReplaced) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("model.glb", Glb().Add(Triangle()).Add(BadMesh()));
  GLBModel model = PreviousModel();
  std::string log = "before\n";
  for (int load = 0; load < 2; ++load) {
    EXPECT_TRUE(load_glb_model(path, model, &log));
    ASSERT_EQ(model.meshes.size(), 1u);
    EXPECT_EQ(model.meshes[0].positions, kTrianglePositions);
  }
  const std::string once = "Found 2 meshes\n" + MeshLine(0, 3, 3) + "Failed to load mesh 1: fail: pos type\n\n";
  EXPECT_EQ(log, "before\n" + once + once);
}

TEST(LoadGlbModelTest, WithoutALogTheResultsAreTheSame) {
  const TemporaryFolder folder;
  GLBModel model = PreviousModel();
  EXPECT_TRUE(load_glb_model(folder.Write("some.glb", Glb().Add(BadMesh()).Add(Triangle())), model, nullptr));
  ASSERT_EQ(model.meshes.size(), 1u);
  EXPECT_EQ(model.meshes[0].positions, kTrianglePositions);
  EXPECT_FALSE(load_glb_model(folder.Write("none.glb", Glb().Add(BadMesh())), model, nullptr));
  EXPECT_THAT(model.meshes, IsEmpty());
  EXPECT_FALSE(load_glb_model(folder.Write("zero.glb", Glb()), model, nullptr));
}

TEST(LoadGlbModelTest, NodesDoNotMoveTheMeshes) {
  const Glb glb = Glb().Add(Triangle());
  std::string json = glb.JsonText();
  json.insert(1, R"("nodes":[{"mesh":0,"translation":[5,5,5],"scale":[2,2,2]},{"mesh":0}],)");
  const Loaded loaded = Load(Glb(glb).Json(json));
  EXPECT_EQ(loaded.log, kTriangleLog);
  EXPECT_EQ(loaded.model.meshes[0].positions, kTrianglePositions);
}

TEST(LoadGlbModelTest, LoadsOfDifferentFilesMayRunAtTheSameTime) {
  const TemporaryFolder folder;
  std::vector<std::thread> threads;
  std::vector<std::string> logs(4);
  for (size_t i = 0; i < logs.size(); ++i) {
    Glb glb;
    for (size_t mesh = 0; mesh <= i; ++mesh) glb.Add(Triangle().Color("0.25, 0.5, 1"));
    const std::string path = folder.Write(std::to_string(i), glb);
    threads.emplace_back([path, &log = logs[i]] {
      for (int load = 0; load < 20; ++load) log = LoadPath(path).log;
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::string expected;
  for (size_t i = 0; i < logs.size(); ++i) {
    expected += MeshLine(i, 3, 3, "0.250000,0.500000,1.000000");
    EXPECT_EQ(logs[i], "Found " + std::to_string(i + 1) + " meshes\n" + expected);
  }
}

// ---- Colours ----------------------------------------------------------------------------------------------

class ColorTest : public ::testing::Test {
 protected:
  void ExpectColor(const Glb& glb, const std::array<float, 4>& color) {
    const Loaded loaded = Load(glb);
    ASSERT_EQ(loaded.model.meshes.size(), 1u) << loaded.log;
    EXPECT_EQ(loaded.model.meshes[0].color, color);
  }
  void ExpectColor(const Mesh& mesh, const std::array<float, 4>& color) { ExpectColor(Glb().Add(mesh), color); }
  void ExpectDefault(const Mesh& mesh) { ExpectColor(mesh, {0.8f, 0.8f, 0.8f, 1.0f}); }
};

TEST_F(ColorTest, TheFirstFourNumbersAreTheColourAndAlphaIsOneWithoutAFourth) {
  const struct {
    const char* numbers;
    std::array<float, 4> color;
  } kRows[] = {
      {"1, 0, 0", {1, 0, 0, 1}},
      {"0.2, 0.4, 0.6, 0.5", {0.2f, 0.4f, 0.6f, 0.5f}},
      {"0.2,0.4,0.6,0", {0.2f, 0.4f, 0.6f, 0}},
      {"0.1, 0.2, 0.3, 0.4, 0.5, 0.6", {0.1f, 0.2f, 0.3f, 0.4f}},
      {"2, -1, 1e3, -5", {2, -1, 1000, -5}},  // not clamped
      {"1 0.5 0.25", {1, 0.5f, 0.25f, 1}},
      {"\n  1.0e0 ,\t.5,\n  5E-1\n", {1, 0.5f, 0.5f, 1}},
      {"\"1\", null, \"0.5\", 0.25", {1, 0.5f, 0.25f, 1}},
      {"[1, 0, 0.5", {1, 0, 0.5f, 1}},  // a nested array is looked into
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.numbers);
    ExpectColor(Triangle().Color(row.numbers), row.color);
  }
}

TEST_F(ColorTest, LessThanThreeNumbersGiveTheDefaultInAllComponents) {
  for (const char* numbers : {"", " ", "1", "1, 0", "null", "\"red\""}) {
    SCOPED_TRACE(numbers);
    ExpectDefault(Triangle().Color(numbers));
  }
}

TEST_F(ColorTest, WithoutAMaterialTheColourIsTheDefault) {
  ExpectDefault(Triangle());
  for (const char* index : {"-1", "-2147483648", "1", "2147483647", "null"}) {
    SCOPED_TRACE(index);
    ExpectDefault(Triangle().Color("1, 0, 0").PrimitiveField("material", index));
  }
  ExpectDefault(Triangle().PrimitiveField("material", "0"));  // no "materials" at all
}

TEST_F(ColorTest, AMaterialWithoutAUsableBaseColourGivesTheDefault) {
  const char* const kMaterials[] = {
      R"({})",
      R"({"name":"red"})",
      R"({"pbrMetallicRoughness":{}})",
      R"({"pbrMetallicRoughness":5})",
      R"({"name":"pbrMetallicRoughness"})",
      R"({"pbrMetallicRoughness":{"metallicFactor":0}})",
      R"({"pbrMetallicRoughness":{"baseColorFactor":1}})",
      R"({"pbrMetallicRoughness":{"baseColorFactor"}})",
      R"({"pbrMetallicRoughness":{"BaseColorFactor":[1,0,0]}})",
      R"({"pbrMetallicRoughness":{"baseColorFactor":[1,0,0}})",
      R"({"pbrMetallicRoughness":{"baseColorFactor":[1,0],"extras":[0,1]}})",
      R"({"pbrMetallicRoughness":{},"baseColorFactor":[1,0,0]})",
      R"({"baseColorFactor":[1,0,0]})",
      R"({"baseColorFactor":[1,0,0],"pbrMetallicRoughness":{}})",
      R"({"emissiveFactor":[1,0,0],"alphaMode":"BLEND"})",
      R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0}},"values":[1,0,0]})",
  };
  for (const char* material : kMaterials) {
    SCOPED_TRACE(material);
    ExpectDefault(Triangle().Material(material));
  }
}

TEST_F(ColorTest, TheFirstArrayAfterTheKeyIsTakenWhateverElseIsThere) {
  const struct {
    const char* name;
    const char* material;
    std::array<float, 4> color;
  } kRows[] = {
      {"the rest of a material is ignored",
       R"({"name":"r]e[d","emissiveFactor":[9,9,9],"alphaMode":"MASK","alphaCutoff":0.1,)"
       R"("pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0.3,)"
       R"("baseColorFactor":[0,1,0,1],"roughnessFactor":0.9},"doubleSided":true})",
       {0, 1, 0, 1}},
      {"the array of another key",
       R"({"pbrMetallicRoughness":{"baseColorFactor":null,"extras":[0,0,1],"more":[1,1,1]}})",
       {0, 0, 1, 1}},
      {"the object of another key",
       R"({"pbrMetallicRoughness":null,"extras":{"baseColorFactor":[0,0,1]}})",
       {0, 0, 1, 1}},
      {"deeper in the object", R"({"pbrMetallicRoughness":{"extras":{"baseColorFactor":[0,0,1]}}})", {0, 0, 1, 1}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    ExpectColor(Triangle().Material(row.material), row.color);
  }
}

TEST_F(ColorTest, AnObjectThatIsNeverClosedGivesTheDefault) {
  const std::string kMeshes = R"("meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0}]}])";
  const std::string kMaterials = R"("materials":[{"pbrMetallicRoughness":{"baseColorFactor":[1,0,0])";
  const Glb glb = WithMeshes(kMeshes);
  const std::string json = glb.JsonText();
  const std::string open_json = json.substr(0, json.size() - 1) + "," + kMaterials;  // without the last brace
  ExpectColor(Glb(glb).Json(open_json), kDefaultMeshColor);
  ExpectColor(Glb(glb).Json(open_json + "]}"), kDefaultMeshColor);
  // Braces that were meant for something else close it too.
  ExpectColor(Glb(glb).Json(open_json + "]}}"), {1, 0, 0, 1});
}

TEST_F(ColorTest, EachMeshHasTheColourOfItsOwnMaterial) {
  const Loaded loaded = Load(Glb()
                                 .Add(Triangle().Color("1, 0, 0"))
                                 .Add(Triangle().Color("0, 1, 0"))
                                 .Add(Triangle())
                                 .Add(Triangle().PrimitiveField("material", "1"))
                                 .Add(Triangle().PrimitiveField("material", "0")));
  EXPECT_EQ(loaded.log, "Found 5 meshes\n" + MeshLine(0, 3, 3, "1.000000,0.000000,0.000000") +
                            MeshLine(1, 3, 3, "0.000000,1.000000,0.000000") + MeshLine(2, 3, 3, kDefaultColor) +
                            MeshLine(3, 3, 3, "0.000000,1.000000,0.000000") +
                            MeshLine(4, 3, 3, "1.000000,0.000000,0.000000"));
}

TEST_F(ColorTest, TheLogShowsSixDecimalsAndNoAlpha) {
  const struct {
    const char* numbers;
    const char* shown;
  } kRows[] = {
      {"1, 0, 0, 0.25", "1.000000,0.000000,0.000000"},
      {"0.3333333, 0.6666667, 0.1", "0.333333,0.666667,0.100000"},
      {"-1, -0, -0.0000001", "-1.000000,-0.000000,-0.000000"},
      {"16777216, 1e10, 123456.789", "16777216.000000,10000000000.000000,123456.789062"},
      {"0.0000005, 0.00000051, 1e-30", "0.000000,0.000001,0.000000"},
      {"3.4028234e38, 0, 0", "340282346638528859811704183484516925440.000000,0.000000,0.000000"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.numbers);
    EXPECT_EQ(Load(Glb().Add(Triangle().Color(row.numbers))).log, "Found 1 meshes\n" + MeshLine(0, 3, 3, row.shown));
  }
}

// ---- Exceptions -------------------------------------------------------------------------------------------

class NumberErrorTest : public ::testing::Test {
 protected:
  // A good mesh, the bad one, a good mesh: the first one stays, the others are never reached.
  template <typename Exception>
  void ExpectThrow(const Mesh& bad, const char* what) {
    const std::string path = folder_.Write("model.glb", Glb().Add(Mesh(Floats({1, 2, 3}))).Add(bad).Add(Triangle()));
    GLBModel model = PreviousModel();
    std::string log = "before\n";
    for (std::string* used_log : {&log, static_cast<std::string*>(nullptr)}) {
      EXPECT_THAT([&] { return load_glb_model(path, model, used_log); }, ThrowsAs<Exception>(what));
      ASSERT_EQ(model.meshes.size(), 1u);
      EXPECT_THAT(model.meshes[0].positions, ElementsAre(1, 2, 3));
    }
    EXPECT_EQ(log, "before\nFound 3 meshes\n" + MeshLine(0, 1, 0));
  }

  TemporaryFolder folder_;
};

TEST_F(NumberErrorTest, ANumberThatIsNoneLeavesAsInvalidArgument) {
  ExpectThrow<std::invalid_argument>(Triangle().PrimitiveField("indices", "-"), "stoi");
  ExpectThrow<std::invalid_argument>(Triangle().Color("1, -, 0"), "stof");
}

TEST_F(NumberErrorTest, ANumberTooLargeOrTooSmallLeavesAsOutOfRange) {
  ExpectThrow<std::out_of_range>(Mesh(Floats(kTrianglePositions).Field("count", "99999999999")), "stoi");
  ExpectThrow<std::out_of_range>(Triangle().Attribute("POSITION", "2147483648"), "stoi");
  ExpectThrow<std::out_of_range>(Triangle().Color("1e-50, 0, 0, 1"), "stof");
  ExpectThrow<std::out_of_range>(Triangle().Color("1, 0, 0, 1, 1e39"), "stof");  // after the fourth too
}

TEST_F(NumberErrorTest, LoadGlbMeshLetsItThroughAndLeavesTheMeshUntouched) {
  const std::string path = folder_.Write("model.glb", Glb().Add(Triangle()).Add(Triangle().Color("1, 0, .")));
  MeshData mesh = PreviousModel().meshes[0];
  EXPECT_THAT([&] { return load_glb_mesh(path, mesh, nullptr); }, ThrowsAs<std::invalid_argument>("stof"));
  EXPECT_THAT(mesh.positions, ElementsAre(7, 7, 7));
}

// ---- load_glb_mesh ----------------------------------------------------------------------------------------

class LoadGlbMeshTest : public ::testing::Test {
 protected:
  bool LoadMesh(const Glb& glb) { return load_glb_mesh(folder_.Write("model.glb", glb), mesh_, &log_); }

  TemporaryFolder folder_;
  MeshData mesh_ = PreviousModel().meshes[0];
  std::string log_;
};

TEST_F(LoadGlbMeshTest, TheFirstMeshReplacesWhatWasThere) {
  EXPECT_TRUE(LoadMesh(Glb().Add(Triangle().Color("0.5, 0, 1, 0.25")).Add(Mesh(Floats({4, 5, 6})))));
  EXPECT_EQ(log_, "Found 2 meshes\n" + MeshLine(0, 3, 3, "0.500000,0.000000,1.000000") + MeshLine(1, 1, 0));
  EXPECT_EQ(mesh_.positions, kTrianglePositions);
  EXPECT_THAT(mesh_.normals, ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1));
  EXPECT_THAT(mesh_.indices, ElementsAre(0, 1, 2));
  EXPECT_THAT(mesh_.color, ElementsAre(0.5f, 0, 1, 0.25f));
}

TEST_F(LoadGlbMeshTest, ItIsTheFirstThatDecodes) {
  EXPECT_TRUE(LoadMesh(Glb().Add(BadMesh()).Add(Mesh(Floats({4, 5, 6}))).Add(Triangle())));
  EXPECT_THAT(mesh_.positions, ElementsAre(4, 5, 6));
  EXPECT_THAT(mesh_.normals, ElementsAre(0, 1, 0));
  EXPECT_THAT(mesh_.indices, IsEmpty());
  EXPECT_EQ(mesh_.color, kDefaultMeshColor);
}

TEST_F(LoadGlbMeshTest, AFailureLeavesTheMeshUntouchedAndAddsNothingToTheLog) {
  EXPECT_FALSE(LoadMesh(Glb().Add(BadMesh())));
  EXPECT_EQ(log_, "Found 1 meshes\nFailed to load mesh 0: fail: pos type\n\n");
  log_.clear();
  EXPECT_FALSE(LoadMesh(Glb()));
  EXPECT_EQ(log_, "Found 0 meshes\n");
  log_.clear();
  EXPECT_FALSE(LoadMesh(Glb().Version(1)));
  EXPECT_EQ(log_, "fail: magic/version\n");
  EXPECT_FALSE(load_glb_mesh(folder_.PathOf("missing.glb"), mesh_, nullptr));
  EXPECT_THAT(mesh_.positions, ElementsAre(7, 7, 7));
}

TEST_F(LoadGlbMeshTest, TheLogMayBeNull) {
  EXPECT_TRUE(load_glb_mesh(folder_.Write("model.glb", Glb().Add(Triangle())), mesh_, nullptr));
  EXPECT_EQ(mesh_.positions, kTrianglePositions);
}

}  // namespace
