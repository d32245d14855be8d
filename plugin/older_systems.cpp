// Keeps the plug-in loadable on boards whose C and C++ libraries are older than the compiler that built it: what the
// compiler's headers make every program ask of new libraries is here instead. Hidden like all but the registration
// function, these serve the plug-in alone.

#include <new>

#if defined(__GLIBC__) && __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>

// glibc 2.32 lets a shared pointer of a program without threads count without atomics. The plug-in has threads.
char __libc_single_threaded = 0;
#endif

#if defined(__GLIBCXX__) && _GLIBCXX_RELEASE >= 11
namespace std {
// libstdc++ 11 has this one for allocations whose size in bytes overflows.
void __throw_bad_array_new_length() { throw bad_array_new_length(); }
}  // namespace std
#endif
