#include <GLES2/gl2.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>

#include "recorder.h"

using namespace fake_graphics;

namespace {

// ---- Words ------------------------------------------------------------------------------------------------

#define NAMED(constant) \
  { constant, #constant }

const std::vector<NamedNumber> kEnums = {NAMED(GL_BLEND),
                                         NAMED(GL_CLAMP_TO_EDGE),
                                         NAMED(GL_COLOR_ATTACHMENT0),
                                         NAMED(GL_COMPILE_STATUS),
                                         NAMED(GL_CULL_FACE),
                                         NAMED(GL_DEPTH_ATTACHMENT),
                                         NAMED(GL_DEPTH_COMPONENT16),
                                         NAMED(GL_DEPTH_TEST),
                                         NAMED(GL_DITHER),
                                         NAMED(GL_FLOAT),
                                         NAMED(GL_FRAGMENT_SHADER),
                                         NAMED(GL_FRAMEBUFFER),
                                         NAMED(GL_FRAMEBUFFER_COMPLETE),
                                         NAMED(GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT),
                                         NAMED(GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS),
                                         NAMED(GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT),
                                         NAMED(GL_FRAMEBUFFER_UNSUPPORTED),
                                         NAMED(GL_INFO_LOG_LENGTH),
                                         NAMED(GL_INVALID_ENUM),
                                         NAMED(GL_INVALID_FRAMEBUFFER_OPERATION),
                                         NAMED(GL_INVALID_OPERATION),
                                         NAMED(GL_INVALID_VALUE),
                                         NAMED(GL_LINEAR),
                                         NAMED(GL_LINK_STATUS),
                                         NAMED(GL_NEAREST),
                                         NAMED(GL_ONE_MINUS_SRC_ALPHA),
                                         NAMED(GL_OUT_OF_MEMORY),
                                         NAMED(GL_RENDERBUFFER),
                                         NAMED(GL_RENDERER),
                                         NAMED(GL_REPEAT),
                                         NAMED(GL_RGB),
                                         NAMED(GL_RGBA),
                                         NAMED(GL_SCISSOR_TEST),
                                         NAMED(GL_SHADING_LANGUAGE_VERSION),
                                         NAMED(GL_SRC_ALPHA),
                                         NAMED(GL_STENCIL_TEST),
                                         NAMED(GL_TEXTURE_2D),
                                         NAMED(GL_TEXTURE_MAG_FILTER),
                                         NAMED(GL_TEXTURE_MIN_FILTER),
                                         NAMED(GL_TEXTURE_WRAP_S),
                                         NAMED(GL_TEXTURE_WRAP_T),
                                         NAMED(GL_UNSIGNED_BYTE),
                                         NAMED(GL_UNSIGNED_INT),
                                         NAMED(GL_UNSIGNED_SHORT),
                                         NAMED(GL_VENDOR),
                                         NAMED(GL_VERSION),
                                         NAMED(GL_VERTEX_SHADER)};
// Small numbers have several names.
const std::vector<NamedNumber> kErrors = {NAMED(GL_NO_ERROR)};
const std::vector<NamedNumber> kBooleans = {NAMED(GL_FALSE), NAMED(GL_TRUE)};
const std::vector<NamedNumber> kBlendFactors = {NAMED(GL_ZERO), NAMED(GL_ONE)};
const std::vector<NamedNumber> kModes = {NAMED(GL_POINTS),      NAMED(GL_LINES),     NAMED(GL_LINE_LOOP),
                                         NAMED(GL_LINE_STRIP),  NAMED(GL_TRIANGLES), NAMED(GL_TRIANGLE_STRIP),
                                         NAMED(GL_TRIANGLE_FAN)};
const std::vector<NamedNumber> kBuffers = {NAMED(GL_COLOR_BUFFER_BIT), NAMED(GL_DEPTH_BUFFER_BIT),
                                           NAMED(GL_STENCIL_BUFFER_BIT)};

#undef NAMED

std::string EnumText(GLenum value) { return NumberText(kEnums, value); }

std::string EnumText(const std::vector<NamedNumber>& first, GLenum value) {
  for (const NamedNumber& candidate : first) {
    if (candidate.number == value) return candidate.name;
  }
  return EnumText(value);
}

template <typename Value>
std::string ListText(const std::vector<Value>& values) {
  return fake_graphics::ListText(values.data(), values.size());
}

// ---- One GL call ------------------------------------------------------------------------------------------

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
void Generate(const char* function, std::map<GLuint, Object> EglContext::*objects, const char* kind, GLsizei count,
              GLuint* names) {
  GlCall call(function);
  call.Arguments(count);
  EglContext* gl = call.Target(GL_OUT_OF_MEMORY);
  if (gl == nullptr) return;
  for (GLsizei i = 0; i < count; ++i) names[i] = NewObject(call, gl->*objects, kind);
  call.Result(fake_graphics::ListText(names, static_cast<size_t>(count)));
}

// glDeleteShader and glDeleteProgram. What is in use goes on working.
template <typename Object>
void Delete(const char* function, std::map<GLuint, Object> EglContext::*objects, const char* kind, GLuint name) {
  GlCall call(function);
  call.Arguments(name);
  EglContext* gl = call.Target();
  if (gl == nullptr || name == 0) return;
  if (Object* object = call.FindName(gl->*objects, name, kind)) object->released = true;
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

template <typename Object>
Object* Bound(std::map<GLuint, Object>& objects, GLuint name) {
  const auto found = objects.find(name);
  return found == objects.end() ? nullptr : &found->second;
}

// ---- Framebuffers -----------------------------------------------------------------------------------------

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

// False, with the error set, for a framebuffer that cannot be drawn to or read.
bool IsComplete(GlCall& call, EglContext& gl) {
  if (FramebufferStatus(gl) == GL_FRAMEBUFFER_COMPLETE) return true;
  call.Misuse(GL_INVALID_FRAMEBUFFER_OPERATION, "incomplete framebuffer " + Text(gl.framebuffer));
  return false;
}

// Where the bound framebuffer keeps its one colour.
Rgba* Content(Machine& machine, EglContext& gl) {
  if (gl.framebuffer == 0) return &machine.surfaces.at(gl.surface).content;
  return &gl.textures.at(gl.framebuffers.at(gl.framebuffer).color).content;
}

// ---- Shaders and programs ---------------------------------------------------------------------------------

struct Declaration {
  std::string type;
  std::string name;
};

// The declarations of a source that begin with this word: "uniform mat4 u_mvp;".
std::vector<Declaration> Declarations(const std::string& source, const std::string& keyword) {
  std::vector<std::string> words(1);
  for (const char c : source) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_') {
      words.back() += c;
    } else if (!words.back().empty()) {
      words.emplace_back();
    }
  }
  std::vector<Declaration> declarations;
  for (size_t i = 0; i + 2 < words.size(); ++i) {
    if (words[i] == keyword) declarations.push_back({words[i + 1], words[i + 2]});
  }
  return declarations;
}

size_t FloatsOf(const std::string& type) {
  if (type == "mat4") return 16;
  return type.rfind("vec", 0) == 0 ? static_cast<size_t>(type[3] - '0') : 1;
}

// The locations of what the program's shaders declare: scattered, so that none is like another or like a
// default.
void Locate(const Machine& machine, EglContext& gl, GlProgram& program) {
  program.attributes.clear();
  program.uniforms.clear();
  const auto location_of = [&](const std::string& name, size_t otherwise) {
    const auto found = machine.locations.find(name);
    return found == machine.locations.end() ? static_cast<GLint>(otherwise) : found->second;
  };
  size_t attributes = 0;
  size_t uniforms = 0;
  for (const GLuint shader_name : program.shaders) {
    const std::string& source = gl.shaders.at(shader_name).source;
    for (const Declaration& declaration : Declarations(source, "attribute")) {
      const GLint location = location_of(declaration.name, (2 + 3 * attributes++) % 8);
      if (location >= 0) program.attributes[declaration.name] = location;
    }
    for (const Declaration& declaration : Declarations(source, "uniform")) {
      const GLint location = location_of(declaration.name, 7 + 4 * uniforms++);
      if (location < 0) continue;
      program.uniforms[declaration.name] = {location, std::vector<float>(FloatsOf(declaration.type))};
    }
  }
}

// What GL_INFO_LOG_LENGTH gives.
GLint InfoLogLength(const std::optional<std::string>& log) { return log ? static_cast<GLint>(log->size() + 1) : 0; }

// glGetShaderiv and glGetProgramiv.
template <typename Object>
void GetParameter(const char* function, std::map<GLuint, Object> EglContext::*objects, const char* kind,
                  GLenum status_name, bool Object::*status, GLuint name, GLenum parameter, GLint* value) {
  GlCall call(function);
  call.Arguments(name, EnumText(parameter));
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  const Object* object = call.FindName(gl->*objects, name, kind);
  if (object == nullptr) return;
  if (parameter == status_name) {
    *value = object->*status ? GL_TRUE : GL_FALSE;
  } else if (parameter == GL_INFO_LOG_LENGTH) {
    *value = InfoLogLength(object->info_log);
  } else {
    return call.Misuse(GL_INVALID_ENUM, "parameter");
  }
  call.Result(*value);
}

// glGetShaderInfoLog and glGetProgramInfoLog.
template <typename Object>
void GetInfoLog(const char* function, std::map<GLuint, Object> EglContext::*objects, const char* kind, GLuint name,
                GLsizei size, GLsizei* length, GLchar* log) {
  GlCall call(function);
  call.Arguments(name, size, PointerText(length, "length"));
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  const Object* object = call.FindName(gl->*objects, name, kind);
  if (object == nullptr || size <= 0) return;
  const std::string text = object->info_log.value_or("").substr(0, static_cast<size_t>(size - 1));
  if (call.machine().info_logs_unterminated) {
    std::memset(log, '~', static_cast<size_t>(size));
    std::memcpy(log, text.data(), text.size());
  } else {
    std::memcpy(log, text.c_str(), text.size() + 1);
  }
  if (length != nullptr) *length = static_cast<GLsizei>(text.size());
  call.Result(Quoted(text));
}

// The program in use, linked; null, with the error set, where there is none.
GlProgram* UsedProgram(GlCall& call, EglContext& gl) {
  GlProgram* program = Bound(gl.programs, gl.program);
  if (program == nullptr || !program->linked) {
    call.Misuse(GL_INVALID_OPERATION, "no program in use");
    return nullptr;
  }
  return program;
}

void SetUniform(GlCall& call, GLint location, const float* values, size_t count) {
  EglContext* gl = call.Target();
  GlProgram* program = gl == nullptr ? nullptr : UsedProgram(call, *gl);
  if (program == nullptr || location == -1) return;
  for (auto& [name, uniform] : program->uniforms) {
    if (uniform.location != location) continue;
    if (uniform.value.size() != count) return call.Misuse(GL_INVALID_OPERATION, name + " is of another type");
    uniform.value.assign(values, values + count);
    return;
  }
  call.Misuse(GL_INVALID_OPERATION, "no uniform at location " + Text(location));
}

GLint Location(GlCall& call, GLint location) {
  call.Result(location);
  return location;
}

GlProgram* LinkedProgram(GlCall& call, GLuint name, const GLchar* variable) {
  call.Arguments(name, Quoted(variable));
  EglContext* gl = call.Target();
  GlProgram* program = gl == nullptr ? nullptr : call.FindName(gl->programs, name, "program");
  if (program == nullptr || program->linked) return program;
  call.Misuse(GL_INVALID_OPERATION, program->name + " is not linked");
  return nullptr;
}

// ---- Drawing ----------------------------------------------------------------------------------------------

// glEnable and glDisable.
void Switch(const char* function, GLenum capability, bool on) {
  GlCall call(function);
  call.Arguments(EnumText(capability));
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  if (on) {
    gl->enabled.insert(capability);
  } else {
    gl->enabled.erase(capability);
  }
}

// The vertex array of this index; null, with the error set, for one that no driver has.
GlVertexArray* VertexArray(GlCall& call, GLuint index) {
  EglContext* gl = call.Target();
  if (gl == nullptr) return nullptr;
  if (index < gl->arrays.size()) return &gl->arrays[index];
  call.Misuse(GL_INVALID_VALUE, "no attribute " + Text(static_cast<GLint>(index)));
  return nullptr;
}

// glEnableVertexAttribArray and glDisableVertexAttribArray.
void SwitchArray(const char* function, GLuint index, bool on) {
  GlCall call(function);
  call.Arguments(static_cast<GLint>(index));
  if (GlVertexArray* array = VertexArray(call, index)) array->enabled = on;
}

std::vector<uint32_t> ReadIndices(GLenum type, const void* data, GLsizei count) {
  std::vector<uint32_t> indices;
  for (GLsizei i = 0; i < count; ++i) {
    if (type == GL_UNSIGNED_INT) indices.push_back(static_cast<const GLuint*>(data)[i]);
    if (type == GL_UNSIGNED_SHORT) indices.push_back(static_cast<const GLushort*>(data)[i]);
    if (type == GL_UNSIGNED_BYTE) indices.push_back(static_cast<const GLubyte*>(data)[i]);
  }
  return indices;
}

Draw::Attribute ReadAttribute(const GlVertexArray& array, size_t vertices) {
  Draw::Attribute attribute;
  attribute.enabled = array.enabled;
  attribute.size = array.size;
  if (!array.enabled || array.data == nullptr) return attribute;
  const auto size = static_cast<size_t>(array.size);
  const size_t stride = array.stride == 0 ? size * sizeof(float) : static_cast<size_t>(array.stride);
  attribute.values.resize(vertices * size);
  for (size_t vertex = 0; vertex < vertices; ++vertex) {
    std::memcpy(&attribute.values[vertex * size], array.data + vertex * stride, size * sizeof(float));
  }
  return attribute;
}

std::string DrawText(const Draw& draw) {
  std::string text;
  for (const auto& [name, attribute] : draw.attributes) {
    text += " " + name + " ";
    text += attribute.enabled ? ListText(attribute.values) : "off";
  }
  return text;
}

}  // namespace

// ---- Errors and strings -----------------------------------------------------------------------------------

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

// ---- Textures, renderbuffers, framebuffers ----------------------------------------------------------------

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

namespace {

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

// ---- Shaders and programs ---------------------------------------------------------------------------------

FAKE_FUNCTION GLuint glCreateShader(GLenum type) {
  GlCall call("glCreateShader");
  call.Arguments(EnumText(type));
  GLuint name = 0;
  if (EglContext* gl = call.Target(GL_INVALID_ENUM)) {
    name = NewObject(call, gl->shaders, "shader");
    gl->shaders[name].type = type;
  }
  call.Result(name);
  return name;
}

FAKE_FUNCTION void glShaderSource(GLuint name, GLsizei count, const GLchar* const* strings, const GLint* lengths) {
  GlCall call("glShaderSource");
  std::string source;
  for (GLsizei i = 0; i < count; ++i) {
    source += lengths == nullptr || lengths[i] < 0 ? std::string(strings[i])
                                                   : std::string(strings[i], static_cast<size_t>(lengths[i]));
  }
  call.Arguments(name, count, "{" + Quoted(source) + "}", PointerText(lengths, "lengths"));
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  if (GlShader* shader = call.FindName(gl->shaders, name, "shader")) shader->source = source;
}

FAKE_FUNCTION void glCompileShader(GLuint name) {
  GlCall call("glCompileShader");
  call.Arguments(name);
  EglContext* gl = call.context();
  GlShader* shader = gl == nullptr ? nullptr : call.FindName(gl->shaders, name, "shader");
  if (shader == nullptr) return;
  shader->compiled = !call.fault();
  shader->info_log = call.fault() ? call.fault()->info_log : std::nullopt;
}

FAKE_FUNCTION void glGetShaderiv(GLuint name, GLenum parameter, GLint* value) {
  GetParameter("glGetShaderiv", &EglContext::shaders, "shader", GL_COMPILE_STATUS, &GlShader::compiled, name, parameter,
               value);
}

FAKE_FUNCTION void glGetShaderInfoLog(GLuint name, GLsizei size, GLsizei* length, GLchar* log) {
  GetInfoLog("glGetShaderInfoLog", &EglContext::shaders, "shader", name, size, length, log);
}

FAKE_FUNCTION void glDeleteShader(GLuint name) { Delete("glDeleteShader", &EglContext::shaders, "shader", name); }

FAKE_FUNCTION GLuint glCreateProgram() {
  GlCall call("glCreateProgram");
  GLuint name = 0;
  if (EglContext* gl = call.Target()) name = NewObject(call, gl->programs, "program");
  call.Result(name);
  return name;
}

FAKE_FUNCTION void glAttachShader(GLuint program_name, GLuint shader_name) {
  GlCall call("glAttachShader");
  call.Arguments(program_name, shader_name);
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  GlProgram* program = call.FindName(gl->programs, program_name, "program");
  const GlShader* shader = call.FindName(gl->shaders, shader_name, "shader");
  if (program == nullptr || shader == nullptr) return;
  for (const GLuint attached : program->shaders) {
    if (gl->shaders.at(attached).type != shader->type) continue;
    return call.Misuse(GL_INVALID_OPERATION, program->name + " has a shader of this type");
  }
  program->shaders.push_back(shader_name);
}

FAKE_FUNCTION void glLinkProgram(GLuint name) {
  GlCall call("glLinkProgram");
  call.Arguments(name);
  EglContext* gl = call.context();
  GlProgram* program = gl == nullptr ? nullptr : call.FindName(gl->programs, name, "program");
  if (program == nullptr) return;
  program->linked = !call.fault() && program->shaders.size() == 2;
  for (const GLuint shader : program->shaders) program->linked = program->linked && gl->shaders.at(shader).compiled;
  if (!program->linked && !call.fault()) call.Complain(program->name + " lacks a compiled shader");
  program->info_log = call.fault() ? call.fault()->info_log : std::nullopt;
  if (program->linked) Locate(call.machine(), *gl, *program);
}

FAKE_FUNCTION void glGetProgramiv(GLuint name, GLenum parameter, GLint* value) {
  GetParameter("glGetProgramiv", &EglContext::programs, "program", GL_LINK_STATUS, &GlProgram::linked, name, parameter,
               value);
}

FAKE_FUNCTION void glGetProgramInfoLog(GLuint name, GLsizei size, GLsizei* length, GLchar* log) {
  GetInfoLog("glGetProgramInfoLog", &EglContext::programs, "program", name, size, length, log);
}

FAKE_FUNCTION GLint glGetAttribLocation(GLuint name, const GLchar* attribute) {
  GlCall call("glGetAttribLocation");
  const GlProgram* program = LinkedProgram(call, name, attribute);
  if (program == nullptr || program->attributes.count(attribute) == 0) return Location(call, -1);
  return Location(call, program->attributes.at(attribute));
}

FAKE_FUNCTION GLint glGetUniformLocation(GLuint name, const GLchar* uniform) {
  GlCall call("glGetUniformLocation");
  const GlProgram* program = LinkedProgram(call, name, uniform);
  if (program == nullptr || program->uniforms.count(uniform) == 0) return Location(call, -1);
  return Location(call, program->uniforms.at(uniform).location);
}

FAKE_FUNCTION void glUseProgram(GLuint name) {
  GlCall call("glUseProgram");
  call.Arguments(name);
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  if (name != 0) {
    const GlProgram* program = call.FindName(gl->programs, name, "program");
    if (program == nullptr) return;
    if (!program->linked) return call.Misuse(GL_INVALID_OPERATION, program->name + " is not linked");
  }
  gl->program = name;
}

FAKE_FUNCTION void glDeleteProgram(GLuint name) { Delete("glDeleteProgram", &EglContext::programs, "program", name); }

FAKE_FUNCTION void glUniformMatrix4fv(GLint location, GLsizei count, GLboolean transpose, const GLfloat* values) {
  GlCall call("glUniformMatrix4fv");
  call.Arguments(location, count, EnumText(kBooleans, transpose),
                 fake_graphics::ListText(values, 16 * static_cast<size_t>(count)));
  SetUniform(call, location, values, 16 * static_cast<size_t>(count));
}

FAKE_FUNCTION void glUniform3f(GLint location, GLfloat x, GLfloat y, GLfloat z) {
  GlCall call("glUniform3f");
  call.Arguments(location, x, y, z);
  const float values[] = {x, y, z};
  SetUniform(call, location, values, 3);
}

// ---- Drawing ----------------------------------------------------------------------------------------------

FAKE_FUNCTION void glEnable(GLenum capability) { Switch("glEnable", capability, true); }
FAKE_FUNCTION void glDisable(GLenum capability) { Switch("glDisable", capability, false); }

FAKE_FUNCTION void glBlendFunc(GLenum source, GLenum destination) {
  GlCall call("glBlendFunc");
  call.Arguments(EnumText(kBlendFactors, source), EnumText(kBlendFactors, destination));
  if (EglContext* gl = call.Target()) gl->blend_factors = {source, destination};
}

FAKE_FUNCTION void glViewport(GLint x, GLint y, GLsizei width, GLsizei height) {
  GlCall call("glViewport");
  call.Arguments(x, y, width, height);
  if (EglContext* gl = call.Target()) gl->viewport = {x, y, width, height};
}

FAKE_FUNCTION void glClearColor(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) {
  GlCall call("glClearColor");
  call.Arguments(red, green, blue, alpha);
  if (EglContext* gl = call.Target()) gl->clear_color = {red, green, blue, alpha};
}

FAKE_FUNCTION void glClear(GLbitfield buffers) {
  GlCall call("glClear");
  call.Arguments(BitsText(kBuffers, buffers));
  EglContext* gl = call.Target();
  if (gl == nullptr || !IsComplete(call, *gl) || (buffers & GL_COLOR_BUFFER_BIT) == 0) return;
  Rgba& content = *Content(call.machine(), *gl);
  for (size_t i = 0; i < content.size(); ++i) {
    content[i] = static_cast<uint8_t>(std::lround(255.0f * std::clamp(gl->clear_color[i], 0.0f, 1.0f)));
  }
}

FAKE_FUNCTION void glEnableVertexAttribArray(GLuint index) { SwitchArray("glEnableVertexAttribArray", index, true); }
FAKE_FUNCTION void glDisableVertexAttribArray(GLuint index) { SwitchArray("glDisableVertexAttribArray", index, false); }

FAKE_FUNCTION void glVertexAttribPointer(GLuint index, GLint size, GLenum type, GLboolean normalized, GLsizei stride,
                                         const void* data) {
  GlCall call("glVertexAttribPointer");
  call.Arguments(static_cast<GLint>(index), size, EnumText(type), EnumText(kBooleans, normalized), stride,
                 PointerText(data, "client memory"));
  GlVertexArray* array = VertexArray(call, index);
  if (array == nullptr) return;
  if (type != GL_FLOAT) call.Complain("the fake reads floats only");
  array->size = size;
  array->stride = stride;
  array->data = static_cast<const unsigned char*>(data);
}

FAKE_FUNCTION void glDrawElements(GLenum mode, GLsizei count, GLenum type, const void* data) {
  GlCall call("glDrawElements");
  const std::vector<uint32_t> indices = ReadIndices(type, data, count);
  call.Arguments(EnumText(kModes, mode), count, EnumText(type), ListText(indices));
  EglContext* gl = call.Target();
  if (gl == nullptr || !IsComplete(call, *gl)) return;
  const GlProgram* program = UsedProgram(call, *gl);
  if (program == nullptr) return;

  Draw draw;
  draw.number = call.number();
  draw.thread = std::this_thread::get_id();
  draw.context = gl->name;
  draw.framebuffer = gl->framebuffer;
  draw.program = gl->program;
  draw.mode = mode;
  draw.indices = indices;
  const size_t vertices = indices.empty() ? 0 : *std::max_element(indices.begin(), indices.end()) + size_t{1};
  for (const auto& [name, location] : program->attributes) {
    draw.attributes[name] = ReadAttribute(gl->arrays.at(static_cast<size_t>(location)), vertices);
  }
  for (const auto& [name, uniform] : program->uniforms) draw.uniforms[name] = uniform.value;
  draw.depth_test = gl->enabled.count(GL_DEPTH_TEST) != 0;
  draw.cull_face = gl->enabled.count(GL_CULL_FACE) != 0;
  draw.blend = gl->enabled.count(GL_BLEND) != 0;
  draw.blend_factors = gl->blend_factors;
  draw.clear_color = gl->clear_color;
  draw.viewport = gl->viewport;
  call.AddText(DrawText(draw));
  call.machine().draws.push_back(std::move(draw));
}

FAKE_FUNCTION void glFlush() {
  GlCall call("glFlush");
  call.Target();
}

FAKE_FUNCTION void glFinish() {
  GlCall call("glFinish");
  call.Target();
}

FAKE_FUNCTION void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                                void* data) {
  GlCall call("glReadPixels");
  call.Arguments(x, y, width, height, EnumText(format), EnumText(type));
  EglContext* gl = call.Target();
  if (gl == nullptr) return;
  if (width < 0 || height < 0) return call.Misuse(GL_INVALID_VALUE, "negative size");
  if (!IsComplete(call, *gl)) return;

  const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
  auto* bytes = static_cast<uint8_t*>(data);
  const std::vector<uint8_t>& set = call.machine().pixels;
  if (set.empty()) {
    const Rgba& content = *Content(call.machine(), *gl);
    for (size_t i = 0; i < pixels; ++i) std::copy(content.begin(), content.end(), bytes + 4 * i);
  } else if (set.size() == 4 * pixels) {
    std::copy(set.begin(), set.end(), bytes);
  } else {
    call.Complain("the test has set " + Text(set.size() / 4) + " pixels");
  }
}
