#pragma once
// A feature of a camera: read, written, executed and explained by name.

#include <tavix/camera/Export.h>
#include <tavix/camera/Subscription.h>
#include <tavix/camera/Value.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace GenApi {
struct INode;
}

namespace Tavix {

namespace detail {
class FeatureSource;
}

enum class FeatureType { Integer, Float, Boolean, Enumeration, Text, Command, Register, Category };
/// For whom a feature is.
enum class FeatureLevel { Beginner, Expert, Guru, Invisible };
/// Waits at most so long for a command to be done.
inline constexpr std::chrono::milliseconds kCommandTimeout{5000};

/// Names a feature of one camera; every access asks the camera anew, so a feature stays right when others change, and
/// after the camera came back. It keeps no camera open: when the camera is closed, accesses throw StateError, when it
/// is unplugged Removed. All other failures are AccessError, ValueError or Error and name feature, value and limits.
/// Copying makes a second name for the same feature; assigning a feature to another copies its value. Thread-safe.
class TAVIX_CAMERA_API Feature {
public:
    Feature(const Feature&) = default;
    /// Writes the value of the other.
    Feature& operator=(const Feature& other);

    /// Writes. A whole number also sets a float and a Boolean (0 or 1), never silently rounded the other way; text sets
    /// anything that it stands for: an entry by its name, a number, "true".
    template<class T, class = std::enable_if_t<std::is_arithmetic_v<T>>>
    Feature& operator=(T value) {
        if constexpr (std::is_same_v<T, bool>) {
            SetBool(value);
        } else if constexpr (std::is_integral_v<T>) {
            SetInt(ToInt64(value));
        } else {
            SetFloat(static_cast<double>(value));
        }
        return *this;
    }
    Feature& operator=(const std::string& value);
    Feature& operator=(const char* value);
    Feature& operator=(std::string_view value) { return *this = std::string(value); }
    void SetInt(std::int64_t value);
    void SetFloat(double value);
    void SetBool(bool value);
    void SetText(const std::string& value);
    /// The nearest value within limits and on the increment. Returns what was written. For numbers only.
    double SetNearest(double value);

    /// Reads. Int takes integers, Booleans and an enumeration's number; Float any number; Text everything.
    std::int64_t Int() const;
    double Float() const;
    bool Bool() const;
    std::string Text() const;
    /// With its type.
    Value Read() const;
    /// The bytes of a register.
    std::vector<std::uint8_t> Bytes() const;
    void SetBytes(const std::vector<std::uint8_t>& bytes);
    template<class T, class = std::enable_if_t<(std::is_arithmetic_v<T> && !std::is_same_v<T, char>) ||
                                               std::is_same_v<T, std::string>>>
    operator T() const {
        if constexpr (std::is_same_v<T, bool>) {
            return Bool();
        } else if constexpr (std::is_integral_v<T>) {
            return FromInt64<T>(Int());
        } else if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(Float());
        } else {
            return Text();
        }
    }

    /// Whether it reads as that text. Asks the camera.
    template<class T, class = std::enable_if_t<std::is_convertible_v<T, std::string_view>>>
    friend bool operator==(const Feature& feature, const T& text) {
        return feature.Text() == std::string_view(text);
    }
    template<class T, class = std::enable_if_t<std::is_convertible_v<T, std::string_view>>>
    friend bool operator!=(const Feature& feature, const T& text) {
        return !(feature == text);
    }
    /// Writes the text of its value to a stream.
    template<class Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out, const Feature& feature) {
        return out << feature.Text();
    }

    /// Executes a command and waits until it is done. Timeout when it is not by then; a negative time is as long as it
    /// takes. DeviceReset is done when the
    /// camera has gone, which is no Removed.
    void Execute(std::chrono::milliseconds timeout = kCommandTimeout) const;
    /// The parts of Execute(), for those who look at something else meanwhile: starts a command; whether it is done
    /// within that time.
    void Start() const;
    bool AwaitDone(std::chrono::milliseconds timeout) const;
    /// Whether a command that was executed is done. Asks the camera.
    bool IsDone() const;

    const std::string& Name() const;
    FeatureType Type() const;
    FeatureLevel Level() const;
    std::string DisplayName() const;
    std::string Description() const;
    /// Such as "us"; UTF-8, empty when there is none.
    std::string Unit() const;
    bool IsAvailable() const;
    bool IsReadable() const;
    /// For a command: whether it can be executed now.
    bool IsWritable() const;
    /// Whether it belongs to the camera's settings, see Settings.
    bool IsSetting() const;
    /// Why it cannot be read or written now, as a sentence without its end ("locked: TLParamsLocked is 1"); empty when
    /// both can be done.
    std::string WhyNot() const;
    /// Limits and increment of a number as they are now; ValueError for other features. Where a float has no increment,
    /// it is 0.
    double Min() const;
    double Max() const;
    double Increment() const;
    std::int64_t IntMin() const;
    std::int64_t IntMax() const;
    std::int64_t IntIncrement() const;
    /// The entries of an enumeration that can be set now; with `all` also those that cannot. ValueError for others.
    std::vector<std::string> Entries(bool all = false) const;
    /// The features in a category, ValueError for others.
    std::vector<Feature> Children() const;

    /// Calls after each change of value, limits or access, whoever caused it; no lock is held, so the callback may do
    /// anything. It runs on the thread that caused the change, or on one of the library. It lasts until the
    /// subscription is ended or the camera closed, and across its coming back.
    Subscription OnChange(std::function<void(const Feature&)> callback) const;

    /// The SDK's node, which lives as long as the camera stays open.
    GenApi::INode& Node() const;

private:
    friend class detail::FeatureSource;
    Feature(std::shared_ptr<detail::FeatureSource> source, std::string name);
    template<class T>
    std::int64_t ToInt64(T value) const {
        if constexpr (std::is_unsigned_v<T> && sizeof(T) == 8) {
            if (value > static_cast<T>(INT64_MAX)) ThrowTooLarge(std::to_string(value));
        }
        return static_cast<std::int64_t>(value);
    }
    template<class T>
    T FromInt64(std::int64_t value) const {
        const T narrow = static_cast<T>(value);
        if (static_cast<std::int64_t>(narrow) != value || (narrow < T(0)) != (value < 0))
            ThrowTooLarge(std::to_string(value));
        return narrow;
    }
    [[noreturn]] void ThrowTooLarge(const std::string& value) const;

    std::shared_ptr<detail::FeatureSource> m_Source;
    std::string m_Name;
};

} // namespace Tavix
