// Whether the process may still open files.
#include "usb/libusb/SpareFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

namespace usb {
namespace {

constexpr std::size_t kNeeded = 8; // events, timer and device of a context, and what is open for a moment

} // namespace

bool HasSpareFiles() {
    std::array<int, kNeeded> files{};
    std::size_t count = 0;
    while (count < files.size() && (files[count] = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0)
        ++count;
    for (std::size_t i = 0; i < count; ++i)
        ::close(files[i]);
    return count == files.size();
}

} // namespace usb
