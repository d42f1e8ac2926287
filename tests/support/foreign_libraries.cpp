// SPDX-License-Identifier: GPL-3.0-or-later

// What sanitizers are told about libraries that are not built with them. Part of every test binary that uses media
// libraries; without sanitizers these are never called.

extern "C" {

const char* __tsan_default_suppressions();
const char* __lsan_default_suppressions();
const char* __lsan_default_options();

// FFmpeg counts references with atomics that the thread sanitizer cannot see, so every buffer that one of its threads
// fills and another frees looks like a race. Pango reads the font configuration on a thread of its own, which is as
// invisible. The standard library shares the texts of its exceptions between their copies in the same way.
const char* __tsan_default_suppressions() {
    return "called_from_lib:libavcodec.so\n"
           "called_from_lib:libavformat.so\n"
           "called_from_lib:libavutil.so\n"
           "called_from_lib:libswscale.so\n"
           "called_from_lib:libx264.so\n"
           "called_from_lib:libx265.so\n"
           "race:libavcodec.so\n"
           "race:libavutil.so\n"
           "race:libx264.so\n"
           "race:libx265.so\n"
           "race:libfontconfig.so\n"
           "race:std::runtime_error::~runtime_error\n";
}

// The HEVC encoder does not free all that it allocates when it is opened: some kilobytes for each recording. Fontconfig
// keeps what it read of the configuration to the end. When a filter graph with two outputs is closed, as a test device
// is, libavdevice 5.1 forgets the frame that it has looked at to see which output is next. Qt's windows on Wayland do
// not destroy every object of the connection when they end; the tests of the platform hold this program's own use of
// that library.
const char* __lsan_default_suppressions() {
    return "leak:libx265.so\n"
           "leak:libfontconfig.so\n"
           "leak:libavdevice.so\n"
           "leak:libwayland-client.so\n";
}

// Nothing about that on the standard error, which tests look at.
const char* __lsan_default_options() {
    return "print_suppressions=0";
}

}  // extern "C"
