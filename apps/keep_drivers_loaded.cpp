// In sanitized programs only: a driver that stays loaded can be named in a report.
extern "C" __attribute__((visibility("default"))) int dlclose(void*) { return 0; }
