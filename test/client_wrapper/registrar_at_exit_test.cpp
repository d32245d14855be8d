// The embedder may report a registrar's end while the program exits, when what is static has been destroyed: the
// manager must still be there, with the plug-in. A program of its own, so that nothing has made the manager before.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "fake_embedder.h"
#include "flutter/plugin_registrar.h"

namespace {

fakes::FakeEmbedder* embedder = nullptr;
bool plugin_lives = false;

class LivingPlugin : public flutter::Plugin {
 public:
  LivingPlugin() { plugin_lives = true; }
  ~LivingPlugin() override { plugin_lives = false; }
};

[[noreturn]] void Fail(const char* message) {
  std::fprintf(stderr, "%s\n", message);
  _exit(1);
}

// Runs after the destructors of everything that came after its registration.
void EndTheEngine() {
  if (!plugin_lives) Fail("the manager and its plug-ins went before the engine");
  embedder->DestroyRegistrar();
  if (plugin_lives) Fail("the plug-in outlived its registrar");
  for (const std::string& complaint : embedder->complaints()) Fail(complaint.c_str());
}

}  // namespace

int main() {
  embedder = new fakes::FakeEmbedder();  // as the engine, it is there to the last
  std::atexit(EndTheEngine);
  flutter::PluginRegistrarManager::GetInstance()
      ->GetRegistrar(embedder->registrar())
      ->AddPlugin(std::make_unique<LivingPlugin>());
}
