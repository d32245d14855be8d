#ifndef TEST_SUPPORT_BUILT_LIBRARY_H_
#define TEST_SUPPORT_BUILT_LIBRARY_H_

#include <dlfcn.h>

#include <stdexcept>

#include "orbisk/orbisk_plugin.h"

/// The registration function of a library that has been loaded.
inline decltype(&OrbiskPluginRegisterWithRegistrar) RegistrationIn(void* library) {
  if (library == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<decltype(&OrbiskPluginRegisterWithRegistrar)>(
      dlsym(library, "OrbiskPluginRegisterWithRegistrar"));
}

/// The registration function of the built library, ORBISK_PLUGIN_FILE, which is loaded as the embedder does it. Loaded
/// once: a later test finds the library's globals as the earlier one's end has left them, empty.
inline decltype(&OrbiskPluginRegisterWithRegistrar) LoadedRegistration() {
  static void* const library = dlopen(ORBISK_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  return RegistrationIn(library);
}

#endif  // TEST_SUPPORT_BUILT_LIBRARY_H_
