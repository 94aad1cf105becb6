// The driver frees nothing of its own at the end, and a leak checker cannot name a library that is gone: keep it.
// Exported, or the libraries that unload it would not see it.
extern "C" __attribute__((visibility("default"))) int dlclose(void*) { return 0; }
