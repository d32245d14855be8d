#ifndef TEST_FAULTS_SANITIZERS_H_
#define TEST_FAULTS_SANITIZERS_H_

// Which sanitizer the program is built with: GCC says it with a macro, clang with a feature.
#if defined(__has_feature)
#define ORBISK_HAS_FEATURE(feature) __has_feature(feature)
#else
#define ORBISK_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || ORBISK_HAS_FEATURE(address_sanitizer)
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif

#if defined(__SANITIZE_THREAD__) || ORBISK_HAS_FEATURE(thread_sanitizer)
inline constexpr bool kThreadSanitizer = true;
#else
inline constexpr bool kThreadSanitizer = false;
#endif

#undef ORBISK_HAS_FEATURE

#endif  // TEST_FAULTS_SANITIZERS_H_
