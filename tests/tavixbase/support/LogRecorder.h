#pragma once
// Keeps the log lines of one category while it lives.

#include "core/LogSink.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace Tavix {

inline constexpr unsigned int kWarning = 128; // its level

struct LogLine {
    unsigned int level;
    std::string text;
    bool operator==(const LogLine& other) const { return level == other.level && text == other.text; }
};

inline std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << line.level << " " << line.text;
}

// Bound to a thread: lines are looked at by the thread that causes them.
class LogRecorder {
public:
    explicit LogRecorder(std::string category)
        : m_Category(std::move(category)), m_Sink([this](const char* name, unsigned int level, const char* text) {
              if (m_Category == name) m_Lines.push_back({level, text});
          }) {}

    const std::vector<LogLine>& Lines() const { return m_Lines; }
    bool Has(unsigned int level, const std::string& text) const {
        return std::find(m_Lines.begin(), m_Lines.end(), LogLine{level, text}) != m_Lines.end();
    }
    bool HasLineWith(unsigned int level, const std::string& part) const { return Count(level, part) > 0; }
    long Count(unsigned int level, const std::string& part) const {
        return std::count_if(m_Lines.begin(), m_Lines.end(), [&](const LogLine& line) {
            return line.level == level && line.text.find(part) != std::string::npos;
        });
    }

private:
    const std::string m_Category;
    std::vector<LogLine> m_Lines;
    LogSink m_Sink; // last, so that it ends first
};

} // namespace Tavix
