// The constants' names, and what a context says of its errors and of itself.

#include "gl_call.h"

using namespace fake_graphics;

namespace {

const std::vector<NamedNumber> kEnums = {FAKE_NAMED(GL_BLEND),
                                         FAKE_NAMED(GL_CLAMP_TO_EDGE),
                                         FAKE_NAMED(GL_COLOR_ATTACHMENT0),
                                         FAKE_NAMED(GL_COMPILE_STATUS),
                                         FAKE_NAMED(GL_CULL_FACE),
                                         FAKE_NAMED(GL_DEPTH_ATTACHMENT),
                                         FAKE_NAMED(GL_DEPTH_COMPONENT16),
                                         FAKE_NAMED(GL_DEPTH_TEST),
                                         FAKE_NAMED(GL_DITHER),
                                         FAKE_NAMED(GL_FLOAT),
                                         FAKE_NAMED(GL_FRAGMENT_SHADER),
                                         FAKE_NAMED(GL_FRAMEBUFFER),
                                         FAKE_NAMED(GL_FRAMEBUFFER_COMPLETE),
                                         FAKE_NAMED(GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT),
                                         FAKE_NAMED(GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS),
                                         FAKE_NAMED(GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT),
                                         FAKE_NAMED(GL_FRAMEBUFFER_UNSUPPORTED),
                                         FAKE_NAMED(GL_INFO_LOG_LENGTH),
                                         FAKE_NAMED(GL_INVALID_ENUM),
                                         FAKE_NAMED(GL_INVALID_FRAMEBUFFER_OPERATION),
                                         FAKE_NAMED(GL_INVALID_OPERATION),
                                         FAKE_NAMED(GL_INVALID_VALUE),
                                         FAKE_NAMED(GL_LINEAR),
                                         FAKE_NAMED(GL_LINK_STATUS),
                                         FAKE_NAMED(GL_NEAREST),
                                         FAKE_NAMED(GL_ONE_MINUS_SRC_ALPHA),
                                         FAKE_NAMED(GL_OUT_OF_MEMORY),
                                         FAKE_NAMED(GL_RENDERBUFFER),
                                         FAKE_NAMED(GL_RENDERER),
                                         FAKE_NAMED(GL_REPEAT),
                                         FAKE_NAMED(GL_RGB),
                                         FAKE_NAMED(GL_RGBA),
                                         FAKE_NAMED(GL_SCISSOR_TEST),
                                         FAKE_NAMED(GL_SHADING_LANGUAGE_VERSION),
                                         FAKE_NAMED(GL_SRC_ALPHA),
                                         FAKE_NAMED(GL_STENCIL_TEST),
                                         FAKE_NAMED(GL_TEXTURE_2D),
                                         FAKE_NAMED(GL_TEXTURE_MAG_FILTER),
                                         FAKE_NAMED(GL_TEXTURE_MIN_FILTER),
                                         FAKE_NAMED(GL_TEXTURE_WRAP_S),
                                         FAKE_NAMED(GL_TEXTURE_WRAP_T),
                                         FAKE_NAMED(GL_UNSIGNED_BYTE),
                                         FAKE_NAMED(GL_UNSIGNED_INT),
                                         FAKE_NAMED(GL_UNSIGNED_SHORT),
                                         FAKE_NAMED(GL_VENDOR),
                                         FAKE_NAMED(GL_VERSION),
                                         FAKE_NAMED(GL_VERTEX_SHADER)};
const std::vector<NamedNumber> kErrors = {FAKE_NAMED(GL_NO_ERROR)};

}  // namespace

namespace fake_graphics {

std::string EnumText(GLenum value) { return NumberText(kEnums, value); }

std::string EnumText(const std::vector<NamedNumber>& first, GLenum value) {
  for (const NamedNumber& candidate : first) {
    if (candidate.number == value) return candidate.name;
  }
  return EnumText(value);
}

}  // namespace fake_graphics

FAKE_FUNCTION GLenum glGetError() {
  GlCall call("glGetError");
  GLenum error = GL_NO_ERROR;
  if (EglContext* gl = call.Target(); gl != nullptr && !gl->errors.empty()) {
    error = gl->errors.front();
    gl->errors.pop_front();
  }
  call.Result(EnumText(kErrors, error));
  return error;
}

FAKE_FUNCTION const GLubyte* glGetString(GLenum name) {
  GlCall call("glGetString");
  call.Arguments(EnumText(name));
  const bool good = call.Target() != nullptr;
  const auto& text = call.machine().driver_strings[name];
  call.Result(good && text ? Quoted(*text) : "null");
  return good && text ? reinterpret_cast<const GLubyte*>(text->c_str()) : nullptr;
}
