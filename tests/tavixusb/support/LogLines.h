#pragma once
// The log lines of a test, for as long as it listens.

#include "core/LogSink.h"

#include <gmock/gmock.h>

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

struct LogLine {
    std::string category;
    unsigned int level;
    std::string text;

    bool operator==(const LogLine& other) const {
        return category == other.category && level == other.level && text == other.text;
    }
    friend std::ostream& operator<<(std::ostream& out, const LogLine& line) {
        return out << line.category << " " << line.level << ": " << line.text;
    }
};

/// Listens from construction to destruction. Thread-safe.
class LogLines {
public:
    std::vector<LogLine> All() const {
        const std::lock_guard<std::mutex> guard(m_Lock);
        return m_Lines;
    }
    std::vector<LogLine> From(const std::string& category) const {
        std::vector<LogLine> lines;
        for (const LogLine& line : All()) {
            if (line.category == category) lines.push_back(line);
        }
        return lines;
    }
    int Count(const LogLine& wanted) const {
        int count = 0;
        for (const LogLine& line : All())
            count += line == wanted ? 1 : 0;
        return count;
    }
    void Forget() {
        const std::lock_guard<std::mutex> guard(m_Lock);
        m_Lines.clear();
    }

private:
    mutable std::mutex m_Lock;
    std::vector<LogLine> m_Lines;
    Tavix::LogSink m_Sink{[this](const char* category, unsigned int level, const char* text) {
        const std::lock_guard<std::mutex> guard(m_Lock);
        m_Lines.push_back({category, level, text});
    }};
};
