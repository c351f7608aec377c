#include "Error.h"

#include "core/Printable.h"

#include <new>

#include <GenICam.h>
#include <tavix/camera/Error.h>

namespace tool {
std::string Reason(const std::exception& exception) {
    const auto* generic = dynamic_cast<const GenICam::GenericException*>(&exception);
    std::string text = generic ? generic->GetDescription() : exception.what();
    for (char& c : text) {
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    }
    text = Tavix::Printable(text);
    while (!text.empty() && (text.back() == ' ' || text.back() == '.'))
        text.pop_back();
    const bool lacksAdvice = dynamic_cast<const Tavix::Removed*>(&exception) && text.find(kPlugIn) == std::string::npos;
    return lacksAdvice ? text + kPlugIn : text;
}

std::string CaughtReason() noexcept {
    constexpr const char* kShort = "out of memory"; // a string of this length needs none
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return kShort;
    } catch (const std::exception& e) {
        try {
            return Reason(e);
        } catch (...) {
            return kShort;
        }
    } catch (...) {
        return "no reason";
    }
}

} // namespace tool
