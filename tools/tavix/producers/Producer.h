#pragma once
// A GenTL producer, ours or anybody's, as a consumer has it.

#include "gentl/GenTL.h"

#include <string>

namespace tool {

/// Loads the file, finds the functions that a walk needs and initialises the library; the end gives it back. Throws
/// Error with a sentence that names the file. Bound to a thread.
class Producer {
public:
    explicit Producer(const std::string& path);
    ~Producer();
    Producer(const Producer&) = delete;
    Producer& operator=(const Producer&) = delete;

    /// The call that has just failed, with what the producer itself says about it.
    std::string Failure(GC_ERROR result, const char* call) const;
    /// Throws Error with that.
    void Require(GC_ERROR result, const char* call) const;

    // Each is what the interface has under that name.
// clang-format off
#define TAVIX_GENTL_WALK(X) \
    X(GCInitLib) X(GCCloseLib) X(GCGetInfo) X(GCGetLastError) X(TLOpen) X(TLClose) X(TLUpdateInterfaceList) \
    X(TLGetNumInterfaces) X(TLGetInterfaceID) X(TLGetInterfaceInfo) X(TLOpenInterface) X(IFClose) \
    X(IFUpdateDeviceList) X(IFGetNumDevices) X(IFGetDeviceID) X(IFGetDeviceInfo)
// clang-format on
#define TAVIX_GENTL_MEMBER(name) decltype(&::name) name = nullptr;
    TAVIX_GENTL_WALK(TAVIX_GENTL_MEMBER)
#undef TAVIX_GENTL_MEMBER

private:
    void* Function(const char* name) const;

    const std::string m_Path;
    void* const m_File;
};

} // namespace tool
