#pragma once
// The system calls as the C library makes them, past the interposed ones.

#include <sys/stat.h>
#include <sys/types.h>

namespace usbfs::real {

int Open(const char* path, int flags, mode_t mode);
int Close(int file);
int Ioctl(int file, unsigned long request, void* argument);
int Stat(const char* path, struct stat* status);

} // namespace usbfs::real
