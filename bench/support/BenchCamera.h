#pragma once
// A virtual camera for measurements.

#include <cstdint>

#include <tavix/Tavix.h>

namespace bench {

/// The first virtual camera of this process, created and opened; given back at the end of its scope. Bound to a thread.
class BenchCamera {
public:
    explicit BenchCamera(unsigned int index = 0);
    ~BenchCamera();
    BenchCamera(const BenchCamera&) = delete;
    BenchCamera& operator=(const BenchCamera&) = delete;

    Tavix::ITavixDevice& Device() { return *m_Device; }
    void Set(const char* feature, const char* value);
    std::int64_t Integer(const char* feature, bool ignoreCache = false);

private:
    Tavix::ITavixDevice* m_Device;
};

/// Switches `count` virtual cameras of 4096 x 3008 pixels on; to be called before anything else.
void UseVirtualCameras(unsigned int count);

} // namespace bench
