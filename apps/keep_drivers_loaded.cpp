// In sanitized programs only: a driver that stays loaded can be named in a report.
extern "C" int dlclose(void*) { return 0; }
