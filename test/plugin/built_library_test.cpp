// The library as it is shipped: what it exports and needs, and a run through the C interface alone.

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "test/support/built_library.h"
#include "test/support/plugin_fixture.h"

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

namespace {

// The standard output of a command that must succeed, by lines.
std::vector<std::string> LinesOf(const std::string& command) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  if (!pipe) throw std::runtime_error(command);
  std::string output;
  std::array<char, 4096> chunk;
  while (const size_t count = std::fread(chunk.data(), 1, chunk.size(), pipe.get())) output.append(chunk.data(), count);
  std::istringstream stream(output);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// What a tool says about the library.
std::vector<std::string> LinesOfTool(const std::string& tool) { return LinesOf(tool + " '" + PluginFile() + "'"); }

// The values of one tag in the dynamic section: what stands between the brackets.
std::vector<std::string> DynamicEntries(const std::string& tag) {
  std::vector<std::string> values;
  for (const std::string& line : LinesOfTool("readelf --dynamic --wide")) {
    if (line.find("(" + tag + ")") == std::string::npos) continue;
    const size_t opening = line.find('[');
    values.push_back(line.substr(opening + 1, line.find(']') - opening - 1));
  }
  return values;
}

TEST(BuiltLibraryTest, ExportsTheRegistrationFunctionAndNothingElse) {
  std::vector<std::string> names;
  for (const std::string& line : LinesOfTool("nm --dynamic --defined-only --format=posix")) {
    names.push_back(line.substr(0, line.find(' ')));
  }
  EXPECT_THAT(names, ElementsAre("OrbiskPluginRegisterWithRegistrar"));
}

TEST(BuiltLibraryTest, NeedsThePlatformLibrariesAndTheLanguagesOwn) {
  std::set<std::string> needed;
  for (const std::string& name : DynamicEntries("NEEDED")) {
    const bool sanitizer_runtime = name.find("san.so") != std::string::npos;
    if (!sanitizer_runtime) needed.insert(name);
  }
  EXPECT_THAT(needed, UnorderedElementsAre("libflutter_elinux_x11.so", "libEGL.so.1", "libGLESv2.so.2", "libgbm.so.1",
                                           "libX11.so.6", "libstdc++.so.6", "libm.so.6", "libgcc_s.so.1", "libc.so.6"));
}

TEST(BuiltLibraryTest, CarriesNoRunPath) {
  EXPECT_THAT(DynamicEntries("RPATH"), ElementsAre());
  EXPECT_THAT(DynamicEntries("RUNPATH"), ElementsAre());
}

TEST(BuiltLibraryTest, IsForTheMachineItIsBuiltFor) {
  std::string machine;
  for (const std::string& line : LinesOfTool("readelf --file-header --wide")) {
    if (line.find("Machine:") != std::string::npos) machine = line.substr(line.find_last_of(' ') + 1);
  }
  EXPECT_EQ(machine, std::string_view(ORBISK_PROCESSOR) == "aarch64" ? "AArch64" : "X86-64");
}

// The highest version of each library's symbols that the file asks for: "GLIBC" -> {2, 17}.
std::map<std::string, std::vector<int>> HighestSymbolVersions() {
  std::map<std::string, std::vector<int>> highest;
  for (const std::string& line : LinesOfTool("readelf --version-info --wide")) {
    const size_t name = line.find("Name: ");
    if (name == std::string::npos) continue;
    std::istringstream stream(line.substr(name + 6));  // "GLIBC_2.17  Flags: ..."
    std::string library;
    std::getline(stream, library, '_');
    std::vector<int> version;
    for (int number = 0; stream >> number; stream.get()) version.push_back(number);
    std::vector<int>& so_far = highest[library];
    so_far = std::max(so_far, version);
  }
  return highest;
}

// What a board must have at least: the package and docs/building.md state these numbers. See plugin/older_systems.cpp
// for how to keep them low.
TEST(BuiltLibraryTest, AsksForNoSymbolThatOldBoardsLack) {
#ifndef NDEBUG
  GTEST_SKIP() << "not the build that ships";
#endif
  using Version = std::vector<int>;
  const auto highest = HighestSymbolVersions();
  ASSERT_EQ(highest.count("GLIBC"), 1u);
  EXPECT_LE(highest.at("GLIBC"), (Version{2, 17}));
  EXPECT_EQ(highest.at("GLIBCXX"), (Version{3, 4, 22}));
  EXPECT_LE(highest.at("CXXABI"), (Version{1, 3, 9}));  // built with clang it asks for less
}

class LoadedLibraryTest : public CommandTest {
 protected:
  LoadedLibraryTest() : CommandTest(LoadedRegistration()) {}
};

TEST_F(LoadedLibraryTest, ShowsTheSampleDeviceThroughTheCInterface) {
  const int64_t id = CreateTexture(320, 240);
  ASSERT_EQ(id, 7);
  ASSERT_EQ(Call("loadModel", Map({{"modelPath", ORBISK_SAMPLE_MODEL}})), "success true");
  ASSERT_EQ(Call("startRendering"), "success true");
  const FlutterDesktopPixelBuffer* frame = Fetch(id);
  ASSERT_NE(frame, nullptr);
  ASSERT_TRUE(WaitForFrames(id, 2));
  EXPECT_EQ(Call("setQuaternion", QuaternionArguments(0, 0, 0, 1)), "success true");
  EXPECT_EQ(Call("stopRendering"), "success true");
  const uint8_t* middle = frame->buffer + (120 * 320 + 160) * 4;
  EXPECT_EQ(middle[3], 255);
  EXPECT_EQ(frame->buffer[3], 0);
  EXPECT_EQ(Call("dispose"), "success true");
  EXPECT_EQ(err_.Take(), "");
}

}  // namespace

// Mesa's libraries come and go with the plug-in here, so that the leak sanitizer cannot tell whose a leak is. The
// plug-in's own are looked for where its source is in the program, and where the built library runs on fakes.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return 1; }
