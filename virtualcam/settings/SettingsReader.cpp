#include "virtualcam/settings/SettingsReader.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace virtualcam {
namespace {

using nlohmann::json;

template<class T>
T NumberOf(const json& value, const std::string& place) {
    using Limits = std::numeric_limits<T>;
    const std::string range = "a whole number from " + std::to_string(Limits::min()) + " to " +
                              std::to_string(Limits::max()) + " is expected, not " + value.dump();
    if (!value.is_number_integer()) throw SettingsError(place, range);
    const bool negative = !value.is_number_unsigned() && value.get<std::int64_t>() < 0;
    const bool fits = negative
                          ? std::is_signed_v<T> && value.get<std::int64_t>() >= static_cast<std::int64_t>(Limits::min())
                          : value.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max());
    if (!fits) throw SettingsError(place, range);
    return value.get<T>();
}

std::string Listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

} // namespace

template<>
bool ValueOf<bool>(const json& value, const std::string& place) {
    if (!value.is_boolean()) throw SettingsError(place, "true or false is expected, not " + value.dump());
    return value.get<bool>();
}

template<>
double ValueOf<double>(const json& value, const std::string& place) {
    if (!value.is_number()) throw SettingsError(place, "a number is expected, not " + value.dump());
    return value.get<double>();
}

template<>
std::string ValueOf<std::string>(const json& value, const std::string& place) {
    if (!value.is_string()) throw SettingsError(place, "a text in quotes is expected, not " + value.dump());
    return value.get<std::string>();
}

template<>
int ValueOf<int>(const json& value, const std::string& place) {
    return NumberOf<int>(value, place);
}

template<>
std::uint16_t ValueOf<std::uint16_t>(const json& value, const std::string& place) {
    return NumberOf<std::uint16_t>(value, place);
}

template<>
std::uint32_t ValueOf<std::uint32_t>(const json& value, const std::string& place) {
    return NumberOf<std::uint32_t>(value, place);
}

template<>
std::uint64_t ValueOf<std::uint64_t>(const json& value, const std::string& place) {
    return NumberOf<std::uint64_t>(value, place);
}

SettingsReader::SettingsReader(const json& object, std::string place) : m_Object(object), m_Place(std::move(place)) {
    if (!object.is_object())
        throw SettingsError(m_Place.empty() ? "the whole" : m_Place, "an object {...} is expected");
}

const json* SettingsReader::Find(const char* key) {
    m_Known.push_back(key);
    const auto found = m_Object.find(key);
    return found == m_Object.end() ? nullptr : &*found;
}

void SettingsReader::Finish() const {
    for (const auto& item : m_Object.items())
        if (std::find(m_Known.begin(), m_Known.end(), item.key()) == m_Known.end())
            throw SettingsError(PlaceOf(item.key().c_str()), "there is no such key; the keys are " + Listed(m_Known));
}

} // namespace virtualcam
