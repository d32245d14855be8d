#ifndef PLUGIN_REGISTRATIONS_H_
#define PLUGIN_REGISTRATIONS_H_

#include <atomic>

#include "flutter/plugin_registrar.h"

/// The registrar of the last registration that has not ended, or of the last one when all have; the manager owns it.
/// Null before the first.
///
/// Thread   any: the render thread reads it, and the embedder may register the plug-in once more while that runs.
extern std::atomic<flutter::PluginRegistrar*> g_registrar;

/// Each engine of the process registers the plug-in, and its registrar goes with its plug-in object.
/// `RemoveRegistration` leaves `g_registrar` with the last one added that is still there.
///
/// Thread   the platform thread.
void AddRegistration(const flutter::Plugin* plugin, flutter::PluginRegistrar* registrar);
void RemoveRegistration(const flutter::Plugin* plugin);

#endif  // PLUGIN_REGISTRATIONS_H_
