// What libraries that are not ours keep until the program ends; linked into sanitized tests.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();

const char* __lsan_default_suppressions() {
    return "leak:libx265\n";
}
