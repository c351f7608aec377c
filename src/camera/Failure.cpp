#include "camera/Failure.h"

#include "camera/CameraLog.h"

namespace Tavix::detail {

std::string WithoutFullStop(std::string text) {
    if (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

std::string Reason(const std::exception& failure) {
    const auto* known = dynamic_cast<const GenICam::GenericException*>(&failure);
    return WithoutFullStop(known ? known->GetDescription() : failure.what());
}

void RethrowAsError(const std::string& context, const std::string& feature, const std::string& advice) {
    const auto text = [&](const std::exception& e) { return context + Reason(e) + advice; };
    try {
        throw;
    } catch (const Error&) {
        throw;
    } catch (const GenICam::AccessException& e) {
        throw AccessError(text(e), feature);
    } catch (const GenICam::OutOfRangeException& e) {
        throw ValueError(text(e), feature);
    } catch (const GenICam::InvalidArgumentException& e) {
        throw ValueError(text(e), feature);
    } catch (const GenICam::TimeoutException& e) {
        throw Timeout(text(e), feature);
    } catch (const GenICam::GenericException& e) {
        throw Error(text(e), feature);
    }
}

void LogFailure(const char* what) noexcept {
    try {
        throw;
    } catch (const std::exception& e) {
        LogTrace(LogCategoryCamera(), kLogInfo, "%s failed: %s", what, Reason(e).c_str());
    } catch (...) {
        LogTrace(LogCategoryCamera(), kLogInfo, "%s failed.", what);
    }
}

} // namespace Tavix::detail
