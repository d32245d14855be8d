// The window: its keys, and how a frame is shown.

#include "host/window.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "test/host/failure.h"

namespace host {
namespace {

using Action = Window::Action;

// On SDL's driver without a screen, so that it can be looked at anywhere.
class WindowTest : public ::testing::Test {
 protected:
  static Window MakeWindow() {
    setenv("SDL_VIDEODRIVER", "dummy", 1);
    return Window("test", 64, 48);
  }

  static void Press(SDL_Keycode key, Uint8 repeat = 0) {
    SDL_Event event = {};
    event.type = SDL_KEYDOWN;
    event.key.keysym.sym = key;
    event.key.repeat = repeat;
    SDL_PushEvent(&event);
  }

  // The next thing to do, whatever the window itself has sent in between.
  std::optional<Action> Next() { return window_.TakeAction(); }

  static std::vector<int> ColourAt(int x, int y) {
    SDL_Renderer* const renderer = SDL_GetRenderer(SDL_GetWindowFromID(1));
    const SDL_Rect pixel = {x, y, 1, 1};
    Uint8 rgba[4] = {};
    EXPECT_EQ(SDL_RenderReadPixels(renderer, &pixel, SDL_PIXELFORMAT_RGBA32, rgba, 4), 0) << SDL_GetError();
    return {rgba[0], rgba[1], rgba[2]};
  }

  Window window_ = MakeWindow();
};

TEST_F(WindowTest, KeysBecomeActionsInOrder) {
  while (Next()) {
  }
  Press(SDLK_SPACE);
  Press(SDLK_a);
  Press(SDLK_r);
  Press(SDLK_q);
  Press(SDLK_ESCAPE);
  EXPECT_EQ(Next(), Action::kStraighten);
  EXPECT_EQ(Next(), Action::kReset);
  EXPECT_EQ(Next(), Action::kQuit);
  EXPECT_EQ(Next(), Action::kQuit);
  EXPECT_EQ(Next(), std::nullopt);
}

TEST_F(WindowTest, HeldKeyCountsOnce) {
  Press(SDLK_SPACE);
  Press(SDLK_SPACE, 1);
  EXPECT_EQ(Next(), Action::kStraighten);
  EXPECT_EQ(Next(), std::nullopt);
}

TEST_F(WindowTest, ClosingItIsQuitting) {
  SDL_Event event = {};
  event.type = SDL_QUIT;
  SDL_PushEvent(&event);
  EXPECT_EQ(Next(), Action::kQuit);
}

TEST_F(WindowTest, FrameIsShownWithItsTopRowUpAndChequersWhereItIsTransparent) {
  Frame frame;
  frame.width = 64;
  frame.height = 48;
  frame.rgba.assign(64 * 48 * 4, 0);
  for (size_t x = 0; x < 64; ++x) {  // the top row: red, green and blue differ
    frame.rgba[4 * x] = 200;
    frame.rgba[4 * x + 1] = 100;
    frame.rgba[4 * x + 2] = 50;
    frame.rgba[4 * x + 3] = 255;
  }
  window_.Show(frame);
  EXPECT_EQ(ColourAt(20, 0), (std::vector<int>{200, 100, 50}));
  EXPECT_EQ(ColourAt(8, 8), (std::vector<int>{140, 140, 140}));
  EXPECT_EQ(ColourAt(24, 8), (std::vector<int>{115, 115, 115}));
  EXPECT_EQ(ColourAt(24, 24), (std::vector<int>{140, 140, 140}));
  EXPECT_EQ(ColourAt(20, 47), (std::vector<int>{115, 115, 115}));
}

TEST(WindowFailureTest, MissingDriverIsOneLine) {
  setenv("SDL_VIDEODRIVER", "nosuch", 1);
  EXPECT_EQ(FailureOf([] { Window("test", 64, 48); }),
            "cannot open a window: nosuch not available; --headless needs no display");
}

}  // namespace
}  // namespace host
