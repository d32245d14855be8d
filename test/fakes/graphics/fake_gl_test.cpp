// What the fake OpenGL ES objects to, the errors it sets, and what it reads back.

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "test/fakes/graphics/fake_libraries_fixture.h"

namespace fake_graphics {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using FakeGlTest = FakeLibrariesTest;

TEST_F(FakeGlTest, ObjectToGlWithoutAContext) {
  glFlush();
  EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
  EXPECT_EQ(glCreateProgram(), 0u);
  EXPECT_THAT(Complaints(),
              ElementsAre("glFlush: no current context on this thread", "glGetError: no current context on this thread",
                          "glCreateProgram: no current context on this thread"));
}

TEST_F(FakeGlTest, ObjectToGlOnAnotherThreadThanTheContexts) {
  MakeContext();
  std::thread([] { glFlush(); }).join();
  EXPECT_THAT(Complaints(), ElementsAre("glFlush: no current context on this thread"));
}

TEST_F(FakeGlTest, AllowWhatATestAllowsAndNoLonger) {
  {
    const Allowance outer({"glFlush"});
    const Allowance inner({"glFlush", "glFinish"});
    glFinish();
  }
  {
    const Allowance allowance({"glFlush"});
    glFlush();
    glFinish();
  }
  glFlush();
  EXPECT_THAT(Complaints(),
              ElementsAre("glFinish: no current context on this thread", "glFlush: no current context on this thread"));
}

TEST_F(FakeGlTest, ObjectToUnknownForeignAndReleasedNames) {
  MakeContext();
  const GLuint texture = NewTexture();
  glBindTexture(GL_TEXTURE_2D, 77);
  glBindRenderbuffer(GL_RENDERBUFFER, texture);
  glDeleteTextures(1, &texture);
  glDeleteTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  EXPECT_THAT(
      Complaints(),
      ElementsAre("glBindTexture: unknown texture 77", "glBindRenderbuffer: unknown renderbuffer 1",
                  "glDeleteTextures: texture 1 is released already", "glBindTexture: texture 1 is released already"));
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_VALUE});
  EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR}) << "one flag for all of one kind";
}

TEST_F(FakeGlTest, ObjectToNamesOfAnotherContext) {
  MakeContext();
  const GLuint texture = NewTexture();
  const EGLContext second = eglCreateContext(display_, config_, EGL_NO_CONTEXT, nullptr);
  eglMakeCurrent(display_, surface_, surface_, second);
  EXPECT_EQ(NewTexture(), texture + 1) << "no name comes twice";
  glDeleteTextures(1, &texture);
  EXPECT_THAT(Complaints(), ElementsAre("glDeleteTextures: unknown texture 1"));
}

TEST_F(FakeGlTest, ObjectToDrawsThatCannotDraw) {
  MakeContext();
  const GLuint indices[] = {0, 1, 2};
  glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices);
  GLuint framebuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, indices);
  glClear(GL_COLOR_BUFFER_BIT);
  EXPECT_THAT(Complaints(), ElementsAre("glDrawElements: no program in use", "glDrawElements: incomplete framebuffer 1",
                                        "glClear: incomplete framebuffer 1"));
  EXPECT_THAT(Draws(), IsEmpty());
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_OPERATION});
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_FRAMEBUFFER_OPERATION});
}

TEST_F(FakeGlTest, ObjectToUniformsOfAnotherType) {
  MakeContext();
  const GLuint program = UseProgram();
  glUniform3f(glGetUniformLocation(program, "turn"), 1, 2, 3);
  glUniform3f(99, 1, 2, 3);
  glUniform3f(-1, 1, 2, 3);
  EXPECT_THAT(Complaints(),
              ElementsAre("glUniform3f: turn is of another type", "glUniform3f: no uniform at location 99"));
}

TEST_F(FakeGlTest, ObjectToLinkingWhatDidNotCompile) {
  MakeContext();
  FailCompile("reason", 2);
  UseProgram();
  EXPECT_THAT(Complaints(),
              ElementsAre("glLinkProgram: program 1 lacks a compiled shader", "glUseProgram: program 1 is not linked"));
}

TEST_F(FakeGlTest, ObjectToWhatMakesAGlErrorAndSetIt) {
  // The fake objects to `calls`, once.
  const auto expect_objection = [](const char* complaint, GLenum error, const std::function<void()>& calls) {
    const size_t before = Complaints().size();
    calls();
    const std::vector<std::string> complaints = Complaints();
    ASSERT_EQ(complaints.size(), before + 1) << complaint;
    EXPECT_EQ(complaints.back(), complaint);
    EXPECT_EQ(glGetError(), error) << complaint;
  };
  MakeContext();
  expect_objection("glBindTexture: target", GL_INVALID_ENUM, [] { glBindTexture(GL_RENDERBUFFER, 0); });
  expect_objection("glBindTexture: unknown texture 99", GL_INVALID_VALUE, [] { glBindTexture(GL_TEXTURE_2D, 99); });
  expect_objection("glTexImage2D: nothing is bound", GL_INVALID_OPERATION, [] {
    glBindTexture(GL_TEXTURE_2D, 0);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 3, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  });
  expect_objection("glTexParameteri: no texture is bound", GL_INVALID_OPERATION,
                   [] { glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR); });
  expect_objection("glRenderbufferStorage: nothing is bound", GL_INVALID_OPERATION,
                   [] { glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, 4, 3); });
  expect_objection("glFramebufferTexture2D: no framebuffer is bound", GL_INVALID_OPERATION,
                   [] { glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0); });
  expect_objection("glGetShaderiv: parameter", GL_INVALID_ENUM, [] {
    GLint value = 0;
    glGetShaderiv(glCreateShader(GL_VERTEX_SHADER), GL_LINK_STATUS, &value);
  });
  expect_objection("glAttachShader: program 2 has a shader of this type", GL_INVALID_OPERATION, [] {
    const GLuint program = glCreateProgram();
    for (int i = 0; i < 2; ++i) glAttachShader(program, glCreateShader(GL_VERTEX_SHADER));
  });
  expect_objection("glGetAttribLocation: program 5 is not linked", GL_INVALID_OPERATION,
                   [] { glGetAttribLocation(glCreateProgram(), "corner"); });
  expect_objection("glEnableVertexAttribArray: no attribute 8", GL_INVALID_VALUE, [] { glEnableVertexAttribArray(8); });
  expect_objection("glVertexAttribPointer: the fake reads floats only", GL_NO_ERROR,
                   [] { glVertexAttribPointer(0, 3, GL_SHORT, GL_FALSE, 0, nullptr); });
  expect_objection("glReadPixels: negative size", GL_INVALID_VALUE,
                   [] { glReadPixels(0, 0, -1, 1, GL_RGBA, GL_UNSIGNED_BYTE, nullptr); });
}

TEST_F(FakeGlTest, SetTheGlErrorOfANegativeSizeWithoutObjecting) {
  MakeContext();
  glBindTexture(GL_TEXTURE_2D, NewTexture());
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, -4, 3, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_VALUE});
  EXPECT_THAT(Complaints(), IsEmpty());
}

TEST_F(FakeGlTest, JudgeAFramebufferByItsAttachments) {
  MakeContext();
  const auto status = [] { return glCheckFramebufferStatus(GL_FRAMEBUFFER); };
  EXPECT_EQ(status(), GLenum{GL_FRAMEBUFFER_COMPLETE});
  GLuint framebuffer = 0;
  glGenFramebuffers(1, &framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  EXPECT_EQ(status(), GLenum{GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT});

  const GLuint texture = NewTexture();
  glBindTexture(GL_TEXTURE_2D, texture);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
  EXPECT_EQ(status(), GLenum{GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT});
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 4, 3, 0, GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
  EXPECT_EQ(status(), GLenum{GL_FRAMEBUFFER_COMPLETE});

  GLuint renderbuffer = 0;
  glGenRenderbuffers(1, &renderbuffer);
  glBindRenderbuffer(GL_RENDERBUFFER, renderbuffer);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, renderbuffer);
  EXPECT_EQ(status(), GLenum{GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT});
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, 3, 4);
  EXPECT_EQ(status(), GLenum{GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS});
  glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH_COMPONENT16, 4, 3);
  EXPECT_EQ(status(), GLenum{GL_FRAMEBUFFER_COMPLETE});

  SetFramebufferStatus(GL_FRAMEBUFFER_UNSUPPORTED);
  EXPECT_EQ(status(), GLenum{GL_FRAMEBUFFER_UNSUPPORTED});
  EXPECT_THAT(Complaints(), IsEmpty());
}

TEST_F(FakeGlTest, ReadBackTheClearColourOrWhatATestSets) {
  MakeContext();
  glClearColor(1.0f, 0.5f, 0.0f, 0.2f);
  std::vector<uint8_t> pixels(8);
  const auto read = [&pixels](GLsizei width) {
    glReadPixels(0, 0, width, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    return pixels;
  };
  EXPECT_THAT(read(2), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0)) << "not cleared yet";
  glClear(GL_DEPTH_BUFFER_BIT);
  EXPECT_THAT(read(2), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0)) << "other buffers";
  glClear(GL_COLOR_BUFFER_BIT);
  EXPECT_THAT(read(2), ElementsAre(255, 128, 0, 51, 255, 128, 0, 51));
  SetPixels({1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_THAT(read(2), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  EXPECT_THAT(Complaints(), IsEmpty());
  read(1);
  EXPECT_THAT(Complaints(), ElementsAre("glReadPixels: the test has set 2 pixels"));
}

TEST_F(FakeGlTest, ReadTheDataOfADrawAtThatMoment) {
  MakeContext();
  const GLuint program = UseProgram();
  std::vector<float> corners = {1, 2, 3, 4, 5, 6, 99, 99};
  const auto corner = static_cast<GLuint>(glGetAttribLocation(program, "corner"));
  glEnableVertexAttribArray(corner);
  glVertexAttribPointer(corner, 2, GL_FLOAT, GL_FALSE, 0, corners.data());
  glUniform3f(glGetUniformLocation(program, "tint"), 7, 8, 9);
  corners[0] = 0.5f;
  const GLuint indices[] = {2, 0, 1};
  glDrawElements(GL_LINES, 3, GL_UNSIGNED_INT, indices);
  corners[0] = 1.0f;
  glUniform3f(glGetUniformLocation(program, "tint"), 0, 0, 0);

  const Draw draw = Draws().at(0);
  EXPECT_THAT(draw.attributes.at("corner").values, ElementsAre(0.5f, 2, 3, 4, 5, 6)) << "three vertices";
  EXPECT_EQ(draw.attributes.at("corner").size, 2);
  EXPECT_THAT(draw.uniforms.at("tint"), ElementsAre(7, 8, 9));
  EXPECT_EQ(draw.uniforms.at("turn"), std::vector<float>(16));
  EXPECT_EQ(draw.mode, static_cast<unsigned>(GL_LINES));
  EXPECT_FALSE(draw.depth_test);
  EXPECT_FALSE(draw.blend);
}

}  // namespace
}  // namespace fake_graphics
