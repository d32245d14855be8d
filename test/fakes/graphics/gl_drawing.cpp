// What is drawn, cleared and read, and the state that it depends on.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <thread>

#include "gl_call.h"

using namespace fake_graphics;

namespace {

const std::vector<NamedNumber> kBlendFactors = {FAKE_NAMED(GL_ZERO), FAKE_NAMED(GL_ONE)};
const std::vector<NamedNumber> kModes = {
    FAKE_NAMED(GL_POINTS),    FAKE_NAMED(GL_LINES),          FAKE_NAMED(GL_LINE_LOOP),   FAKE_NAMED(GL_LINE_STRIP),
    FAKE_NAMED(GL_TRIANGLES), FAKE_NAMED(GL_TRIANGLE_STRIP), FAKE_NAMED(GL_TRIANGLE_FAN)};
const std::vector<NamedNumber> kBuffers = {FAKE_NAMED(GL_COLOR_BUFFER_BIT), FAKE_NAMED(GL_DEPTH_BUFFER_BIT),
                                           FAKE_NAMED(GL_STENCIL_BUFFER_BIT)};

// Where the bound framebuffer keeps its one colour.
Rgba* Content(Machine& machine, EglContext& gl) {
  if (gl.framebuffer == 0) return &machine.surfaces.at(gl.surface).content;
  return &gl.textures.at(gl.framebuffers.at(gl.framebuffer).color).content;
}

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
