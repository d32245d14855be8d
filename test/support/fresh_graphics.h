#ifndef TEST_SUPPORT_FRESH_GRAPHICS_H_
#define TEST_SUPPORT_FRESH_GRAPHICS_H_

#include "fake_graphics.h"

/// A base in front of a fixture's others: the fake graphics libraries are as they were at the start before the plug-in
/// is registered.
struct FreshGraphics {
  FreshGraphics() { fake_graphics::Reset(); }
};

#endif  // TEST_SUPPORT_FRESH_GRAPHICS_H_
