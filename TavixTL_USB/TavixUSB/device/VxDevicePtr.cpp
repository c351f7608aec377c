#include "device/VxDevicePtr.h"

#include "Log.h"

namespace Tavix {

unsigned int OpenWithRetry(vexlo::CVxDevice& device, const vexlo::DeviceDiscoveryInfo& record) {
    constexpr int kAttempts = 5;
    unsigned int status = 0;
    for (int attempt = 1; attempt <= kAttempts; ++attempt) {
        status = device.Open(&record);
        if (status == 0) return 0;
        if (attempt < kAttempts) LogTrace(LogCategoryTl(), kLogWarning, "Failed to open device. Retry.");
    }
    return status;
}

} // namespace Tavix
