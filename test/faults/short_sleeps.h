#ifndef TEST_FAULTS_SHORT_SLEEPS_H_
#define TEST_FAULTS_SHORT_SLEEPS_H_

#include <functional>

/// Makes every sleep of a millisecond or more in the test program last a hundredth of it: the program's own nanosleep
/// stands in front of the C library's. Pacing and waiting stay what they are, a sleep at the same place and under the
/// same lock, and thousands of command sequences need not wait for them.
///
/// It takes no lock and counts nothing: ThreadSanitizer would take either for synchronisation of the plug-in's.
namespace short_sleeps {

/// Called in place of the half second that the plug-in's end leaves the engine to let go of the pixels; an empty one
/// ends that.
///
/// Thread   the platform thread, which alone sleeps so long.
void SetHalfSecondHook(std::function<void()> hook);

}  // namespace short_sleeps

#endif  // TEST_FAULTS_SHORT_SLEEPS_H_
