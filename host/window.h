#ifndef HOST_WINDOW_H_
#define HOST_WINDOW_H_

#include <memory>
#include <optional>
#include <string>

#include "host/frame.h"

namespace host {

/// A window that shows frames on a chequered ground, so that one sees where they are transparent.
///
/// Thread   the main thread.
/// Failure  HostError from the constructor and Show().
class Window {
 public:
  enum class Action { kQuit, kStraighten, kReset };

  Window(const std::string& title, int width, int height);
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  /// What the user asked for since the last call: one action at a time, none when there is no more.
  std::optional<Action> TakeAction();

  void Show(const Frame& frame);
  void SetTitle(const std::string& title);

 private:
  struct Sdl;

  void Draw();

  std::unique_ptr<Sdl> sdl_;
};

}  // namespace host

#endif  // HOST_WINDOW_H_
