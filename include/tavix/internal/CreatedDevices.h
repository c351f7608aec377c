#pragma once
// The devices that a transport layer has created and not destroyed yet.

#include "core/ThreadAnnotations.h"
#include "tavix/Device.h"
#include "tavix/internal/DevicePrivate.h"

#include <GenApi/Synch/Lock.h>

#include <set>

namespace Tavix {

/// The set and the lock that guards it. The devices are owned; whoever empties the set destroys them. The lock is
/// recursive, because a device that is being destroyed may come back to the transport layer. Thread-safe under its
/// lock.
struct CreatedDevices {
    GenApi::CLock lock;
    std::set<ITavixDevice*> devices TAVIX_GUARDED_BY(lock); // ordered by pointer value

    /// Destroys the device and forgets it, also when its destruction throws.
    void Destroy(ITavixDevice* pDevice) TAVIX_REQUIRES(lock) {
        struct Forget {
            std::set<ITavixDevice*>& devices;
            ITavixDevice* pDevice;
            ~Forget() { devices.erase(pDevice); }
        } const forget{devices, pDevice};
        DestroyThroughPrivateInterface(pDevice);
    }

    /// Takes the first device until none is left.
    void DestroyAll() {
        GenApi::AutoLock guard(lock);
        while (!devices.empty())
            Destroy(*devices.begin());
    }

    /// A device that does not offer the private interface cannot be destroyed and is left alone.
    static void DestroyThroughPrivateInterface(ITavixDevice* pDevice) {
        if (ITavixDevicePrivate* pPrivate = dynamic_cast<ITavixDevicePrivate*>(pDevice)) pPrivate->Delete();
    }
};

} // namespace Tavix
