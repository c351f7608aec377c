#include "Error.h"

#include <GenICam.h>

namespace tool {

std::string Reason(const std::exception& exception) {
    const auto* generic = dynamic_cast<const GenICam::GenericException*>(&exception);
    std::string text = generic ? generic->GetDescription() : exception.what();
    for (char& c : text) {
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '.'))
        text.pop_back();
    return TellsOfRemoval(text) ? text + "; plug it in again" : text;
}

bool TellsOfRemoval(const std::string& reason) {
    return reason.find("The camera was removed.") != std::string::npos;
}

} // namespace tool
