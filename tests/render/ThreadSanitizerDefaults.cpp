// ThreadSanitizer's default suppressions for the render tests. FluidSynth
// loads a SoundFont's samples on OpenMP worker threads; libgomp is not built
// for ThreadSanitizer, so its own hand-offs between threads (memory taken on
// one worker and given back on another) look like races. Calls made from
// libgomp are left unchecked; everything else still is.

#if defined(__SANITIZE_THREAD__)
extern "C" const char* __tsan_default_suppressions() { return "called_from_lib:libgomp.so.1\n"; }
#endif
