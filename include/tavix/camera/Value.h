#pragma once
// A value that was read: of a chunk, an event, a setting.

#include "tavix/camera/Export.h"

#include <cstdint>
#include <string>
#include <variant>

namespace Tavix {

/// One value with its type. The readers convert where nothing is lost and throw ValueError otherwise. Re-entrant.
class TAVIX_CAMERA_API Value {
public:
    using Data = std::variant<std::int64_t, double, bool, std::string>;

    explicit Value(Data data) : m_Data(std::move(data)) {}

    /// For visiting by type. An enumeration's value is the text of its entry.
    const Data& Get() const { return m_Data; }
    /// A whole number, or a Boolean as 0 or 1.
    std::int64_t Int() const;
    /// A number of either kind.
    double Float() const;
    /// A Boolean, or a whole number that is 0 or not.
    bool Bool() const;
    /// Any value as text, numbers in the C locale.
    std::string Text() const;

private:
    Data m_Data;
};

} // namespace Tavix
