// SPDX-License-Identifier: GPL-3.0-or-later

// What sanitizers are told about the libraries behind sound and cameras, which are not built with them. Part of the
// test binaries that use these; without sanitizers it is never called.

extern "C" {

const char* __asan_default_options();
const char* __tsan_default_suppressions();
const char* __lsan_default_suppressions();

// Who asked for leaked memory stands further up than frame pointers lead through other people's libraries.
const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}

// When a filter graph with two outputs is closed, as a test device is, libavdevice 5.1 forgets the frame that it has
// looked at to see which output is next.
const char* __lsan_default_suppressions() {
    return "leak:libavdevice.so\n";
}

// FFmpeg and PipeWire hand memory from thread to thread with atomics and system calls that the thread sanitizer cannot
// see.
const char* __tsan_default_suppressions() {
    return "called_from_lib:libavcodec.so\n"
           "called_from_lib:libavdevice.so\n"
           "called_from_lib:libavfilter.so\n"
           "called_from_lib:libavformat.so\n"
           "called_from_lib:libavutil.so\n"
           "called_from_lib:libswscale.so\n";
}

}  // extern "C"
