// What LeakSanitizer is not to report: memory that the CAD kernel's libraries keep for themselves.

extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libTK"; }
