// open(), stat(), close() and ioctl() of this process, with the files of usbfs and of sysfs's USB part taken from the
// emulated bus. Everything else goes to the C library.
#include "support/Shortage.h"
#include "support/usbfs/Bus.h"
#include "support/usbfs/Ioctl.h"
#include "support/usbfs/system/RealCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

namespace usbfs {
namespace real {
namespace {

template<class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

/// The functions that stand behind ours.
struct Calls {
    int (*open)(const char*, int, ...) = Next<int (*)(const char*, int, ...)>("open");
    int (*close)(int) = Next<int (*)(int)>("close");
    int (*ioctl)(int, unsigned long, ...) = Next<int (*)(int, unsigned long, ...)>("ioctl");
    int (*stat)(const char*, struct stat*) = Next<int (*)(const char*, struct stat*)>("stat");
};

const Calls& Behind() {
    static const Calls calls;
    return calls;
}

/// A sanitizer opens files while it reports; it must not come to the dynamic loader then.
__attribute__((constructor)) void LookUp() {
    Behind();
}

} // namespace

int Open(const char* path, int flags, mode_t mode) {
    return Behind().open(path, flags, mode);
}

int Close(int file) {
    return Behind().close(file);
}

int Ioctl(int file, unsigned long request, void* argument) {
    return Behind().ioctl(file, request, argument);
}

int Stat(const char* path, struct stat* status) {
    return Behind().stat(path, status);
}

} // namespace real

namespace {

constexpr char kNodes[] = "/dev/bus/usb/";
constexpr char kDevices[] = "/sys/bus/usb/devices/";
constexpr char kMemoryLimit[] = "/sys/module/usbcore/parameters/usbfs_memory_mb";

bool HasPrefix(const char* path, const char* prefix) {
    return std::strncmp(path, prefix, std::strlen(prefix)) == 0;
}

bool IsOurs(const char* path) {
    return path != nullptr &&
           (HasPrefix(path, kNodes) || HasPrefix(path, kDevices) || std::strcmp(path, kMemoryLimit) == 0);
}

int Finish(int result) {
    if (result >= 0) return result;
    errno = -result;
    return -1;
}

int OpenText(const std::string& text) {
    const int file = ::memfd_create("attribute", MFD_CLOEXEC);
    if (file < 0) return -errno;
    const bool written = ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (written && ::lseek(file, 0, SEEK_SET) == 0) return file;
    real::Close(file);
    return -EIO;
}

int OpenAttribute(const std::string& path) {
    if (const int failure = Bus::Instance().Faults().Next({Call::OpenAttribute})) return -failure;
    const std::size_t slash = path.find('/');
    if (slash == std::string::npos) return -ENOENT;
    const auto port = Bus::Instance().FindPort(path.substr(0, slash));
    std::string text;
    return port != nullptr && port->ReadAttribute(path.substr(slash + 1), text) ? OpenText(text) : -ENOENT;
}

bool IsNode(const char* path, unsigned int& bus, unsigned int& address) {
    return std::sscanf(path + std::strlen(kNodes), "%u/%u", &bus, &address) == 2;
}

int OpenOurs(const char* path) {
    Bus& bus = Bus::Instance();
    bus.Start();
    if (HasPrefix(path, kDevices)) return OpenAttribute(path + std::strlen(kDevices));
    if (!HasPrefix(path, kNodes)) return OpenText(std::to_string(bus.Memory().Limit()) + "\n");
    unsigned int number = 0, address = 0;
    return IsNode(path, number, address) ? bus.OpenNode(number, address) : -ENOENT;
}

int StatNode(const char* path, struct stat* status) {
    Bus& bus = Bus::Instance();
    bus.Start();
    unsigned int number = 0, address = 0;
    const std::time_t time = IsNode(path, number, address) ? bus.NodeTime(number, address) : 0;
    if (time == 0) return -ENOENT;
    *status = {};
    status->st_mode = S_IFCHR | 0666;
    status->st_ctim.tv_sec = time;
    return 0;
}

int OpenAny(const char* path, int flags, mode_t mode) {
    const shortage::AmpleMemory ample;
    return IsOurs(path) ? Finish(OpenOurs(path)) : real::Open(path, flags, mode);
}

bool NeedsMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

} // namespace
} // namespace usbfs

extern "C" {

// libusb is built with source fortification, which turns open() into __open_2(); builds for large files use the names
// with 64.
int open(const char* path, int flags, ...);
int open64(const char* path, int flags, ...);
int __open_2(const char* path, int flags);
int __open64_2(const char* path, int flags);
int close(int file);
int ioctl(int file, unsigned long request, ...);

int open(const char* path, int flags, ...) {
    mode_t mode = 0;
    if (usbfs::NeedsMode(flags)) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return usbfs::OpenAny(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    mode_t mode = 0;
    if (usbfs::NeedsMode(flags)) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    return usbfs::OpenAny(path, flags, mode);
}

int __open_2(const char* path, int flags) {
    return usbfs::OpenAny(path, flags, 0);
}

int __open64_2(const char* path, int flags) {
    return usbfs::OpenAny(path, flags, 0);
}

int stat(const char* path, struct stat* status) {
    if (!usbfs::HasPrefix(path, usbfs::kNodes)) return usbfs::real::Stat(path, status);
    const shortage::AmpleMemory ample;
    return usbfs::Finish(usbfs::StatNode(path, status));
}

int close(int file) {
    const shortage::AmpleMemory ample;
    const usbfs::Bus::Opened opened = usbfs::Bus::Instance().TakeOpened(file);
    if (opened.port != nullptr) opened.port->Close(*opened.file);
    return usbfs::real::Close(file);
}

int ioctl(int file, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    const shortage::AmpleMemory ample;
    const usbfs::Bus::Opened opened = usbfs::Bus::Instance().FindOpened(file);
    if (opened.port == nullptr) return usbfs::real::Ioctl(file, request, argument);
    return usbfs::Finish(usbfs::ServeIoctl(opened, static_cast<unsigned int>(request), argument));
}

} // extern "C"
