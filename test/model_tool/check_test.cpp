// What `check` says of files as they are.

#include "model_tool/check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test/model_tool/reference.h"

namespace model_tool_test {
namespace {

using model_tool::CheckReport;
using model_tool::Finding;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;
using Verdict = CheckReport::Verdict;

class Check : public ::testing::Test {
 protected:
  CheckReport Of(const Gltf& gltf) { return OfFile(folder_.Write("in.glb", gltf.Glb())); }
  CheckReport OfFile(const std::string& path) {
    options_.file = path;
    return model_tool::Check(options_);
  }
  std::string Text(const CheckReport& report) const { return ReportText(options_, report); }

  static std::vector<std::string> Codes(const CheckReport& report) {
    std::vector<std::string> codes;
    for (const Finding& finding : report.findings) codes.push_back(finding.code);
    return codes;
  }
  // A body in a colour that is the same as light and on the screen.
  static Json White(Gltf& gltf) {
    Json primitive = Tetrahedron(gltf);
    primitive["material"] = gltf.Material(Colored({1, 1, 1, 1}));
    return primitive;
  }

  const TemporaryFolder folder_;
  model_tool::CheckOptions options_;
};

TEST_F(Check, PlainFileLooksRight) {
  Gltf gltf;
  gltf.Mesh({White(gltf)});
  const CheckReport report = Of(gltf);
  EXPECT_EQ(report.verdict, Verdict::kRight);
  EXPECT_TRUE(report.findings.empty());
  EXPECT_EQ(Text(report), options_.file +
                              " looks right\n"
                              "drawn: 1 meshes, 4 vertices, 4 triangles; "
                              "4 of the 4 triangles that are meant are in their place\n");
}

// The plug-in centres and fits a model, whatever moves or scales all of it.
TEST_F(Check, PlaceAndSizeOfTheWholeDoNotMatter) {
  Gltf gltf;
  gltf.Scene(
      {gltf.Node({{"mesh", gltf.Mesh({White(gltf)})}, {"scale", {0.01, 0.01, 0.01}}, {"translation", {5, 6, 7}}})});
  EXPECT_EQ(Of(gltf).verdict, Verdict::kRight);
}

TEST_F(Check, PartInTheWrongPlaceIsNamedWithHowFar) {
  Gltf gltf;
  const size_t base = gltf.Node({{"mesh", gltf.Mesh({White(gltf)})}, {"name", "base"}});
  const size_t knob = gltf.Node({{"mesh", gltf.Mesh({White(gltf)})}, {"name", "knob"}, {"translation", {3, 0, 0}}});
  gltf.Scene({base, knob});
  const CheckReport report = Of(gltf);
  EXPECT_EQ(report.verdict, Verdict::kWrong);
  ASSERT_FALSE(report.findings.empty());
  EXPECT_EQ(report.findings[0].code, "misplaced");
  EXPECT_THAT(report.findings[0].text, HasSubstr("by up to 44 % of the longest side: base, knob"));
  EXPECT_THAT(Text(report), HasSubstr("to mend it: orbisk_model prepare " + options_.file + " "));
}

TEST_F(Check, MirroredPartIsWrong) {
  Gltf gltf;
  gltf.Scene({gltf.Node({{"mesh", gltf.Mesh({White(gltf)})}, {"scale", {-1, 1, 1}}})});
  EXPECT_THAT(Codes(Of(gltf)), Contains("misplaced"));
}

TEST_F(Check, CopiesAreCounted) {
  Gltf gltf;
  const size_t mesh = gltf.Mesh({White(gltf)});
  gltf.Scene({gltf.Node({{"mesh", mesh}}), gltf.Node({{"mesh", mesh}, {"translation", {0, 0, 9}}})});
  EXPECT_THAT(Codes(Of(gltf)), Contains("copies"));
}

TEST_F(Check, MeshOutsideOfTheSceneIsWrong) {
  Gltf gltf;
  gltf.Scene({gltf.Node({{"mesh", gltf.Mesh({White(gltf)})}})});
  gltf.Mesh({White(gltf)});
  EXPECT_THAT(Codes(Of(gltf)), Contains("unplaced"));
}

TEST_F(Check, DarkerColoursAreToldApartFromPreparedOnes) {
  Gltf gltf;
  Json primitive = Tetrahedron(gltf);
  primitive["material"] = gltf.Material(Colored({0.2, 0.2, 0.2, 1}));
  gltf.Mesh({primitive});
  const CheckReport report = Of(gltf);
  EXPECT_EQ(report.verdict, Verdict::kWrong);
  EXPECT_EQ(Codes(report), std::vector<std::string>{"darker"});
  gltf.json["asset"]["generator"] = "orbisk_model prepare";
  EXPECT_EQ(Of(gltf).verdict, Verdict::kRight);
}

// Each change makes a file that looks right into one that does not, for this reason.
TEST_F(Check, SaysWhatThePlugInDoesNotKnow) {
  struct Row {
    const char* code;
    void (*change)(Gltf&, Json&);
  };
  const std::vector<Row> rows = {
      {"primitives",
       [](Gltf& gltf, Json&) {
         Json second = gltf.json["meshes"][0]["primitives"][0];
         second["attributes"]["POSITION"] = gltf.Vec3s({0, 0, 9, 1, 0, 9, 0, 2, 9, 0, 0, 12});
         gltf.json["meshes"][0]["primitives"].push_back(second);
       }},
      {"strips", [](Gltf&, Json& primitive) { primitive["mode"] = 5; }},
      {"narrow_indices",
       [](Gltf& gltf, Json& primitive) {
         primitive["indices"] =
             gltf.Indices(std::vector<uint8_t>(kTetrahedronIndices.begin(), kTetrahedronIndices.end()));
       }},
      {"without_indices",
       [](Gltf& gltf, Json& primitive) {
         primitive.erase("indices");
         primitive["attributes"]["POSITION"] = gltf.Vec3s({0, 0, 0, 1, 0, 0, 0, 1, 0});
         primitive["attributes"]["NORMAL"] = gltf.Vec3s({0, 0, 1, 0, 0, 1, 0, 0, 1});
       }},
      {"quantised",
       [](Gltf& gltf, Json& primitive) {
         primitive["attributes"]["POSITION"] =
             gltf.Accessor(std::vector<uint8_t>{0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3}, "VEC3", 3);
       }},
      {"vertex_colors",
       [](Gltf& gltf, Json& primitive) {
         primitive["attributes"]["COLOR_0"] = gltf.Vec3s({1, 0, 0, 0, 1, 0, 0, 0, 1, 1, 1, 1});
       }},
      {"morphs",
       [](Gltf& gltf, Json& primitive) {
         primitive["targets"] = {{{"POSITION", gltf.Vec3s({0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0})}}};
         gltf.json["meshes"][0]["weights"] = {1};
       }},
      {"text_traps", [](Gltf& gltf, Json&) { gltf.json["asset"]["extras"]["meshes"] = Json::array(); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.code);
    Gltf gltf;
    const Json primitive = White(gltf);
    gltf.Mesh({primitive});
    Json changed = primitive;
    row.change(gltf, changed);
    gltf.json["meshes"][0]["primitives"][0] = changed;
    const CheckReport report = Of(gltf);
    EXPECT_TRUE(report.verdict == Verdict::kWrong || report.verdict == Verdict::kRefused) << Text(report);
    EXPECT_THAT(Codes(report), Contains(row.code)) << Text(report);
  }
}

TEST_F(Check, MeshThatIsLeftOutIsNamedWithTheReason) {
  Gltf gltf;
  Json quantised = White(gltf);
  quantised["attributes"]["POSITION"] =
      gltf.Accessor(std::vector<uint8_t>{0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3}, "VEC3", 3);
  gltf.Mesh({White(gltf)});
  gltf.Mesh({quantised});
  const CheckReport report = Of(gltf);
  EXPECT_EQ(report.verdict, Verdict::kWrong);
  EXPECT_THAT(
      Text(report),
      HasSubstr("1 meshes that are left out, the first of them mesh 1: its positions are quantised or compressed"));
}

TEST_F(Check, MissingBinChunkIsRefused) {
  Gltf gltf;
  gltf.Mesh({White(gltf)});
  folder_.Write("in.bin", gltf.bin);
  const Bytes file = glb_builder::Glb().Json(gltf.Text("in.bin")).WithoutBin().Build();
  const CheckReport report = OfFile(folder_.Write("in.glb", file));
  EXPECT_EQ(report.verdict, Verdict::kRefused);
  EXPECT_THAT(report.findings[0].text, HasSubstr("BIN chunk is missing"));
}

TEST_F(Check, NumberThatTheLoaderCannotReadIsRefused) {
  Gltf gltf;
  gltf.Mesh({White(gltf)});
  gltf.json["materials"][0]["pbrMetallicRoughness"]["baseColorFactor"] = {1e-50, 1, 1, 1};
  const CheckReport report = Of(gltf);
  EXPECT_EQ(report.verdict, Verdict::kRefused);
  EXPECT_THAT(report.findings[0].text, HasSubstr("a number in its JSON cannot be read (stof)"));
}

TEST_F(Check, TextFileIsRefusedWithTheCommandThatHelps) {
  Gltf gltf;
  gltf.Mesh({White(gltf)});
  folder_.Write("in.bin", gltf.bin);
  const CheckReport report = OfFile(folder_.Write("in.gltf", gltf.Text("in.bin")));
  EXPECT_EQ(report.verdict, Verdict::kRefused);
  EXPECT_THAT(Text(report),
              HasSubstr("orbisk_model prepare " + options_.file + " " + folder_.PathOf("in_prepared.glb")));
}

TEST_F(Check, BrokenFileCannotBeRead) {
  const CheckReport report = OfFile(folder_.Write("in.glb", "glTF but no more than that"));
  EXPECT_EQ(report.verdict, Verdict::kUnreadable);
  EXPECT_THAT(Text(report), HasSubstr(" cannot be read: "));
  EXPECT_EQ(OfFile(folder_.PathOf("none.glb")).verdict, Verdict::kUnreadable);
}

TEST_F(Check, MoreVerticesThanTheBudgetAreANote) {
  Gltf gltf;
  gltf.Mesh({White(gltf)});
  options_.max_vertices = 3;
  const CheckReport report = Of(gltf);
  EXPECT_EQ(report.verdict, Verdict::kRight);
  EXPECT_EQ(Codes(report), std::vector<std::string>{"vertices"});
  EXPECT_THAT(Text(report), HasSubstr("  4 vertices, more than the budget of 3\n"));
}

TEST_F(Check, JsonReportHasItsSchema) {
  Gltf gltf;
  const size_t mesh = gltf.Mesh({White(gltf)});
  gltf.Scene({gltf.Node({{"mesh", mesh}}), gltf.Node({{"mesh", mesh}, {"translation", {0, 0, 9}}})});
  const CheckReport report = Of(gltf);
  const Json json = Json::parse(ReportJson(options_, report));
  EXPECT_EQ(json["file"], options_.file);
  EXPECT_EQ(json["status"], 1);
  EXPECT_EQ(json["verdict"], "loads, but looks wrong");
  EXPECT_EQ(json["drawn"], Json({{"meshes", 1}, {"vertices", 4}, {"triangles", 4}}));
  EXPECT_EQ(json["meant"]["triangles"], 8);
  EXPECT_EQ(json["findings"][0]["code"], "misplaced");
  EXPECT_EQ(json["findings"][0]["severity"], "wrong");
  EXPECT_TRUE(json["compared"].contains("other_color"));
  EXPECT_THAT(json["command"].get<std::string>(), HasSubstr("orbisk_model prepare "));
}

}  // namespace
}  // namespace model_tool_test
