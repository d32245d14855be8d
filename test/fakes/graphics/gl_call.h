// Inside the fake OpenGL ES: what its functions share.

#ifndef TEST_FAKES_GRAPHICS_GL_CALL_H_
#define TEST_FAKES_GRAPHICS_GL_CALL_H_

#include <GLES2/gl2.h>

#include <map>
#include <string>
#include <vector>

#include "recorder.h"

namespace fake_graphics {

/// The constant's name. Small numbers have several: those are looked for in `first`.
std::string EnumText(GLenum value);
std::string EnumText(const std::vector<NamedNumber>& first, GLenum value);

inline const std::vector<NamedNumber> kBooleans = {FAKE_NAMED(GL_FALSE), FAKE_NAMED(GL_TRUE)};

template <typename Value>
std::string ListText(const std::vector<Value>& values) {
  return ListText(values.data(), values.size());
}

/// One call of a GL function.
class GlCall : public CallRecord {
 public:
  explicit GlCall(const char* function) : CallRecord(function), context_(machine().CurrentContext()) {
    if (context_ == nullptr) Complain("no current context on this thread");
  }

  /// What the call acts on; null where it is to have no effect.
  EglContext* Target(GLenum usual_error = GL_INVALID_OPERATION) {
    if (context_ != nullptr && fault()) {
      context_->AddError(fault()->error.value_or(usual_error));
      return nullptr;
    }
    return context_;
  }
  EglContext* context() { return context_; }

  void Misuse(GLenum error, const std::string& what) {
    context_->AddError(error);
    Complain(what);
  }

  template <typename Object>
  Object* FindName(std::map<GLuint, Object>& objects, GLuint name, const char* kind) {
    Object* object = Find(objects, name, std::string(kind) + " " + Text(name));
    if (object == nullptr) context_->AddError(GL_INVALID_VALUE);
    return object;
  }

 private:
  EglContext* const context_;
};

template <typename Object>
GLuint NewObject(GlCall& call, std::map<GLuint, Object>& objects, const char* kind) {
  const GLuint name = ++call.machine().last_gl_name;
  objects[name].name = std::string(kind) + " " + Text(name);
  return name;
}

template <typename Object>
Object* Bound(std::map<GLuint, Object>& objects, GLuint name) {
  const auto found = objects.find(name);
  return found == objects.end() ? nullptr : &found->second;
}

GLenum FramebufferStatus(EglContext& gl);
/// False, with the error set, for a framebuffer that cannot be drawn to or read.
bool IsComplete(GlCall& call, EglContext& gl);

/// The program in use, linked; null, with the error set, where there is none.
GlProgram* UsedProgram(GlCall& call, EglContext& gl);

}  // namespace fake_graphics

#endif  // TEST_FAKES_GRAPHICS_GL_CALL_H_
