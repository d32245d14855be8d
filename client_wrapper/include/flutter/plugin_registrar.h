#ifndef CLIENT_WRAPPER_INCLUDE_FLUTTER_PLUGIN_REGISTRAR_H_
#define CLIENT_WRAPPER_INCLUDE_FLUTTER_PLUGIN_REGISTRAR_H_

#include <map>
#include <memory>
#include <set>

#include "flutter/binary_messenger.h"
#include "flutter/plugin.h"
#include "flutter/texture_registrar.h"
#include "flutter_desktop.h"

namespace flutter {

/// What one plug-in gets of the engine: a messenger, a texture registrar, and an owner for its plug-in object.
///
/// Thread   the platform thread.
class PluginRegistrar {
 public:
  explicit PluginRegistrar(FlutterDesktopPluginRegistrarRef registrar);
  ~PluginRegistrar();
  PluginRegistrar(const PluginRegistrar&) = delete;
  PluginRegistrar& operator=(const PluginRegistrar&) = delete;

  BinaryMessenger* messenger() const { return messenger_.get(); }
  TextureRegistrar* texture_registrar() const { return texture_registrar_.get(); }

  void AddPlugin(std::unique_ptr<Plugin> plugin);
  void ClearPlugins();

 private:
  std::unique_ptr<BinaryMessenger> messenger_;
  std::unique_ptr<TextureRegistrar> texture_registrar_;
  std::set<std::unique_ptr<Plugin>> plugins_;
};

/// The registrars of this process, each kept until the embedder destroys its own.
///
/// Thread   the platform thread.
class PluginRegistrarManager {
 public:
  /// The one manager; never destroyed, because the embedder may still report a registrar's end at exit.
  static PluginRegistrarManager* GetInstance();

  /// The wrapper of `registrar`, made at the first call for it.
  PluginRegistrar* GetRegistrar(FlutterDesktopPluginRegistrarRef registrar);

 private:
  PluginRegistrarManager() = default;

  static void OnRegistrarDestroyed(FlutterDesktopPluginRegistrarRef registrar);

  std::map<FlutterDesktopPluginRegistrarRef, std::unique_ptr<PluginRegistrar>> registrars_;
};

}  // namespace flutter

#endif  // CLIENT_WRAPPER_INCLUDE_FLUTTER_PLUGIN_REGISTRAR_H_
