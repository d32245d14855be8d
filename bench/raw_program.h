#ifndef BENCH_RAW_PROGRAM_H_
#define BENCH_RAW_PROGRAM_H_

#include <GLES2/gl2.h>

#include <utility>

#include "plugin/shaders.h"

/// The viewer's shaders as a program, made the shortest way. For the current context.
inline GLuint MakeRawProgram() {
  const GLuint program = glCreateProgram();
  for (const auto& [type, source] :
       {std::pair(GL_VERTEX_SHADER, kVertexShader), std::pair(GL_FRAGMENT_SHADER, kFragmentShader)}) {
    const GLuint shader = glCreateShader(type);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    glAttachShader(program, shader);
  }
  glLinkProgram(program);
  return program;
}

#endif  // BENCH_RAW_PROGRAM_H_
