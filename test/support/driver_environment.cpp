// Keeps the graphics driver in memory to the end of the test program, so that the leak sanitizer can tell its
// allocations from ours.

#include <gtest/gtest.h>

#include "test/support/graphics_driver.h"

namespace {

class DriverEnvironment : public ::testing::Environment {
  void SetUp() override { LoadGraphicsDriver(); }
};

const auto* const kDriver = ::testing::AddGlobalTestEnvironment(new DriverEnvironment);

}  // namespace
