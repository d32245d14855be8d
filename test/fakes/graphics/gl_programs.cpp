// Shaders and programs.

#include <cctype>
#include <cstring>

#include "gl_call.h"

using namespace fake_graphics;

namespace fake_graphics {

GlProgram* UsedProgram(GlCall& call, EglContext& gl) {
  GlProgram* program = Bound(gl.programs, gl.program);
  if (program == nullptr || !program->linked) {
    call.Misuse(GL_INVALID_OPERATION, "no program in use");
    return nullptr;
  }
  return program;
}

}  // namespace fake_graphics

namespace {

// glDeleteShader and glDeleteProgram. What is in use goes on working.
template <typename Object>
void Delete(const char* function, std::map<GLuint, Object> EglContext::*objects, const char* kind, GLuint name) {
  GlCall call(function);
  call.Arguments(name);
  EglContext* gl = call.Target();
  if (gl == nullptr || name == 0) return;
  if (Object* object = call.FindName(gl->*objects, name, kind)) object->released = true;
}

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

}  // namespace

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
  call.Arguments(location, count, EnumText(kBooleans, transpose), ListText(values, 16 * static_cast<size_t>(count)));
  SetUniform(call, location, values, 16 * static_cast<size_t>(count));
}

FAKE_FUNCTION void glUniform3f(GLint location, GLfloat x, GLfloat y, GLfloat z) {
  GlCall call("glUniform3f");
  call.Arguments(location, x, y, z);
  const float values[] = {x, y, z};
  SetUniform(call, location, values, 3);
}
