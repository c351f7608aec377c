// A producer of the kind that nobody wants: it ends the process that initialises it.
#include <cstdlib>

extern "C" {
int GCInitLib() {
    std::abort();
}
#define NEVER_REACHED(name)                                                                                            \
    int name() {                                                                                                       \
        return -1003;                                                                                                  \
    }
NEVER_REACHED(GCCloseLib)
NEVER_REACHED(GCGetInfo)
NEVER_REACHED(GCGetLastError)
NEVER_REACHED(TLOpen)
NEVER_REACHED(TLClose)
NEVER_REACHED(TLUpdateInterfaceList)
NEVER_REACHED(TLGetNumInterfaces)
NEVER_REACHED(TLGetInterfaceID)
NEVER_REACHED(TLGetInterfaceInfo)
NEVER_REACHED(TLOpenInterface)
NEVER_REACHED(IFClose)
NEVER_REACHED(IFUpdateDeviceList)
NEVER_REACHED(IFGetNumDevices)
NEVER_REACHED(IFGetDeviceID)
NEVER_REACHED(IFGetDeviceInfo)
}
