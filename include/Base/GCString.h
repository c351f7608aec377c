#pragma once
// GenICam's text: narrow, UTF-8, used like std::string and accepted wherever a C text is.

#include "Base/Export.h"

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

namespace GenICam {

/// A null C text counts as empty. Positions and counts are bytes. What std::string throws for a position outside, this
/// throws as well (std::out_of_range). Text may hold zero bytes; the conversion to a C text then ends early for its
/// reader. Re-entrant.
class TAVIX_GCBASE_API gcstring {
public:
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    gcstring() = default;
    gcstring(const char* text) : m_Text(text != nullptr ? text : "") {}
    gcstring(const char* text, std::size_t count) : m_Text(text, count) {}
    gcstring(std::size_t count, char character) : m_Text(count, character) {}
    gcstring(const std::string& text) : m_Text(text) {}
    gcstring(std::string&& text) noexcept : m_Text(std::move(text)) {}
    explicit gcstring(std::string_view text) : m_Text(text) {}
    /// Wide text becomes UTF-8; what is no code point becomes U+FFFD.
    gcstring(const wchar_t* text);
    explicit gcstring(const std::wstring& text);

    gcstring& operator=(const char* text) { return assign(text); }
    gcstring& operator=(const std::string& text) { return assign(text); }
    gcstring& operator=(const wchar_t* text) { return *this = gcstring(text); }

    /// As C text, as standard text, and as wide text (bytes that are no UTF-8 become U+FFFD).
    const char* c_str() const noexcept { return m_Text.c_str(); }
    operator const char*() const noexcept { return m_Text.c_str(); }
    const std::string& str() const noexcept { return m_Text; }
    std::string_view view() const noexcept { return m_Text; }
    std::wstring w_str() const;

    std::size_t size() const noexcept { return m_Text.size(); }
    std::size_t length() const noexcept { return m_Text.size(); }
    std::size_t max_size() const noexcept { return m_Text.max_size(); }
    std::size_t capacity() const noexcept { return m_Text.capacity(); }
    bool empty() const noexcept { return m_Text.empty(); }
    const char* begin() const noexcept { return m_Text.data(); }
    const char* end() const noexcept { return m_Text.data() + m_Text.size(); }
    const char* data() const noexcept { return m_Text.data(); }
    char front() const { return m_Text.at(0); }
    char back() const { return m_Text.at(m_Text.size() - 1); }
    char at(std::size_t position) const { return m_Text.at(position); }
    char& at(std::size_t position) { return m_Text.at(position); }

    void clear() noexcept { m_Text.clear(); }
    void reserve(std::size_t count) { m_Text.reserve(count); }
    void resize(std::size_t count, char fill = '\0') { m_Text.resize(count, fill); }
    void swap(gcstring& other) noexcept { m_Text.swap(other.m_Text); }
    void push_back(char character) { m_Text.push_back(character); }

    gcstring& assign(const gcstring& text) { return *this = text; }
    gcstring& assign(const char* text) { return *this = gcstring(text); } // by a copy: text may be a part of this one
    gcstring& assign(const std::string& text);
    gcstring& assign(const char* text, std::size_t count) { return *this = gcstring(text, count); }
    gcstring& assign(std::size_t count, char character);
    gcstring& append(const gcstring& text);
    gcstring& append(const char* text);
    gcstring& append(const char* text, std::size_t count);
    gcstring& append(std::size_t count, char character);
    gcstring& erase(std::size_t position = 0, std::size_t count = npos);
    gcstring& insert(std::size_t position, const gcstring& text);
    gcstring& operator+=(const gcstring& text) { return append(text); }
    gcstring& operator+=(const char* text) { return append(text); }
    gcstring& operator+=(char character) { return append(1, character); }

    int compare(const gcstring& other) const noexcept { return m_Text.compare(other.m_Text); }
    int compare(const char* other) const noexcept { return view().compare(other != nullptr ? other : ""); }

    std::size_t find(const gcstring& text, std::size_t from = 0) const noexcept {
        return m_Text.find(text.m_Text, from);
    }
    std::size_t find(const char* text, std::size_t from = 0) const { return m_Text.find(text, from); }
    std::size_t find(const char* text, std::size_t from, std::size_t count) const {
        return m_Text.find(text, from, count);
    }
    std::size_t find(char character, std::size_t from = 0) const noexcept { return m_Text.find(character, from); }
    std::size_t rfind(const gcstring& text, std::size_t from = npos) const noexcept {
        return m_Text.rfind(text.m_Text, from);
    }
    std::size_t rfind(const char* text, std::size_t from = npos) const { return m_Text.rfind(text, from); }
    std::size_t rfind(char character, std::size_t from = npos) const noexcept { return m_Text.rfind(character, from); }
    std::size_t find_first_of(const char* set, std::size_t from = 0) const { return m_Text.find_first_of(set, from); }
    std::size_t find_first_not_of(const char* set, std::size_t from = 0) const {
        return m_Text.find_first_not_of(set, from);
    }
    std::size_t find_last_of(const char* set, std::size_t from = npos) const { return m_Text.find_last_of(set, from); }
    std::size_t find_last_not_of(const char* set, std::size_t from = npos) const {
        return m_Text.find_last_not_of(set, from);
    }
    gcstring substr(std::size_t position = 0, std::size_t count = npos) const { return m_Text.substr(position, count); }

private:
    std::string m_Text;
};

inline bool operator==(const gcstring& a, const gcstring& b) noexcept {
    return a.view() == b.view();
}
inline bool operator==(const gcstring& a, const char* b) noexcept {
    return a.compare(b) == 0;
}
inline bool operator==(const char* a, const gcstring& b) noexcept {
    return b.compare(a) == 0;
}
inline bool operator!=(const gcstring& a, const gcstring& b) noexcept {
    return !(a == b);
}
inline bool operator!=(const gcstring& a, const char* b) noexcept {
    return !(a == b);
}
inline bool operator!=(const char* a, const gcstring& b) noexcept {
    return !(a == b);
}
inline bool operator<(const gcstring& a, const gcstring& b) noexcept {
    return a.view() < b.view();
}
inline bool operator>(const gcstring& a, const gcstring& b) noexcept {
    return b < a;
}
inline bool operator<=(const gcstring& a, const gcstring& b) noexcept {
    return !(b < a);
}
inline bool operator>=(const gcstring& a, const gcstring& b) noexcept {
    return !(a < b);
}

TAVIX_GCBASE_API gcstring operator+(const gcstring& a, const gcstring& b);
TAVIX_GCBASE_API gcstring operator+(const gcstring& a, const char* b);
TAVIX_GCBASE_API gcstring operator+(const char* a, const gcstring& b);
TAVIX_GCBASE_API gcstring operator+(const gcstring& a, char b);
TAVIX_GCBASE_API gcstring operator+(char a, const gcstring& b);

inline void swap(gcstring& a, gcstring& b) noexcept {
    a.swap(b);
}

TAVIX_GCBASE_API std::ostream& operator<<(std::ostream& out, const gcstring& text);
TAVIX_GCBASE_API std::istream& operator>>(std::istream& in, gcstring& text); ///< one word
TAVIX_GCBASE_API std::istream& getline(std::istream& in, gcstring& line, char end = '\n');

} // namespace GenICam
/// \cond
template<>
struct std::hash<GenICam::gcstring> {
    std::size_t operator()(const GenICam::gcstring& text) const noexcept {
        return std::hash<std::string_view>()(text.view());
    }
};
/// \endcond
