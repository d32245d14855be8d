#ifndef TEST_PLUGIN_RIGHT_ARGUMENTS_H_
#define TEST_PLUGIN_RIGHT_ARGUMENTS_H_

#include "flutter/encodable_value.h"
#include "test/support/commands.h"

/// A value that a command takes; no file has the path.
inline flutter::EncodableValue RightValue(const commands::Argument& argument) {
  switch (argument.type) {
    case commands::Type::kInt32: return flutter::EncodableValue(4);
    case commands::Type::kDouble: return flutter::EncodableValue(0.5);
    case commands::Type::kString: return flutter::EncodableValue("no/such.glb");
  }
  return flutter::EncodableValue();
}

inline flutter::EncodableMap RightArguments(const commands::Command& command) {
  flutter::EncodableMap arguments;
  for (const commands::Argument& argument : command.arguments) {
    arguments[flutter::EncodableValue(argument.key)] = RightValue(argument);
  }
  return arguments;
}

#endif  // TEST_PLUGIN_RIGHT_ARGUMENTS_H_
