#include "test/support/plugin_under_test.h"

#include "plugin/model_path.h"
#include "plugin/pixel_texture.h"
#include "plugin/registrations.h"
#include "plugin/render_thread.h"

namespace plugin_under_test {

OrbiskState* State() { return g_viewer_state.get(); }
flutter::PluginRegistrar* Registrar() { return g_registrar; }
void SetRegistrar(flutter::PluginRegistrar* registrar) { g_registrar = registrar; }

void RenderingThread(OrbiskState* state) { ::RenderingThread(state); }
std::array<std::string, 2> ModelPathCandidates(const std::string& path) { return ::ModelPathCandidates(path); }
const FlutterDesktopPixelBuffer* CopyPixelBuffer(OrbiskState* state) { return ::CopyPixelBuffer(state); }

}  // namespace plugin_under_test
