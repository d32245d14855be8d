// Compiling and linking, on a real driver.

#include "test/renderer/gl_fixture.h"

namespace {

class ShadersTest : public GlTest {
 protected:
  void SetUp() override {
    GlTest::SetUp();
    if (IsSkipped()) return;
    bool initialized = false;
    const Said said = WhatIsSaid([&] { initialized = renderer_.initialize(5, 3, false); });
    ASSERT_TRUE(initialized) << said.err;
  }

  Said Load(bool expected_result, const char* vertex_shader, const char* fragment_shader) {
    bool loaded = !expected_result;
    Said said = WhatIsSaid([&] { loaded = renderer_.loadShaders(vertex_shader, fragment_shader); });
    EXPECT_EQ(loaded, expected_result) << said.err;
    EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
    return said;
  }
};

// What the driver itself says about a shader or a program; it may end with a newline of its own.
using GetParameter = decltype(&glGetShaderiv);
using GetText = decltype(&glGetShaderInfoLog);
std::string DriversText(GLuint object, GetParameter get_parameter, GetText get_text) {
  GLint length = 0;
  get_parameter(object, GL_INFO_LOG_LENGTH, &length);
  std::vector<char> text(static_cast<size_t>(length) + 1);
  get_text(object, length, nullptr, text.data());
  return text.data();
}

GLuint Compiled(GLenum type, const char* source) {
  const GLuint shader = glCreateShader(type);
  glShaderSource(shader, 1, &source, nullptr);
  glCompileShader(shader);
  return shader;
}

std::string DriversTextForShader(GLenum type, const char* source) {
  return DriversText(Compiled(type, source), glGetShaderiv, glGetShaderInfoLog);
}

std::string DriversTextForProgram(const char* vertex_shader, const char* fragment_shader) {
  const GLuint program = glCreateProgram();
  glAttachShader(program, Compiled(GL_VERTEX_SHADER, vertex_shader));
  glAttachShader(program, Compiled(GL_FRAGMENT_SHADER, fragment_shader));
  glLinkProgram(program);
  return DriversText(program, glGetProgramiv, glGetProgramInfoLog);
}

// Each compiles; their varyings do not fit together.
const char* const kThreeComponents = "varying vec3 v; void main() { v = vec3(1.0); gl_Position = vec4(v, 1.0); }";
const char* const kTwoComponents =
    "precision mediump float; varying vec2 v; void main() { gl_FragColor = vec4(v, v); }";

const char* const kBroken = "void main() { this is no statement; }";

TEST_F(ShadersTest, LoadingLogsEachStepAndTheLocations) {
  const Said said = Load(true, kVertexShader, kFragmentShader);
  renderer_.beginFrame();
  const GLuint program = GlName(GL_CURRENT_PROGRAM);
  ASSERT_NE(program, 0u);
  const auto attribute = [&](const char* name) { return std::to_string(glGetAttribLocation(program, name)); };
  const auto uniform = [&](const char* name) { return std::to_string(glGetUniformLocation(program, name)); };
  EXPECT_EQ(said.out,
            RendererLines(
                {"Loading shaders...", "Vertex shader compiled", "Fragment shader compiled", "Shader program linked",
                 "Attribute locations - position: " + attribute("a_position") + ", normal: " + attribute("a_normal"),
                 "Uniform locations - mvp: " + uniform("u_mvp") + ", lightDir: " + uniform("u_lightDir") +
                     ", objectColor: " + uniform("u_objectColor")}));
  EXPECT_EQ(said.err, "");
}

TEST_F(ShadersTest, BothShadersStayAttachedAndAlive) {
  Load(true, kVertexShader, kFragmentShader);
  renderer_.beginFrame();
  GLuint shaders[3] = {};
  GLsizei count = 0;
  glGetAttachedShaders(GlName(GL_CURRENT_PROGRAM), 3, &count, shaders);
  ASSERT_EQ(count, 2);
  std::vector<GLint> types;
  for (int i = 0; i < 2; ++i) {
    GLint type = 0;
    GLint deleted = -1;
    glGetShaderiv(shaders[i], GL_SHADER_TYPE, &type);
    glGetShaderiv(shaders[i], GL_DELETE_STATUS, &deleted);
    types.push_back(type);
    EXPECT_EQ(deleted, GL_FALSE);
  }
  EXPECT_THAT(types, ::testing::UnorderedElementsAre(GL_VERTEX_SHADER, GL_FRAGMENT_SHADER));
}

TEST_F(ShadersTest, ABrokenVertexShaderIsReportedInTheDriversWords) {
  const std::string drivers_text = DriversTextForShader(GL_VERTEX_SHADER, kBroken);
  ASSERT_GE(drivers_text.size(), 2u);
  const Said said = Load(false, kBroken, kFragmentShader);
  EXPECT_EQ(said.out, RendererLines({"Loading shaders..."}));
  EXPECT_EQ(said.err, RendererLines({"Shader compile error:\n" + drivers_text, "Failed to compile vertex shader"}));
}

TEST_F(ShadersTest, ABrokenFragmentShaderIsReportedInTheDriversWords) {
  const std::string drivers_text = DriversTextForShader(GL_FRAGMENT_SHADER, kBroken);
  ASSERT_GE(drivers_text.size(), 2u);
  const Said said = Load(false, kVertexShader, kBroken);
  EXPECT_EQ(said.out, RendererLines({"Loading shaders...", "Vertex shader compiled"}));
  EXPECT_EQ(said.err, RendererLines({"Shader compile error:\n" + drivers_text, "Failed to compile fragment shader"}));
}

TEST_F(ShadersTest, ShadersThatDoNotFitTogetherAreReportedInTheDriversWords) {
  const std::string drivers_text = DriversTextForProgram(kThreeComponents, kTwoComponents);
  ASSERT_GE(drivers_text.size(), 2u);
  const Said said = Load(false, kThreeComponents, kTwoComponents);
  EXPECT_EQ(said.out, RendererLines({"Loading shaders...", "Vertex shader compiled", "Fragment shader compiled"}));
  EXPECT_EQ(said.err, RendererLines({"Program link error:\n" + drivers_text, "Failed to link program"}));
}

TEST_F(ShadersTest, ARendererWhoseShadersFailedReportsGlErrorsAndDrawsNothing) {
  // One does not compile, the other does not link.
  for (const char* vertex_shader : {kBroken, kThreeComponents}) {
    Load(false, vertex_shader, kTwoComponents);
    Frame frame(5, 3, 0xAB);
    const Said said = Draw({WholeFrame(kOrange)}, frame);
    EXPECT_EQ(said.err, RendererLines({"GL error: 0x502", "readPixels: glReadPixels error: 0x501"}));
    EXPECT_EQ(frame.bytes, Frame(5, 3).bytes);
  }
}

}  // namespace
