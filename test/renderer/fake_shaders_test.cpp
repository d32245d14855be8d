// Compiling and linking: the calls, and what each failure says and keeps.

#include "test/renderer/fake_renderer_test.h"

using ::testing::ElementsAreArray;
using ::testing::IsSupersetOf;

namespace {

std::string Source(int shader, const std::string& text) {
  return "glShaderSource(" + std::to_string(shader) + ", 1, {" + fake_graphics::Quoted(text) + "}, null)";
}

// The calls of a good load in its steps: each ends where something can fail.
const std::vector<std::vector<std::string>> kSteps = {
    {"glCreateShader(GL_VERTEX_SHADER) -> 4", "glCreateShader(GL_FRAGMENT_SHADER) -> 5", Source(4, kVertexSource),
     "glCompileShader(4)", "glGetShaderiv(4, GL_COMPILE_STATUS) -> 1"},
    {Source(5, kFragmentSource), "glCompileShader(5)", "glGetShaderiv(5, GL_COMPILE_STATUS) -> 1"},
    {"glCreateProgram() -> 6", "glAttachShader(6, 4)", "glAttachShader(6, 5)", "glLinkProgram(6)",
     "glGetProgramiv(6, GL_LINK_STATUS) -> 1"},
    {"glGetAttribLocation(6, \"a_position\") -> 2", "glGetAttribLocation(6, \"a_normal\") -> 5",
     "glGetUniformLocation(6, \"u_mvp\") -> 7", "glGetUniformLocation(6, \"u_lightDir\") -> 11",
     "glGetUniformLocation(6, \"u_objectColor\") -> 15"}};
const std::vector<std::string> kLines = {"Loading shaders...",
                                         "Vertex shader compiled",
                                         "Fragment shader compiled",
                                         "Shader program linked",
                                         "Attribute locations - position: 2, normal: 5",
                                         "Uniform locations - mvp: 7, lightDir: 11, objectColor: 15"};

class ShadersOnFakesTest : public FakeRendererTest {
 protected:
  ShadersOnFakesTest() {
    EXPECT_TRUE(Initialize());
    ForgetCallsAndLog();
  }
};

}  // namespace

TEST_F(ShadersOnFakesTest, CallsAndLogOfAGoodLoad) {
  EXPECT_TRUE(LoadShaders());
  EXPECT_EQ(TakeCalls(), Joined(kSteps[0]) + Joined(kSteps[1]) + Joined(kSteps[2]) + Joined(kSteps[3]));
  EXPECT_EQ(out_.Take(), RendererLines(kLines));
  EXPECT_EQ(err_.Take(), "");
  EXPECT_THAT(fake_graphics::Alive(), IsSupersetOf({"shader 4", "shader 5", "program 6"}));
}

TEST_F(ShadersOnFakesTest, MissingNamesAreNoFailure) {
  for (const char* name : {"a_position", "a_normal", "u_mvp", "u_lightDir", "u_objectColor"}) {
    fake_graphics::SetLocation(name, -1);
  }
  EXPECT_TRUE(LoadShaders());
  EXPECT_EQ(out_.Take(),
            RendererLines({kLines[0], kLines[1], kLines[2], kLines[3], "Attribute locations - position: -1, normal: -1",
                           "Uniform locations - mvp: -1, lightDir: -1, objectColor: -1"}));
  EXPECT_EQ(err_.Take(), "");
}

// ---- Failure ----------------------------------------------------------------------------------------------

namespace {

struct Failure {
  std::string name;
  std::function<void()> fault;
  size_t step;                     // that fails, from its status query on
  std::vector<std::string> calls;  // from there
  std::string error_text;
  std::string releases;  // of what was created
};

void PrintTo(const Failure& failure, std::ostream* stream) { *stream << failure.name; }

class ShaderFailureOnFakesTest : public ShadersOnFakesTest, public ::testing::WithParamInterface<Failure> {};

const std::string kShaderReleases = "glDeleteShader(4)\nglDeleteShader(5)\n";
const std::string kProgramReleases = "glDeleteProgram(6)\n" + kShaderReleases;

// The three failing ends, each with the info log's length and, where it is fetched, its text.
std::vector<Failure> Failures() {
  struct End {
    const char* name;
    size_t step;
    std::string object;    // as glGet... takes it
    std::string function;  // Shader or Program
    std::string status;
    std::string title;
    std::string failure;
    std::function<void(const std::string&)> fail;
    std::function<void()> fail_without_log;
    std::string releases;
  };
  const End ends[] = {
      {"Vertex", 0, "4", "Shader", "GL_COMPILE_STATUS", "Shader compile error:", "Failed to compile vertex shader",
       [](const std::string& log) { fake_graphics::FailCompile(log, 1); },
       [] { fake_graphics::FailCall("glCompileShader", 1); }, kShaderReleases},
      {"Fragment", 1, "5", "Shader", "GL_COMPILE_STATUS", "Shader compile error:", "Failed to compile fragment shader",
       [](const std::string& log) { fake_graphics::FailCompile(log, 2); },
       [] { fake_graphics::FailCall("glCompileShader", 2); }, kShaderReleases},
      {"Link", 2, "6", "Program", "GL_LINK_STATUS", "Program link error:", "Failed to link program",
       [](const std::string& log) { fake_graphics::FailLink(log); }, [] { fake_graphics::FailCall("glLinkProgram"); },
       kProgramReleases},
  };
  struct Log {
    const char* name;
    std::optional<std::string> text;
  };
  const Log logs[] = {
      {"NoLog", std::nullopt}, {"EmptyLog", ""}, {"ShortestLog", "x"}, {"Log", "0:1: error: 100% wrong\n0:2: more"}};

  std::vector<Failure> failures;
  for (const End& end : ends) {
    for (const Log& log : logs) {
      Failure failure;
      failure.name = std::string(end.name) + log.name;
      failure.step = end.step;
      failure.releases = end.releases;
      const std::string query = "glGet" + end.function;
      failure.calls = {query + "iv(" + end.object + ", " + end.status + ") -> 0"};
      const size_t length = log.text ? log.text->size() + 1 : 0;
      failure.calls.push_back(query + "iv(" + end.object + ", GL_INFO_LOG_LENGTH) -> " + std::to_string(length));
      if (length >= 2) {
        failure.calls.push_back(query + "InfoLog(" + end.object + ", " + std::to_string(length) + ", null) -> " +
                                fake_graphics::Quoted(*log.text));
        failure.error_text = "[EGLRenderer] " + end.title + "\n" + *log.text + "\n";
      }
      failure.error_text += "[EGLRenderer] " + end.failure + "\n";
      if (log.text) {
        failure.fault = [fail = end.fail, text = *log.text] { fail(text); };
      } else {
        failure.fault = end.fail_without_log;
      }
      failures.push_back(failure);
    }
  }
  return failures;
}

std::string NameOfFailure(const ::testing::TestParamInfo<Failure>& info) { return info.param.name; }

}  // namespace

TEST_P(ShaderFailureOnFakesTest, SaysWhyAndKeepsWhatItHasForTheDestructor) {
  const Failure& failure = GetParam();
  failure.fault();
  EXPECT_FALSE(LoadShaders());

  std::string calls;
  for (size_t step = 0; step < failure.step; ++step) calls += Joined(kSteps[step]);
  const std::vector<std::string>& failing = kSteps[failure.step];
  calls += Joined({failing.begin(), failing.end() - 1}) + Joined(failure.calls);
  EXPECT_EQ(TakeCalls(), calls);
  const auto lines_end = kLines.begin() + static_cast<std::ptrdiff_t>(failure.step + 1);
  EXPECT_EQ(out_.Take(), RendererLines({kLines.begin(), lines_end}));
  EXPECT_EQ(err_.Take(), failure.error_text);

  Destroy();
  EXPECT_EQ(TakeCalls().substr(0, failure.releases.size()), failure.releases);
}

INSTANTIATE_TEST_SUITE_P(Logs, ShaderFailureOnFakesTest, ::testing::ValuesIn(Failures()), NameOfFailure);

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
  TakeCalls();
  Destroy();
  const std::string calls = TakeCalls();
  EXPECT_EQ(calls.substr(0, calls.find("glDeleteFramebuffers")), "glDeleteShader(4)\n");
  out_.Take();
}

TEST_F(ShadersOnFakesTest, ProgramThatIsNotCreatedFailsToLinkAndIsNotDeleted) {
  fake_graphics::FailCall("glCreateProgram");
  {
    const fake_graphics::Allowance allowance({"glAttachShader", "glLinkProgram", "glGetProgramiv"});
    EXPECT_FALSE(LoadShaders());
  }
  EXPECT_EQ(err_.Take(), RendererLines({"Failed to link program"}));
  TakeCalls();
  Destroy();
  EXPECT_EQ(TakeCalls().substr(0, kShaderReleases.size()), kShaderReleases);
  out_.Take();
}
