#include "host/plugin_library.h"

#include <dlfcn.h>

#include <filesystem>

#include "host/host_error.h"

namespace host {

std::string DefaultPluginPath() {
  return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "liborbisk_plugin.so").string();
}

RegisterPluginFunction LoadPlugin(const std::string& path) {
  // Absolute, because dlopen looks for a name without a slash among the system's libraries.
  const std::string file = std::filesystem::absolute(path).string();
  void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw HostError(std::string("cannot load the plug-in: ") + dlerror());
  void* const function = dlsym(library, "OrbiskPluginRegisterWithRegistrar");
  if (function == nullptr) throw HostError(std::string("this is not the plug-in: ") + dlerror());
  return reinterpret_cast<RegisterPluginFunction>(function);
}

}  // namespace host
