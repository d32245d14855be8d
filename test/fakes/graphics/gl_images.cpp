// Textures, renderbuffers and framebuffers.

#include "gl_call.h"

using namespace fake_graphics;

namespace {

template <typename Object>
void Generate(const char* function, std::map<GLuint, Object> EglContext::*objects, const char* kind, GLsizei count,
              GLuint* names) {
  GlCall call(function);
  call.Arguments(count);
  EglContext* gl = call.Target(GL_OUT_OF_MEMORY);
  if (gl == nullptr) return;
  for (GLsizei i = 0; i < count; ++i) names[i] = NewObject(call, gl->*objects, kind);
  call.Result(ListText(names, static_cast<size_t>(count)));
}

template <typename Object>
void DeleteAll(const char* function, std::map<GLuint, Object> EglContext::*objects, GLuint EglContext::*bound,
               const char* kind, GLsizei count, const GLuint* names) {
  GlCall call(function);
  const std::vector<GLuint> list(names, names + count);
  call.Arguments(count, ListText(list));
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  for (const GLuint name : list) {
    Object* object = name == 0 ? nullptr : call.FindName(gl->*objects, name, kind);
    if (object == nullptr) continue;
    object->released = true;
    if (gl->*bound == name) gl->*bound = 0;
  }
}

template <typename Object>
void Bind(const char* function, GLenum expected_target, std::map<GLuint, Object> EglContext::*objects,
          GLuint EglContext::*bound, const char* kind, GLenum target, GLuint name) {
  GlCall call(function);
  call.Arguments(EnumText(target), name);
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  if (target != expected_target) return call.Misuse(GL_INVALID_ENUM, "target");
  if (name != 0) call.FindName(gl->*objects, name, kind);
  gl->*bound = name;
}

// Gives the bound texture or renderbuffer its size.
void SetStorage(GlCall& call, GlImage* image, GLsizei width, GLsizei height) {
  if (width < 0 || height < 0) {
    call.context()->AddError(GL_INVALID_VALUE);
  } else if (image == nullptr) {
    call.Misuse(GL_INVALID_OPERATION, "nothing is bound");
  } else {
    image->width = width;
    image->height = height;
  }
}

// The bound framebuffer, to attach the object of this name to it; null with the error set.
template <typename Object>
GlFramebuffer* AttachTo(GlCall& call, std::map<GLuint, Object> EglContext::*objects, GLuint name, const char* kind) {
  EglContext* gl = call.Target();
  if (gl == nullptr) return nullptr;
  GlFramebuffer* framebuffer = Bound(gl->framebuffers, gl->framebuffer);
  if (framebuffer == nullptr) call.Misuse(GL_INVALID_OPERATION, "no framebuffer is bound");
  const bool good_name = name == 0 || call.FindName(gl->*objects, name, kind) != nullptr;
  return good_name ? framebuffer : nullptr;
}

}  // namespace

namespace fake_graphics {

GLenum FramebufferStatus(EglContext& gl) {
  if (gl.framebuffer == 0) return GL_FRAMEBUFFER_COMPLETE;
  const GlFramebuffer* framebuffer = Bound(gl.framebuffers, gl.framebuffer);
  if (framebuffer == nullptr || framebuffer->color == 0) return GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT;
  const GlImage* color = Bound(gl.textures, framebuffer->color);
  if (color == nullptr || color->width == 0 || color->height == 0) return GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT;
  if (framebuffer->depth == 0) return GL_FRAMEBUFFER_COMPLETE;
  const GlImage* depth = Bound(gl.renderbuffers, framebuffer->depth);
  if (depth == nullptr || depth->width == 0) return GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT;
  const bool same_size = color->width == depth->width && color->height == depth->height;
  return same_size ? GL_FRAMEBUFFER_COMPLETE : GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS;
}

bool IsComplete(GlCall& call, EglContext& gl) {
  if (FramebufferStatus(gl) == GL_FRAMEBUFFER_COMPLETE) return true;
  call.Misuse(GL_INVALID_FRAMEBUFFER_OPERATION, "incomplete framebuffer " + Text(gl.framebuffer));
  return false;
}

}  // namespace fake_graphics

FAKE_FUNCTION void glGenFramebuffers(GLsizei count, GLuint* names) {
  Generate("glGenFramebuffers", &EglContext::framebuffers, "framebuffer", count, names);
}
FAKE_FUNCTION void glGenTextures(GLsizei count, GLuint* names) {
  Generate("glGenTextures", &EglContext::textures, "texture", count, names);
}
FAKE_FUNCTION void glGenRenderbuffers(GLsizei count, GLuint* names) {
  Generate("glGenRenderbuffers", &EglContext::renderbuffers, "renderbuffer", count, names);
}

FAKE_FUNCTION void glDeleteFramebuffers(GLsizei count, const GLuint* names) {
  DeleteAll("glDeleteFramebuffers", &EglContext::framebuffers, &EglContext::framebuffer, "framebuffer", count, names);
}
FAKE_FUNCTION void glDeleteTextures(GLsizei count, const GLuint* names) {
  DeleteAll("glDeleteTextures", &EglContext::textures, &EglContext::texture, "texture", count, names);
}
FAKE_FUNCTION void glDeleteRenderbuffers(GLsizei count, const GLuint* names) {
  DeleteAll("glDeleteRenderbuffers", &EglContext::renderbuffers, &EglContext::renderbuffer, "renderbuffer", count,
            names);
}

FAKE_FUNCTION void glBindFramebuffer(GLenum target, GLuint name) {
  Bind("glBindFramebuffer", GL_FRAMEBUFFER, &EglContext::framebuffers, &EglContext::framebuffer, "framebuffer", target,
       name);
}
FAKE_FUNCTION void glBindTexture(GLenum target, GLuint name) {
  Bind("glBindTexture", GL_TEXTURE_2D, &EglContext::textures, &EglContext::texture, "texture", target, name);
}
FAKE_FUNCTION void glBindRenderbuffer(GLenum target, GLuint name) {
  Bind("glBindRenderbuffer", GL_RENDERBUFFER, &EglContext::renderbuffers, &EglContext::renderbuffer, "renderbuffer",
       target, name);
}

FAKE_FUNCTION void glTexImage2D(GLenum target, GLint level, GLint internal_format, GLsizei width, GLsizei height,
                                GLint border, GLenum format, GLenum type, const void* pixels) {
  GlCall call("glTexImage2D");
  call.Arguments(EnumText(target), level, EnumText(static_cast<GLenum>(internal_format)), width, height, border,
                 EnumText(format), EnumText(type), PointerText(pixels, "pixels"));
  EglContext* gl = call.Target(GL_OUT_OF_MEMORY);
  if (gl != nullptr) SetStorage(call, Bound(gl->textures, gl->texture), width, height);
}

FAKE_FUNCTION void glTexParameteri(GLenum target, GLenum name, GLint value) {
  GlCall call("glTexParameteri");
  call.Arguments(EnumText(target), EnumText(name), EnumText(static_cast<GLenum>(value)));
  EglContext* gl = call.Target();
  if (gl != nullptr && gl->texture == 0) call.Misuse(GL_INVALID_OPERATION, "no texture is bound");
}

FAKE_FUNCTION void glRenderbufferStorage(GLenum target, GLenum format, GLsizei width, GLsizei height) {
  GlCall call("glRenderbufferStorage");
  call.Arguments(EnumText(target), EnumText(format), width, height);
  EglContext* gl = call.Target(GL_OUT_OF_MEMORY);
  if (gl != nullptr) SetStorage(call, Bound(gl->renderbuffers, gl->renderbuffer), width, height);
}

FAKE_FUNCTION void glFramebufferTexture2D(GLenum target, GLenum attachment, GLenum texture_target, GLuint texture,
                                          GLint level) {
  GlCall call("glFramebufferTexture2D");
  call.Arguments(EnumText(target), EnumText(attachment), EnumText(texture_target), texture, level);
  GlFramebuffer* framebuffer = AttachTo(call, &EglContext::textures, texture, "texture");
  if (framebuffer != nullptr && attachment == GL_COLOR_ATTACHMENT0) framebuffer->color = texture;
}

FAKE_FUNCTION void glFramebufferRenderbuffer(GLenum target, GLenum attachment, GLenum renderbuffer_target,
                                             GLuint renderbuffer) {
  GlCall call("glFramebufferRenderbuffer");
  call.Arguments(EnumText(target), EnumText(attachment), EnumText(renderbuffer_target), renderbuffer);
  GlFramebuffer* framebuffer = AttachTo(call, &EglContext::renderbuffers, renderbuffer, "renderbuffer");
  if (framebuffer != nullptr && attachment == GL_DEPTH_ATTACHMENT) framebuffer->depth = renderbuffer;
}

FAKE_FUNCTION GLenum glCheckFramebufferStatus(GLenum target) {
  GlCall call("glCheckFramebufferStatus");
  call.Arguments(EnumText(target));
  EglContext* gl = call.Target();
  const GLenum status = gl == nullptr ? 0 : call.machine().framebuffer_status.value_or(FramebufferStatus(*gl));
  call.Result(EnumText(status));
  return status;
}
