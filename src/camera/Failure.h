#pragma once
// From the SDK's exceptions to those of the camera classes.

#include <tavix/camera/Error.h>

#include <Base/GCException.h>
#include <Base/GCString.h>

#include <string>

namespace Tavix::detail {

inline std::string Text(const GenICam::gcstring& text) {
    return {text.c_str(), text.size()};
}

/// What others wrote as a sentence, fit to become part of one.
std::string WithoutFullStop(std::string text);
/// The sentence of an exception, fit to become part of one, without the place that it came from.
std::string Reason(const std::exception& failure);

/// Rethrows the exception that is being handled, which is of the SDK, as the heir of Error that fits its kind; Errors
/// pass as they are. `context` goes before the reason ("cannot open VC-1300: "), `advice` behind it.
[[noreturn]] void RethrowAsError(const std::string& context, const std::string& feature = {},
                                 const std::string& advice = {});

/// StateError when it is empty.
template<class Function>
void RequireCallback(const Function& callback) {
    if (!callback) throw StateError("the callback is empty");
}

/// NotFound, with what can be done about it.
[[noreturn]] void ThrowNoCamera();

/// Logs a failure that nobody is told of. In a catch block.
void LogFailure(const char* what) noexcept;

/// Runs a step of a retreat, where a failure is logged and the next step follows.
template<class Step>
void Attempt(const char* what, Step&& step) noexcept {
    try {
        step();
    } catch (...) {
        LogFailure(what);
    }
}

} // namespace Tavix::detail
