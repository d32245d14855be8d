#include "text.h"

#include <cstdio>

#include "fake_graphics.h"

namespace fake_graphics {

std::string Text(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
  return text;
}

std::string PointerText(const void* pointer, const char* otherwise) { return pointer == nullptr ? "null" : otherwise; }

std::string HexText(unsigned long value) {
  char text[32];
  std::snprintf(text, sizeof text, "0x%lx", value);
  return text;
}

std::string NumberText(const std::vector<NamedNumber>& names, unsigned long number) {
  for (const NamedNumber& candidate : names) {
    if (candidate.number == number) return candidate.name;
  }
  return HexText(number);
}

std::string BitsText(const std::vector<NamedNumber>& names, unsigned long bits) {
  std::string text;
  for (const NamedNumber& candidate : names) {
    if ((bits & candidate.number) == 0) continue;
    text += (text.empty() ? "" : "|") + std::string(candidate.name);
    bits &= ~candidate.number;
  }
  if (bits != 0 || text.empty()) text += (text.empty() ? "" : "|") + HexText(bits);
  return text;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '\n') {
      quoted += "\\n";
    } else {
      if (c == '"' || c == '\\') quoted += '\\';
      quoted += c;
    }
  }
  return quoted + '"';
}

}  // namespace fake_graphics
