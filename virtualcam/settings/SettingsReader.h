#pragma once
// Reading one object of a settings file, strictly: what is not understood is told with its place in the file.

#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

#include "virtualcam/settings/FaultNames.h"

namespace virtualcam {

/// A mistake in the settings; the text begins with its place.
class SettingsError : public std::runtime_error {
public:
    SettingsError(const std::string& place, const std::string& what) : std::runtime_error(place + ": " + what) {}
};

/// The value, if it is of the type and in its range; throws SettingsError otherwise.
template<class T>
T ValueOf(const nlohmann::json& value, const std::string& place);

/// Reads the keys of an object one by one; Finish refuses those that nobody asked for. Bound to a thread.
class SettingsReader {
public:
    SettingsReader(const nlohmann::json& object, std::string place);

    const nlohmann::json* Find(const char* key);
    std::string PlaceOf(const char* key) const { return m_Place.empty() ? key : m_Place + "." + key; }

    template<class T>
    void Value(const char* key, T& value) {
        if (const nlohmann::json* found = Find(key)) value = ValueOf<T>(*found, PlaceOf(key));
    }
    template<class T>
    void Value(const char* key, std::optional<T>& value) {
        if (const nlohmann::json* found = Find(key)) value = ValueOf<T>(*found, PlaceOf(key));
    }
    template<class T>
    void Value(const char* key, std::vector<T>& values) {
        ForEach(key, [&values](const nlohmann::json& item, const std::string& place) {
            values.push_back(ValueOf<T>(item, place));
        });
    }
    template<class E>
    void Name(const char* key, const Names<E>& names, E& value) {
        if (const nlohmann::json* found = Find(key)) value = ByName(names, *found, PlaceOf(key));
    }
    /// Calls use(item, place) for each item of an array.
    template<class F>
    void ForEach(const char* key, F&& use) {
        const nlohmann::json* const found = Find(key);
        if (!found) return;
        if (!found->is_array()) throw SettingsError(PlaceOf(key), "an array [...] is expected");
        std::size_t index = 0;
        for (const nlohmann::json& item : *found)
            use(item, PlaceOf(key) + "[" + std::to_string(index++) + "]");
    }
    void Finish() const;

private:
    const nlohmann::json& m_Object;
    const std::string m_Place;
    std::vector<std::string> m_Known;

    template<class E>
    static E ByName(const Names<E>& names, const nlohmann::json& name, const std::string& place) {
        std::string allowed;
        for (const Named<E>& row : names) {
            if (name == row.name) return row.value;
            allowed += (allowed.empty() ? "" : ", ") + std::string(row.name);
        }
        throw SettingsError(place, name.dump() + " is none of " + allowed);
    }
};

} // namespace virtualcam
