#ifndef HOST_PLUGIN_LIBRARY_H_
#define HOST_PLUGIN_LIBRARY_H_

#include <string>

#include "flutter_desktop.h"

namespace host {

/// The plug-in's registration function.
using RegisterPluginFunction = void (*)(FlutterDesktopPluginRegistrarRef registrar);

/// Where the build leaves the plug-in: liborbisk_plugin.so beside this program.
std::string DefaultPluginPath();

/// Loads the plug-in and finds its registration function. The library stays loaded until the process ends:
/// the plug-in's static objects, and those of the drivers that it brings along, are not made for an earlier
/// end.
///
/// Failure  HostError with the dynamic linker's own words.
RegisterPluginFunction LoadPlugin(const std::string& path);

}  // namespace host

#endif  // HOST_PLUGIN_LIBRARY_H_
