#include "core/Printable.h"

#include <tavix/camera/Error.h>
#include <tavix/camera/Value.h>

#include <cstdio>

namespace Tavix {
namespace {

[[noreturn]] void ThrowWrongType(const Value& value, const char* wanted) {
    throw ValueError("'" + Printable(value.Text()) + "' is no " + wanted);
}

} // namespace

std::int64_t Value::Int() const {
    if (const auto* number = std::get_if<std::int64_t>(&m_Data)) return *number;
    if (const auto* flag = std::get_if<bool>(&m_Data)) return *flag ? 1 : 0;
    ThrowWrongType(*this, "whole number");
}

double Value::Float() const {
    if (const auto* number = std::get_if<double>(&m_Data)) return *number;
    if (const auto* number = std::get_if<std::int64_t>(&m_Data)) return static_cast<double>(*number);
    ThrowWrongType(*this, "number");
}

bool Value::Bool() const {
    if (const auto* flag = std::get_if<bool>(&m_Data)) return *flag;
    if (const auto* number = std::get_if<std::int64_t>(&m_Data)) return *number != 0;
    ThrowWrongType(*this, "Boolean");
}

std::string Value::Text() const {
    if (const auto* text = std::get_if<std::string>(&m_Data)) return *text;
    if (const auto* flag = std::get_if<bool>(&m_Data)) return *flag ? "true" : "false";
    if (const auto* number = std::get_if<std::int64_t>(&m_Data)) return std::to_string(*number);
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", std::get<double>(m_Data));
    for (int digits = 6; digits < 17; ++digits) { // as few as tell it apart
        char shorter[32];
        std::snprintf(shorter, sizeof shorter, "%.*g", digits, std::get<double>(m_Data));
        if (std::stod(shorter) == std::get<double>(m_Data)) return shorter;
    }
    return text;
}

} // namespace Tavix
