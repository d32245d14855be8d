// The leaks that are meant, for the leak sanitizer. There is one:
//
// MakePixelBuffer: only "dispose" frees the pixels. A viewer that is destroyed without it leaves them to the engine,
// which may still be copying the last frame when the plug-in goes.

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:MakePixelBuffer\n"; }
