#include "host/window.h"

#include <SDL.h>

#include <vector>

#include "host/host_error.h"

namespace host {

namespace {

constexpr int kSquare = 16;  // side of a square of the ground, in pixels
constexpr Uint8 kLightSquare = 140;
constexpr Uint8 kDarkSquare = 115;

[[noreturn]] void Fail() {
  throw HostError(std::string("cannot open a window: ") + SDL_GetError() + "; --headless needs no display");
}

struct DestroySdl {
  void operator()(SDL_Window* window) const { SDL_DestroyWindow(window); }
  void operator()(SDL_Renderer* renderer) const { SDL_DestroyRenderer(renderer); }
  void operator()(SDL_Texture* texture) const { SDL_DestroyTexture(texture); }
};

using SdlTexture = std::unique_ptr<SDL_Texture, DestroySdl>;

// Ends SDL when the window goes, also one that is only half made.
struct SdlLibrary {
  SdlLibrary() {
    // Ctrl-C is the host's to handle.
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    // No GL below the software renderer either: the plug-in makes and unmakes EGL contexts on this very
    // thread, and SDL would not notice that its own one is gone.
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    // Otherwise SDL falls back to drivers whose windows nobody sees. SDL_VIDEODRIVER still overrides this.
    SDL_SetHint(SDL_HINT_VIDEODRIVER, "x11,wayland");
    if (SDL_Init(SDL_INIT_VIDEO) != 0) Fail();
  }
  ~SdlLibrary() { SDL_Quit(); }
};

SdlTexture MakeGround(SDL_Renderer* renderer, int width, int height) {
  SdlTexture ground(SDL_CreateTexture(renderer, SDL_PIXELFORMAT_RGBA32, SDL_TEXTUREACCESS_STATIC, width, height));
  if (!ground) Fail();
  std::vector<Uint8> pixels;
  pixels.reserve(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Uint8 grey = (x / kSquare + y / kSquare) % 2 == 0 ? kLightSquare : kDarkSquare;
      pixels.insert(pixels.end(), {grey, grey, grey, 255});
    }
  }
  if (SDL_UpdateTexture(ground.get(), nullptr, pixels.data(), width * 4) != 0) Fail();
  return ground;
}

}  // namespace

// In the order in which they are made; they go the other way round.
struct Window::Sdl {
  SdlLibrary library;
  std::unique_ptr<SDL_Window, DestroySdl> window;
  std::unique_ptr<SDL_Renderer, DestroySdl> renderer;
  SdlTexture ground;
  SdlTexture picture;
};

Window::Window(const std::string& title, int width, int height) : sdl_(std::make_unique<Sdl>()) {
  sdl_->window.reset(SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width, height,
                                      SDL_WINDOW_RESIZABLE));
  if (!sdl_->window) Fail();
  sdl_->renderer.reset(SDL_CreateRenderer(sdl_->window.get(), -1, SDL_RENDERER_SOFTWARE));
  if (!sdl_->renderer) Fail();
  // Keeps the shape when the window is resized.
  if (SDL_RenderSetLogicalSize(sdl_->renderer.get(), width, height) != 0) Fail();
  sdl_->ground = MakeGround(sdl_->renderer.get(), width, height);
  sdl_->picture.reset(
      SDL_CreateTexture(sdl_->renderer.get(), SDL_PIXELFORMAT_RGBA32, SDL_TEXTUREACCESS_STREAMING, width, height));
  if (!sdl_->picture || SDL_SetTextureBlendMode(sdl_->picture.get(), SDL_BLENDMODE_BLEND) != 0) Fail();
  const std::vector<Uint8> nothing(static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
  if (SDL_UpdateTexture(sdl_->picture.get(), nullptr, nothing.data(), width * 4) != 0) Fail();
  Draw();
}

Window::~Window() = default;

std::optional<Window::Action> Window::TakeAction() {
  SDL_Event event;
  while (SDL_PollEvent(&event) != 0) {
    if (event.type == SDL_QUIT) return Action::kQuit;
    if (event.type == SDL_WINDOWEVENT) Draw();  // uncovered, moved or resized
    if (event.type != SDL_KEYDOWN || event.key.repeat != 0) continue;
    switch (event.key.keysym.sym) {
      case SDLK_ESCAPE:
      case SDLK_q: return Action::kQuit;
      case SDLK_SPACE: return Action::kStraighten;
      case SDLK_r: return Action::kReset;
      default: break;
    }
  }
  return std::nullopt;
}

void Window::Show(const Frame& frame) {
  if (SDL_UpdateTexture(sdl_->picture.get(), nullptr, frame.rgba.data(), frame.width * 4) != 0) Fail();
  Draw();
}

void Window::SetTitle(const std::string& title) { SDL_SetWindowTitle(sdl_->window.get(), title.c_str()); }

void Window::Draw() {
  SDL_Renderer* const renderer = sdl_->renderer.get();
  SDL_SetRenderDrawColor(renderer, 0, 0, 0, 255);
  SDL_RenderClear(renderer);
  SDL_RenderCopy(renderer, sdl_->ground.get(), nullptr, nullptr);
  SDL_RenderCopy(renderer, sdl_->picture.get(), nullptr, nullptr);
  SDL_RenderPresent(renderer);
}

}  // namespace host
