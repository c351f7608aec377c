#include "genapi/nodes/FloatFace.h"

#include "genapi/nodes/base/Throw.h"

#include <charconv>
#include <cmath>

namespace genapi {

namespace {

// As few digits as tell the number from its neighbours: 0.1, not 0.10000000000000001.
std::string Text(double value) {
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

} // namespace

void FloatChecks::RefuseNaN(Node& node, double value) {
    if (std::isnan(value)) ThrowOutOfRange(node, "SetValue", "The value is not a number.");
}

void FloatChecks::CheckWrite(Node& node, double value) {
    // Limits are compared exactly: what GetMin and GetMax gave is accepted.
    const double min = node.RealMin();
    if (value < min) {
        ThrowOutOfRange(node, "SetValue",
                        "Value " + Text(value) + " must be greater than or equal to Min " + Text(min) + ".");
    }
    const double max = node.RealMax();
    if (value > max) {
        ThrowOutOfRange(node, "SetValue",
                        "Value " + Text(value) + " must be smaller than or equal to Max " + Text(max) + ".");
    }
}

void FloatChecks::CheckRead(Node& node, double value) {
    if (value >= node.RealMin() && value <= node.RealMax()) return;
    ThrowOutOfRange(node, "GetValue", "Value " + Text(value) + " lies outside of Min and Max.");
}

double FloatChecks::ParseText(Node& node, std::string_view text) {
    const std::optional<double> value = ParseFloat(text);
    if (!value) ThrowInvalidArgument(node, "FromString", "'" + std::string(text) + "' is no number.");
    return *value;
}

void FloatChecks::ThrowNoIncrement(Node& node) {
    ThrowLogicalError(node, "GetInc", "The node has no increment.");
}

} // namespace genapi
