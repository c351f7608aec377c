#include "genapi/nodes/IntegerFace.h"

#include "genapi/nodes/base/Throw.h"

#include <algorithm>

namespace genapi {
namespace {

/// Of any size.
bool IsWholeNumber(std::string_view text) {
    const bool isHex = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    text.remove_prefix(isHex ? 2 : text.substr(0, 1) == "-" ? 1 : 0);
    return !text.empty() &&
           text.find_first_not_of(isHex ? "0123456789abcdefABCDEF" : "0123456789") == std::string_view::npos;
}

} // namespace

void IntegerChecks::CheckWrite(Node& node, int64_t value, const std::vector<int64_t>& validValues) {
    const int64_t min = node.IntegerMin();
    if (value < min) {
        ThrowOutOfRange(node, "SetValue",
                        "Value " + std::to_string(value) + " must be greater than or equal to Min " +
                            std::to_string(min) + ".");
    }
    const int64_t max = node.IntegerMax();
    if (value > max) {
        ThrowOutOfRange(node, "SetValue",
                        "Value " + std::to_string(value) + " must be smaller than or equal to Max " +
                            std::to_string(max) + ".");
    }
    if (!validValues.empty()) {
        if (std::find(validValues.begin(), validValues.end(), value) != validValues.end()) return;
        ThrowOutOfRange(node, "SetValue", "Value " + std::to_string(value) + " is not among the valid values.");
    }
    const int64_t inc = node.IntegerInc();
    if (inc <= 1) return;
    // The unsigned difference cannot overflow.
    const uint64_t distance = static_cast<uint64_t>(value) - static_cast<uint64_t>(min);
    if (distance % static_cast<uint64_t>(inc) == 0) return;
    ThrowOutOfRange(node, "SetValue",
                    "The difference between Value " + std::to_string(value) + " and Min " + std::to_string(min) +
                        " must be divisible by Inc " + std::to_string(inc) + ".");
}

void IntegerChecks::CheckRead(Node& node, int64_t value) {
    if (value >= node.IntegerMin() && value <= node.IntegerMax()) return;
    ThrowOutOfRange(node, "GetValue", "Value " + std::to_string(value) + " lies outside of Min and Max.");
}

int64_t IntegerChecks::ParseText(Node& node, std::string_view text) {
    const std::optional<int64_t> value = ParseIntegerText(text, node.Representation());
    if (!value) {
        const char* reason = IsWholeNumber(TrimBlanks(text)) ? "' is beyond 64 bits." : "' is no integer.";
        ThrowInvalidArgument(node, "FromString", "'" + std::string(text) + reason);
    }
    return *value;
}

std::vector<int64_t> IntegerChecks::ParseValidValues(std::string_view text) {
    std::vector<int64_t> values;
    while (!text.empty()) {
        const std::size_t end = text.find(';');
        if (const std::optional<int64_t> value = ParseInteger(text.substr(0, end))) values.push_back(*value);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    return values;
}

} // namespace genapi
