// For test programs that draw with the machine's own graphics driver: keeps it in memory to the end of the tests, so that
// the leak sanitizer can tell its allocations from ours, and looks for leaks there.

#include <gtest/gtest.h>

#include "test/support/graphics_driver.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>

namespace {

bool g_leaks_looked_for = false;

}  // namespace

// Not when the process exits: the driver ends its threads then, and the sanitizer, which goes through the memory of every
// thread, crashes where one has just gone.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return g_leaks_looked_for ? 1 : 0; }
#endif

namespace {

class DriverEnvironment : public ::testing::Environment {
  void SetUp() override { LoadGraphicsDriver(); }

  void TearDown() override {
#ifdef __SANITIZE_ADDRESS__
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0) << "standard error names the leaks";
    g_leaks_looked_for = true;
#endif
  }
};

const auto* const kDriver = ::testing::AddGlobalTestEnvironment(new DriverEnvironment);

}  // namespace
