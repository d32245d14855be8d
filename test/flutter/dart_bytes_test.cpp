// What Dart sends for each call decodes to what the plug-in's commands want: name, keys, and values of exactly their types.

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "flutter/encodable_value.h"
#include "flutter/method_call.h"
#include "flutter/standard_method_codec.h"
#include "test/support/commands.h"

using flutter::EncodableMap;
using flutter::EncodableValue;

namespace {

struct DartCall {
  std::string name;
  std::vector<commands::Argument> arguments;
  EncodableMap values;
  std::vector<uint8_t> bytes;
};

EncodableValue ValueOf(commands::Type type, const std::string& text) {
  switch (type) {
    case commands::Type::kInt32: return EncodableValue(static_cast<int32_t>(std::stoi(text)));
    case commands::Type::kDouble: return EncodableValue(std::stod(text));
    case commands::Type::kString: return EncodableValue(text);
  }
  return {};
}

commands::Type TypeNamed(const std::string& name) {
  for (const commands::Type type : {commands::Type::kInt32, commands::Type::kDouble, commands::Type::kString}) {
    if (NameOf(type) == name) return type;
  }
  throw std::invalid_argument(name);
}

// The file tells its own form.
std::vector<DartCall> DartCalls() {
  std::vector<DartCall> calls;
  std::ifstream file(ORBISK_DART_TABLES "/channel_bytes.txt");
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string word;
    words >> word;
    if (word == "call") {
      words >> calls.emplace_back().name;
    } else if (word == "argument") {
      std::string key, type, value;
      words >> key >> type >> value;
      calls.back().arguments.push_back({key, TypeNamed(type)});
      calls.back().values[EncodableValue(key)] = ValueOf(TypeNamed(type), value);
    } else if (word == "bytes") {
      for (unsigned byte = 0; words >> std::hex >> byte;) calls.back().bytes.push_back(static_cast<uint8_t>(byte));
    }
  }
  return calls;
}

TEST(DartBytes, DecodeToTheCallThatDartMakes) {
  for (const DartCall& call : DartCalls()) {
    SCOPED_TRACE(call.name);
    const auto decoded =
        flutter::StandardMethodCodec::GetInstance().DecodeMethodCall(call.bytes.data(), call.bytes.size());
    ASSERT_NE(decoded, nullptr);
    EXPECT_EQ(decoded->method_name(), call.name);
    ASSERT_NE(decoded->arguments(), nullptr);
    EXPECT_TRUE(*decoded->arguments() == (call.values.empty() ? EncodableValue() : EncodableValue(call.values)));
  }
}

TEST(DartBytes, HaveTheKeysAndTypesThatTheCommandsWant) {
  std::set<std::string> names;
  for (const DartCall& call : DartCalls()) {
    SCOPED_TRACE(call.name);
    names.insert(call.name);
    const commands::Command& command = commands::Named(call.name);
    ASSERT_EQ(call.arguments.size(), command.arguments.size());
    for (size_t i = 0; i < call.arguments.size(); ++i) {
      EXPECT_EQ(call.arguments[i].key, command.arguments[i].key);
      EXPECT_EQ(NameOf(call.arguments[i].type), NameOf(command.arguments[i].type));
    }
  }
  // A reference orientation is sent as angles.
  EXPECT_EQ(names.size(), commands::All().size() - 1);
  EXPECT_EQ(names.count("setBaseQuaternion"), 0u);
}

}  // namespace
