#include "gentl/Failure.h"

#include "vexlo/Vexlo.h"

#include <exception>
#include <new>

namespace gentl {
namespace {

struct Last {
    GC_ERROR code = GC_ERR_SUCCESS;
    std::string text;
};

thread_local Last t_Last;

/// The camera's own status codes, which stand in the low 16 bits.
GC_ERROR ErrorOfCamera(vexlo::VxStatus status) {
    switch (status & 0xFFFF) {
    case 0x8001:
        return GC_ERR_NOT_IMPLEMENTED;
    case 0x8002:
        return GC_ERR_INVALID_PARAMETER;
    case 0x8003:
    case 0x8005:
        return GC_ERR_INVALID_ADDRESS;
    case 0x8004:
    case 0x8006:
        return GC_ERR_ACCESS_DENIED;
    case 0x8007:
        return GC_ERR_BUSY;
    default:
        return GC_ERR_IO;
    }
}

} // namespace

void Fail(GC_ERROR code, const char* text) {
    throw Failure(code, text);
}

GC_ERROR ErrorOf(vexlo::VxStatus status) {
    if ((status & 0xFFFF0000) == vexlo::VX_E_DEVICE_STATUS_BASE) return ErrorOfCamera(status);
    switch (status) {
    case vexlo::VX_OK:
        return GC_ERR_SUCCESS;
    case vexlo::VX_E_NO_MEMORY:
        return GC_ERR_OUT_OF_MEMORY;
    case vexlo::VX_E_USB_NO_MEMORY:
    case vexlo::VX_E_TOO_MANY_FILES:
    case vexlo::VX_E_NO_THREAD:
    case vexlo::VX_E_TOO_MANY_BUFFERS:
        return GC_ERR_RESOURCE_EXHAUSTED;
    case vexlo::VX_E_TIMEOUT:
        return GC_ERR_TIMEOUT;
    case vexlo::VX_E_USB_ACCESS:
    case vexlo::VX_E_BUSY:
        return GC_ERR_ACCESS_DENIED;
    case vexlo::VX_E_BUFFER_QUEUED:
        return GC_ERR_BUSY;
    case vexlo::VX_E_INVALID_SIZE:
    case vexlo::VX_E_INVALID_PARAMETER:
        return GC_ERR_INVALID_PARAMETER;
    case vexlo::VX_E_NOT_SUPPORTED:
        return GC_ERR_NOT_IMPLEMENTED;
    case vexlo::VX_E_NO_DATA:
        return GC_ERR_NO_DATA;
    case vexlo::VX_E_INVALID_STATE:
        return GC_ERR_ERROR;
    default:
        return GC_ERR_IO;
    }
}

std::string TextOf(vexlo::VxStatus status) {
    char text[512] = "";
    if (vexlo::GetStatusMessage(status, text, sizeof text, nullptr) == vexlo::VX_OK) return text;
    return "unknown failure";
}

void FailBecauseOf(vexlo::VxStatus status, const char* what) {
    throw Failure(ErrorOf(status), std::string(what) + ": " + TextOf(status));
}

GC_ERROR Remember(GC_ERROR code, const char* text) noexcept {
    t_Last.code = code;
    try {
        t_Last.text = text;
    } catch (const std::bad_alloc&) {
        t_Last.text.clear();
    }
    return code;
}

GC_ERROR LastError() noexcept {
    return t_Last.code;
}

const std::string& LastText() noexcept {
    return t_Last.text;
}

GC_ERROR RememberCurrent() noexcept {
    try {
        throw;
    } catch (const Failure& failure) {
        return Remember(failure.Code(), failure.Text().c_str());
    } catch (const std::bad_alloc&) {
        return Remember(GC_ERR_OUT_OF_MEMORY, "memory is short");
    } catch (const std::exception& error) {
        return Remember(GC_ERR_ERROR, error.what());
    } catch (...) {
        return Remember(GC_ERR_ERROR, "unexpected failure");
    }
}

} // namespace gentl
