// The leaks that are meant, for the leak sanitizer: what the plug-in leaves to the engine when it goes.
//
// MakePixelBuffer: only "dispose" takes the pixels back. Of a viewer that is destroyed without it the engine may still be
// copying the last frame.
//
// MakeTexture: the engine may still ask a texture for a frame for which it has an identifier.

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:MakePixelBuffer\nleak:MakeTexture\n"; }
