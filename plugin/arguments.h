#ifndef PLUGIN_ARGUMENTS_H_
#define PLUGIN_ARGUMENTS_H_

#include <variant>

#include "flutter/encodable_value.h"
#include "flutter/method_call.h"

/// The call's arguments as a map, or null where they are something else or missing. Borrowed from the call.
inline const flutter::EncodableMap* ArgumentMap(const flutter::MethodCall<flutter::EncodableValue>& call) {
  return call.arguments() == nullptr ? nullptr : std::get_if<flutter::EncodableMap>(call.arguments());
}

/// The value of `key`, or null. Borrowed from the map.
inline const flutter::EncodableValue* FindArgument(const flutter::EncodableMap& arguments, const char* key) {
  const auto entry = arguments.find(flutter::EncodableValue(key));
  return entry == arguments.end() ? nullptr : &entry->second;
}

#endif  // PLUGIN_ARGUMENTS_H_
