#ifndef TEST_RENDERER_RENDERER_LINES_H_
#define TEST_RENDERER_RENDERER_LINES_H_

#include <string>
#include <vector>

/// Lines of the renderer, each with its tag and newline.
inline std::string RendererLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += "[EGLRenderer] " + line + "\n";
  return text;
}

#endif  // TEST_RENDERER_RENDERER_LINES_H_
