#ifndef TEST_SUPPORT_FAKE_GRAPHICS_FIXTURE_H_
#define TEST_SUPPORT_FAKE_GRAPHICS_FIXTURE_H_

#include "fake_graphics.h"
#include "test/support/fresh_graphics.h"
#include "test/support/source_fixture.h"

/// The fixture of test programs that have the plug-in inside, on fake graphics libraries.
class FakeGraphicsPluginTest : private FreshGraphics, public PluginTest {
 protected:
  // Before the destructors of what derives from this: hooks know its members.
  void TearDown() override {
    const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
    DestroyPlugin();
    fake_graphics::Reset();
  }
};

#endif  // TEST_SUPPORT_FAKE_GRAPHICS_FIXTURE_H_
