#include <gbm.h>

#include "recorder.h"

using namespace fake_graphics;

FAKE_FUNCTION gbm_device* gbm_create_device(int fd) {
  CallRecord call("gbm_create_device");
  Machine& machine = call.machine();
  call.Arguments(NameOf(machine.descriptors, fd, "0"));
  if (call.Find(machine.descriptors, fd, "descriptor") == nullptr || call.fault()) {
    call.Result("null");
    return nullptr;
  }
  auto* handle = reinterpret_cast<gbm_device*>(NewHandle());
  GbmDevice& device = machine.gbm_devices[handle];
  device.name = machine.NewName("gbm");
  device.descriptor = fd;
  call.Result(device.name);
  return handle;
}

FAKE_FUNCTION void gbm_device_destroy(gbm_device* handle) {
  CallRecord call("gbm_device_destroy");
  Machine& machine = call.machine();
  const void* key = handle;
  call.Arguments(NameOf(machine.gbm_devices, key, "null"));
  GbmDevice* device = call.Find(machine.gbm_devices, key, "GBM device");
  if (device == nullptr || call.fault()) return;
  call.ComplainAboutDisplaysOn(key);
  device->released = true;
}
