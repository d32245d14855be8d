#include "flutter/plugin_registrar.h"

#include <utility>

#include "binary_messenger_impl.h"
#include "texture_registrar_impl.h"

namespace flutter {

// ---- PluginRegistrar ---------------------------------------------------------------------------------------

PluginRegistrar::PluginRegistrar(FlutterDesktopPluginRegistrarRef registrar)
    : messenger_(std::make_unique<BinaryMessengerImpl>(FlutterDesktopPluginRegistrarGetMessenger(registrar))),
      texture_registrar_(
          std::make_unique<TextureRegistrarImpl>(FlutterDesktopRegistrarGetTextureRegistrar(registrar))) {}

// Plug-ins use messenger and textures to the last, so they go first.
PluginRegistrar::~PluginRegistrar() { ClearPlugins(); }

void PluginRegistrar::AddPlugin(std::unique_ptr<Plugin> plugin) { plugins_.insert(std::move(plugin)); }

void PluginRegistrar::ClearPlugins() { plugins_.clear(); }

// ---- PluginRegistrarManager --------------------------------------------------------------------------------

PluginRegistrarManager* PluginRegistrarManager::GetInstance() {
  static auto* const instance = new PluginRegistrarManager();
  return instance;
}

PluginRegistrar* PluginRegistrarManager::GetRegistrar(FlutterDesktopPluginRegistrarRef registrar) {
  // For a handle that is known already, `emplace` drops the new wrapper again.
  const auto entry = registrars_.emplace(registrar, std::make_unique<PluginRegistrar>(registrar)).first;
  FlutterDesktopPluginRegistrarSetDestructionHandler(registrar, OnRegistrarDestroyed);
  return entry->second.get();
}

void PluginRegistrarManager::OnRegistrarDestroyed(FlutterDesktopPluginRegistrarRef registrar) {
  GetInstance()->registrars_.erase(registrar);
}

}  // namespace flutter
