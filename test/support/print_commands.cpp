// Prints the table of the commands as JSON, for tests in other languages: a Dart package that calls the plug-in compares
// with it what it sends.

#include <cstdio>
#include <string>

#include "test/support/commands.h"

namespace {

// The table has no control characters.
std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + '"';
}

std::string Json(const commands::Argument& argument) {
  return R"({"key":)" + Quoted(argument.key) + R"(,"type":)" + Quoted(NameOf(argument.type)) + "}";
}

std::string Json(const commands::Command& command);

template <typename Item>
std::string Json(const std::vector<Item>& items, const char* separator) {
  std::string json;
  for (const Item& item : items) json += (json.empty() ? "" : separator) + Json(item);
  return "[" + json + "]";
}

std::string Json(const commands::Command& command) {
  return R"({"name":)" + Quoted(command.name) + R"(,"arguments":)" + Json(command.arguments, ",") + R"(,"missing":)" +
         Quoted(command.missing) + R"(,"needs_viewer":)" + (command.needs_viewer() ? "true" : "false") + "}";
}

}  // namespace

int main() { std::puts(Json(commands::All(), ",\n ").c_str()); }
