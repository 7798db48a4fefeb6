// How sanitized programs run, and what they do not report. Linked into every test program and into
// twqt in sanitized builds.
//
// Sanitizers look these functions up by name; each one reads only its own.
#define TWQT_SANITIZER_HOOK extern "C" __attribute__((visibility("default"), used)) const char*

TWQT_SANITIZER_HOOK __asan_default_options();
TWQT_SANITIZER_HOOK __tsan_default_options();
TWQT_SANITIZER_HOOK __lsan_default_suppressions();
TWQT_SANITIZER_HOOK __tsan_default_suppressions();

// Tests ask for more memory than there is, to see what happens then.
const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}

const char* __tsan_default_options() {
    return "allocator_may_return_null=1";
}

// What libraries that are not ours keep until the program ends.
const char* __lsan_default_suppressions() {
    return "leak:libx265\n";
}

// These libraries are not built for the thread sanitizer. They pass buffers between their own
// threads, and to ours, under reference counts and locks that it cannot see; reports that run
// through them are suppressed, while races between our own functions are still reported.
const char* __tsan_default_suppressions() {
    return "race:libavcodec.so\n"
           "race:libavformat.so\n"
           "race:libavutil.so\n"
           "race:libswscale.so\n"
           "race:libswresample.so\n"
           "race:libheif.so\n"
           "race:libx264.so\n"
           "race:libx265.so\n"
           "race:libvpx.so\n"
           "race:libaom.so\n"
           "race:libSvtAv1Enc.so\n"
           "race:librav1e.so\n"
           "race:libdav1d.so\n";
}
