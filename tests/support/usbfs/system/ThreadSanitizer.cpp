// What the thread sanitizer must know of programs with libusb in them.

extern "C" const char* __tsan_default_options();

/// libusb counts references by atomics. It is not instrumented, so the sanitizer sees neither these nor the loads and
/// stores, but it does see its calls of memcpy(), read() and free(), in no order: each device that leaves while another
/// thread looks at it would be reported. Those calls are not looked at here; what our own code loads and stores is, and
/// the tests on the in-process bus run with everything.
const char* __tsan_default_options() {
    return "ignore_interceptors_accesses=1";
}
