#include "Base/GCString.h"

#include "gcbase/WideText.h"

#include <istream>
#include <ostream>

namespace GenICam {

gcstring::gcstring(const wchar_t* text) : m_Text(text != nullptr ? ToUtf8(text) : std::string()) {}

gcstring::gcstring(const std::wstring& text) : m_Text(ToUtf8(text)) {}

std::wstring gcstring::w_str() const {
    return ToWide(m_Text);
}

gcstring& gcstring::assign(const std::string& text) {
    m_Text = text;
    return *this;
}

gcstring& gcstring::assign(std::size_t count, char character) {
    m_Text.assign(count, character);
    return *this;
}

gcstring& gcstring::append(const gcstring& text) {
    m_Text.append(text.m_Text);
    return *this;
}

gcstring& gcstring::append(const char* text) {
    if (text != nullptr) m_Text.append(text);
    return *this;
}

gcstring& gcstring::append(const char* text, std::size_t count) {
    m_Text.append(text, count);
    return *this;
}

gcstring& gcstring::append(std::size_t count, char character) {
    m_Text.append(count, character);
    return *this;
}

gcstring& gcstring::erase(std::size_t position, std::size_t count) {
    m_Text.erase(position, count);
    return *this;
}

gcstring& gcstring::insert(std::size_t position, const gcstring& text) {
    m_Text.insert(position, text.m_Text);
    return *this;
}

gcstring operator+(const gcstring& a, const gcstring& b) {
    return a.str() + b.str();
}

gcstring operator+(const gcstring& a, const char* b) {
    return b != nullptr ? a.str() + b : a.str();
}

gcstring operator+(const char* a, const gcstring& b) {
    return a != nullptr ? a + b.str() : b.str();
}

gcstring operator+(const gcstring& a, char b) {
    return a.str() + b;
}

gcstring operator+(char a, const gcstring& b) {
    return a + b.str();
}

std::ostream& operator<<(std::ostream& out, const gcstring& text) {
    return out << text.view();
}

std::istream& operator>>(std::istream& in, gcstring& text) {
    std::string word;
    if (in >> word) text = gcstring(std::move(word));
    return in;
}

std::istream& getline(std::istream& in, gcstring& line, char end) {
    std::string standard;
    if (std::getline(in, standard, end)) line = gcstring(std::move(standard));
    return in;
}

} // namespace GenICam
