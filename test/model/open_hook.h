#ifndef TEST_MODEL_OPEN_HOOK_H_
#define TEST_MODEL_OPEN_HOOK_H_

#include <functional>

namespace model_test {

/// While it lives, runs `action` whenever the C library's open() is about to open something for its content: not when
/// it only looks at it (O_PATH).
///
/// Thread   one: nothing else of the program may be opening meanwhile.
class OpenHook {
 public:
  explicit OpenHook(std::function<void()> action);
  ~OpenHook();
  OpenHook(const OpenHook&) = delete;
  OpenHook& operator=(const OpenHook&) = delete;
};

}  // namespace model_test

#endif  // TEST_MODEL_OPEN_HOOK_H_
