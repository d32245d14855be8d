#ifndef TEST_PLUGIN_SLEEP_RECORDER_H_
#define TEST_PLUGIN_SLEEP_RECORDER_H_

#include <chrono>
#include <functional>

/// Counts the sleeps that anything in the test program asks for, by their length: the program's own nanosleep stands
/// in front of the C library's. The half second that the plug-in's end leaves the engine is counted and not slept: the
/// fake engine does not need it.
///
/// Thread   any.
namespace sleep_recorder {

/// How many sleeps of `length` have begun since the program started.
int Begun(std::chrono::nanoseconds length);

/// Calls `hook` on the sleeping thread before each sleep of `length`; an empty one ends that.
void SetHook(std::chrono::nanoseconds length, std::function<void()> hook);

}  // namespace sleep_recorder

#endif  // TEST_PLUGIN_SLEEP_RECORDER_H_
