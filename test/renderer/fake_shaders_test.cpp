// Compiling and linking: what is said and kept, above all where it fails.

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "test/renderer/fake_renderer_test.h"

using ::testing::EndsWith;
using ::testing::IsSupersetOf;

namespace {

class ShadersOnFakesTest : public FakeRendererTest {
 protected:
  ShadersOnFakesTest() {
    EXPECT_TRUE(Initialize());
    ForgetCallsAndLog();
  }
};

}  // namespace

TEST_F(ShadersOnFakesTest, TakeTheTextsThatAreGivenAndStayWithTheirProgram) {
  EXPECT_TRUE(LoadShaders());
  EXPECT_EQ(TakeCallsOf({"glShaderSource"}), "glShaderSource(4, 1, {" + fake_graphics::Quoted(kVertexSource) +
                                                 "}, null)\n" + "glShaderSource(5, 1, {" +
                                                 fake_graphics::Quoted(kFragmentSource) + "}, null)\n");
  EXPECT_EQ(err_.Take(), "");
  EXPECT_THAT(fake_graphics::Alive(), IsSupersetOf({"shader 4", "shader 5", "program 6"}));
  out_.Take();
}

TEST_F(ShadersOnFakesTest, MissingNamesAreNoFailure) {
  for (const char* name : {"a_position", "a_normal", "u_mvp", "u_lightDir", "u_objectColor"}) {
    fake_graphics::SetLocation(name, -1);
  }
  EXPECT_TRUE(LoadShaders());
  EXPECT_THAT(out_.Take(),
              EndsWith(RendererLines({"Shader program linked", "Attribute locations - position: -1, normal: -1",
                                      "Uniform locations - mvp: -1, lightDir: -1, objectColor: -1"})));
  EXPECT_EQ(err_.Take(), "");
}

// ---- Failure ----------------------------------------------------------------------------------------------

namespace {

// A step that fails with an info log, or without one.
struct FailingStep {
  std::string name;
  std::function<void(const std::string& log)> fail;
  std::function<void()> fail_without_log;
  std::string log_call;  // as far as the log's length
  std::string log_title;
  std::string error;
  std::string last_line;  // on standard output
};

void PrintTo(const FailingStep& step, std::ostream* stream) { *stream << step.name; }

std::vector<FailingStep> FailingSteps() {
  FailingStep vertex;
  vertex.name = "VertexShader";
  vertex.fail = [](const std::string& log) { fake_graphics::FailCompile(log, 1); };
  vertex.fail_without_log = [] { fake_graphics::FailCall("glCompileShader", 1); };
  vertex.log_call = "glGetShaderInfoLog(4, ";
  vertex.log_title = "Shader compile error:";
  vertex.error = "Failed to compile vertex shader";
  vertex.last_line = "Loading shaders...";

  FailingStep fragment;
  fragment.name = "FragmentShader";
  fragment.fail = [](const std::string& log) { fake_graphics::FailCompile(log, 2); };
  fragment.fail_without_log = [] { fake_graphics::FailCall("glCompileShader", 2); };
  fragment.log_call = "glGetShaderInfoLog(5, ";
  fragment.log_title = "Shader compile error:";
  fragment.error = "Failed to compile fragment shader";
  fragment.last_line = "Vertex shader compiled";

  FailingStep link;
  link.name = "Link";
  link.fail = [](const std::string& log) { fake_graphics::FailLink(log); };
  link.fail_without_log = [] { fake_graphics::FailCall("glLinkProgram"); };
  link.log_call = "glGetProgramInfoLog(6, ";
  link.log_title = "Program link error:";
  link.error = "Failed to link program";
  link.last_line = "Fragment shader compiled";

  return {vertex, fragment, link};
}

class ShaderFailureOnFakesTest : public ShadersOnFakesTest, public ::testing::WithParamInterface<FailingStep> {
 protected:
  void ExpectFailure(const std::string& errors) {
    EXPECT_FALSE(LoadShaders());
    EXPECT_EQ(err_.Take(), errors + RendererLines({GetParam().error}));
    EXPECT_THAT(out_.Take(), EndsWith(RendererLines({GetParam().last_line})));
  }
};

}  // namespace

TEST_P(ShaderFailureOnFakesTest, SaysWhatTheDriverSays) {
  for (const std::string log : {"x", "0:1: error: 100% wrong\n0:2: more"}) {
    GetParam().fail(log);
    ExpectFailure(RendererLines({GetParam().log_title + "\n" + log}));
    EXPECT_EQ(TakeCallsOf({"glGetShaderInfoLog", "glGetProgramInfoLog"}),
              GetParam().log_call + std::to_string(log.size() + 1) + ", null) -> " + fake_graphics::Quoted(log) + "\n");
    renderer_->cleanup();
    fake_graphics::Reset();
    EXPECT_TRUE(Initialize());
    ForgetCallsAndLog();
  }
}

TEST_P(ShaderFailureOnFakesTest, FetchesNoLogWhereThereIsNone) {
  GetParam().fail_without_log();
  ExpectFailure("");
  EXPECT_EQ(TakeCallsOf({"glGetShaderInfoLog", "glGetProgramInfoLog"}), "");
}

TEST_P(ShaderFailureOnFakesTest, FetchesNoEmptyLog) {
  GetParam().fail("");
  ExpectFailure("");
  EXPECT_EQ(TakeCallsOf({"glGetShaderInfoLog", "glGetProgramInfoLog"}), "");
}

INSTANTIATE_TEST_SUITE_P(Of, ShaderFailureOnFakesTest, ::testing::ValuesIn(FailingSteps()),
                         [](const auto& test) { return test.param.name; });

TEST_F(ShadersOnFakesTest, UnreadableStatusIsAFailureWithoutALog) {
  fake_graphics::FailCall("glGetShaderiv", 1);
  EXPECT_FALSE(LoadShaders());
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to compile vertex shader"}));
  out_.Take();
}

TEST_F(ShadersOnFakesTest, UnreadableLengthOfTheLogIsTakenForNone) {
  fake_graphics::FailCompile("lost");
  fake_graphics::FailCall("glGetShaderiv", 2);
  EXPECT_FALSE(LoadShaders());
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to compile vertex shader"}));
  out_.Take();
}

TEST_F(ShadersOnFakesTest, LogWithoutItsNullEndsBeforeIt) {
  fake_graphics::SetInfoLogsUnterminated(true);
  fake_graphics::FailLink("no end");
  EXPECT_FALSE(LoadShaders());
  EXPECT_EQ(err_.Take(), "[EGLRenderer] Program link error:\nno end\n[EGLRenderer] Failed to link program\n");
  out_.Take();
}

TEST_F(ShadersOnFakesTest, UnreadableLogIsEmpty) {
  fake_graphics::FailLink("lost");
  fake_graphics::FailCall("glGetProgramInfoLog");
  EXPECT_FALSE(LoadShaders());
  EXPECT_EQ(err_.Take(), "[EGLRenderer] Program link error:\n\n[EGLRenderer] Failed to link program\n");
  out_.Take();
}

TEST_F(ShadersOnFakesTest, ShaderThatIsNotCreatedFailsToCompileAndIsNotDeleted) {
  fake_graphics::FailCall("glCreateShader", 1);
  {
    const fake_graphics::Allowance allowance({"glShaderSource", "glCompileShader", "glGetShaderiv"});
    EXPECT_FALSE(LoadShaders());
  }
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to compile vertex shader"}));
  Destroy();
  EXPECT_EQ(TakeCallsOf({"glDeleteProgram", "glDeleteShader"}), "glDeleteShader(4)\n");
  out_.Take();
}

TEST_F(ShadersOnFakesTest, ProgramThatIsNotCreatedFailsToLinkAndIsNotDeleted) {
  fake_graphics::FailCall("glCreateProgram");
  {
    const fake_graphics::Allowance allowance({"glAttachShader", "glLinkProgram", "glGetProgramiv"});
    EXPECT_FALSE(LoadShaders());
  }
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to link program"}));
  Destroy();
  EXPECT_EQ(TakeCallsOf({"glDeleteProgram", "glDeleteShader"}), "glDeleteShader(4)\nglDeleteShader(5)\n");
  out_.Take();
}
