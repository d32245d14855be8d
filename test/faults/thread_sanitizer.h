#ifndef TEST_FAULTS_THREAD_SANITIZER_H_
#define TEST_FAULTS_THREAD_SANITIZER_H_

/// Whether this is a build with ThreadSanitizer.
#if defined(__SANITIZE_THREAD__)
inline constexpr bool kThreadSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
inline constexpr bool kThreadSanitizer = true;
#else
inline constexpr bool kThreadSanitizer = false;
#endif
#else
inline constexpr bool kThreadSanitizer = false;
#endif

#endif  // TEST_FAULTS_THREAD_SANITIZER_H_
