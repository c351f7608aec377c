#pragma once
// What a step does and says: calls of the USB access library and the log lines of one category, in one list.

#include "Base/GCException.h"
#include "support/FakeVexlo.h"
#include "support/LogLines.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <vector>

/// Calls stand with their names, lines with level and text: "Stream.Open", "64 Opening ...". Listens from construction
/// to destruction. Thread-safe.
class CallRecord {
public:
    explicit CallRecord(std::string category) : m_Category(std::move(category)) {
        FakeVexlo::Get().onCall = [this](const std::string& call) { Write(call); };
    }
    ~CallRecord() { FakeVexlo::Get().onCall = nullptr; }
    CallRecord(const CallRecord&) = delete;
    CallRecord& operator=(const CallRecord&) = delete;

    std::vector<std::string> Of(const std::function<void()>& step) {
        m_Entries.clear();
        step();
        const std::lock_guard<std::mutex> guard(m_Lock);
        return m_Entries;
    }

private:
    void Write(const std::string& entry) {
        const std::lock_guard<std::mutex> guard(m_Lock);
        m_Entries.push_back(entry);
    }

    const std::string m_Category;
    mutable std::mutex m_Lock;
    std::vector<std::string> m_Entries;
    Tavix::LogSink m_Sink{[this](const char* category, unsigned int level, const char* text) {
        if (category == m_Category) Write(std::to_string(level) + " " + text);
    }};
};

/// The text of the GenICam exception that the step throws; empty when it throws none.
inline std::string FailureOf(const std::function<void()>& step) {
    try {
        step();
    } catch (const GenICam::GenericException& failure) {
        return failure.GetDescription();
    }
    return {};
}

/// The operation calls the USB access library, and each time no other thread could take the lock.
template<class RecursiveMutex>
void ExpectLockedCalls(RecursiveMutex& lock, const std::function<void()>& operation) {
    int calls = 0;
    bool isFree = false;
    FakeVexlo::Get().onCall = [&](const std::string&) {
        ++calls;
        auto tried = std::async(std::launch::async, [&lock] {
            const bool isMine = lock.try_lock();
            if (isMine) lock.unlock();
            return isMine;
        });
        isFree = isFree || tried.get();
    };
    operation();
    FakeVexlo::Get().onCall = nullptr;
    EXPECT_LT(0, calls);
    EXPECT_FALSE(isFree);
}
