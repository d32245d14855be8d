// The library unloaded while the viewer is still there: nobody has destroyed the plug-in, which goes with the process.

#include <unistd.h>

#include <filesystem>

#include "test/plugin/transcript_fixture.h"
#include "test/plugin/transcript_texts.h"

using namespace transcript;

namespace {

class UnloadDeathTest : public TranscriptTest {
 protected:
  // Loads the library at `path`, a file of its own, so that no other use keeps it loaded; brings a viewer to draw,
  // stops its thread, and unloads the library. Writes what that calls and says to standard error and ends the process:
  // the engine, which lives on here, knows functions of a library that has gone.
  [[noreturn]] void DrawAndUnload(const std::string& path) {
    auto* const engine = new fakes::FakeEmbedder(7);
    engine->SetCallHook([](const fakes::Call& call) { fake_graphics::AppendLine(call.text); });
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    RegistrationIn(library)(engine->registrar());
    engine->Deliver("orbisk", Encode("createTexture", Size(4, 2)));
    engine->Deliver("orbisk", Encode("loadModel", Map({{"modelPath", WriteModel(TwoMeshes())}})));
    engine->FetchFrame(7, 4, 2);
    engine->Deliver("orbisk", Encode("startRendering", EncodableValue()));
    const bool drawn = engine->WaitForMarks(7, 2);
    engine->Deliver("orbisk", Encode("stopRendering", EncodableValue()));
    fake_graphics::ClearCalls();
    dlclose(library);
    const bool gone = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD) == nullptr;
    const std::string transcript = fake_graphics::Transcript();
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, transcript.data(), transcript.size());
    _exit(drawn && gone ? 0 : 1);
  }
};

TEST_F(UnloadDeathTest, ALiveViewerReleasesItsRendererAndSaysNothing) {
  const std::string copy = folder_.PathOf("liborbisk_plugin.so");
  std::filesystem::copy_file(PluginFile(), copy);
  EXPECT_EXIT(DrawAndUnload(copy), ::testing::ExitedWithCode(0), ::testing::Eq(With(kReleaseRenderer, Names(1, 4, 2))));
}

}  // namespace
