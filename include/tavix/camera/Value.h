#pragma once
// A value that was read: of a chunk, an event, a setting.

#include "tavix/camera/Error.h"
#include "tavix/camera/Export.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <type_traits>
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
    /// The same by the type that is asked for.
    template<class T, class = std::enable_if_t<(std::is_arithmetic_v<T> && !std::is_same_v<T, char>) ||
                                               std::is_same_v<T, std::string>>>
    operator T() const {
        if constexpr (std::is_same_v<T, bool>) {
            return Bool();
        } else if constexpr (std::is_integral_v<T>) {
            return Narrow<T>(Int());
        } else if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(Float());
        } else {
            return Text();
        }
    }
    /// Writes the text to a stream.
    template<class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out, const Value& value) {
        return out << value.Text();
    }

private:
    template<class T>
    static T Narrow(std::int64_t value) {
        const T narrow = static_cast<T>(value);
        if (static_cast<std::int64_t>(narrow) != value || (narrow < T(0)) != (value < 0))
            throw ValueError(std::to_string(value) + " does not fit into the type that is asked for");
        return narrow;
    }

    Data m_Data;
};

} // namespace Tavix
