// What the thread sanitizer is to overlook in libusb, which is not instrumented.
//
// A synchronous call of libusb returns once a plain int says that its transfer has ended, and frees the transfer while
// the thread that handled the event may still be on its way out of the transfer's mutex. libusb orders this by means
// that the sanitizer does not see. It is the only such place: every transfer of ours is freed by LibusbHandle::Forget,
// after its completion has gone through a mutex of ours.

#if defined(__SANITIZE_THREAD__)
#define TAVIX_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TAVIX_THREAD_SANITIZER
#endif
#endif

#ifdef TAVIX_THREAD_SANITIZER
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions();

const char* __tsan_default_suppressions() {
    return "race:^libusb_free_transfer$\n";
}
#endif
