#pragma once
// How the producer's inside tells its functions that something failed.

#include "gentl/GenTL.h"
#include "vexlo/Status.h"

#include <string>

namespace gentl {

/// Thrown inside, turned into a GC_ERROR at the border, where it becomes the thread's last error. Re-entrant.
class Failure {
public:
    Failure(GC_ERROR code, std::string text) : m_Code(code), m_Text(std::move(text)) {}
    GC_ERROR Code() const { return m_Code; }
    const std::string& Text() const { return m_Text; }

private:
    GC_ERROR m_Code;
    std::string m_Text;
};

[[noreturn]] void Fail(GC_ERROR code, const char* text);
/// What a status of the USB access library means to a consumer.
GC_ERROR ErrorOf(vexlo::VxStatus status);
std::string TextOf(vexlo::VxStatus status);
[[noreturn]] void FailBecauseOf(vexlo::VxStatus status, const char* what);
/// Throws unless the status is 0.
inline void Check(vexlo::VxStatus status, const char* what) {
    if (status != vexlo::VX_OK) FailBecauseOf(status, what);
}

/// Remembers a failed call for GCGetLastError of this thread, and returns its code. Never throws: a text that does not
/// fit in memory is left out.
GC_ERROR Remember(GC_ERROR code, const char* text) noexcept;
GC_ERROR LastError() noexcept;
const std::string& LastText() noexcept;

/// Turns the exception that is being handled into the thread's last error.
GC_ERROR RememberCurrent() noexcept;

/// Runs the inside of an exported function: nothing that it throws gets out.
template<class Inside>
GC_ERROR Guarded(Inside&& inside) noexcept {
    try {
        inside();
        return GC_ERR_SUCCESS;
    } catch (...) {
        return RememberCurrent();
    }
}

} // namespace gentl
