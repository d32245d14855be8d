#include "plugin/registrations.h"

#include <algorithm>
#include <vector>

std::atomic<flutter::PluginRegistrar*> g_registrar{nullptr};

namespace {

struct Registration {
  const flutter::Plugin* plugin;
  flutter::PluginRegistrar* registrar;
};

// In the order in which the engines came. Never destroyed: an engine may close while the process exits.
std::vector<Registration>& Registrations() {
  static auto* const registrations = new std::vector<Registration>();
  return *registrations;
}

}  // namespace

void AddRegistration(const flutter::Plugin* plugin, flutter::PluginRegistrar* registrar) {
  Registrations().push_back({plugin, registrar});
}

// The commands of an engine that stays must not meet the registrar of one that has gone.
void RemoveRegistration(const flutter::Plugin* plugin) {
  std::vector<Registration>& registrations = Registrations();
  registrations.erase(std::remove_if(registrations.begin(), registrations.end(),
                                     [plugin](const Registration& it) { return it.plugin == plugin; }),
                      registrations.end());
  if (!registrations.empty()) g_registrar = registrations.back().registrar;
}
