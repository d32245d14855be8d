#ifndef TEST_SUPPORT_PLUGIN_UNDER_TEST_H_
#define TEST_SUPPORT_PLUGIN_UNDER_TEST_H_

#include <array>
#include <string>

#include "flutter/plugin_registrar.h"
#include "plugin/orbisk_state.h"

/// A view into the plug-in's source file, which keeps all of this to itself: the one translation unit of the test
/// program that includes it lends it out.
namespace plugin_under_test {

OrbiskState* State();
flutter::PluginRegistrar* Registrar();
void SetRegistrar(flutter::PluginRegistrar* registrar);

void RenderingThread(OrbiskState* state);
std::array<std::string, 2> ModelPathCandidates(const std::string& path);
const FlutterDesktopPixelBuffer* CopyPixelBuffer(OrbiskState* state);

}  // namespace plugin_under_test

#endif  // TEST_SUPPORT_PLUGIN_UNDER_TEST_H_
