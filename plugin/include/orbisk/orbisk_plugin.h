#ifndef ORBISK_ORBISK_PLUGIN_H_
#define ORBISK_ORBISK_PLUGIN_H_

#ifdef __cplusplus
extern "C" {
#endif

struct FlutterDesktopPluginRegistrar;

/// Registers the plug-in: from now on it answers the method channel "orbisk" of `registrar`'s engine. A Flutter
/// application's generated registrant calls it once, with the registrar of the plug-in class OrbiskPlugin.
///
/// Lifetime the plug-in lives until the embedder destroys the registrar.
/// Thread   the platform thread.
__attribute__((visibility("default"))) void OrbiskPluginRegisterWithRegistrar(
    struct FlutterDesktopPluginRegistrar* registrar);

#ifdef __cplusplus
}
#endif

#endif  // ORBISK_ORBISK_PLUGIN_H_
