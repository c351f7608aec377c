#include "core/Log.h"

#include "core/Format.h"
#include "core/LogCore.h"
#include "core/Mutex.h"
#include "core/Printable.h"
#include "core/SharedMutex.h"

#include <algorithm>
#include <deque>
#include <unordered_map>

namespace Tavix {
namespace logging {

std::atomic<unsigned int> g_LowestLevel{kNothing};

namespace {

// constant after construction
struct Category {
    std::string name;
    unsigned int lowestAppenderLevel;
};

// All categories that anybody asked for. Ids are places in the list, so they never change.
// thread-safe
class Categories {
public:
    // Never destroyed: destructors of other statics log, too.
    static Categories& Get() {
        static Categories& categories = *new Categories;
        return categories;
    }

    unsigned int FindOrAdd(const char* name) {
        const WriteLock lock(m_Mutex);
        const auto id = static_cast<unsigned int>(m_List.size());
        const auto [place, isNew] = m_Ids.try_emplace(name, id);
        if (isNew) m_List.push_back({name, LowestAppenderLevel(name)});
        return place->second;
    }

    // Null for an id that was never given out. What is found stays where it is.
    const Category* Find(unsigned int id) const {
        const ReadLock lock(m_Mutex);
        return id < m_List.size() ? &m_List[id] : nullptr;
    }

    unsigned int LowestLevel() const {
        const ReadLock lock(m_Mutex);
        unsigned int lowest = kNothing;
        for (const Category& category : m_List)
            lowest = std::min(lowest, category.lowestAppenderLevel);
        return lowest;
    }

private:
    mutable SharedMutex m_Mutex;
    std::deque<Category> m_List TAVIX_GUARDED_BY(m_Mutex);
    std::unordered_map<std::string, unsigned int> m_Ids TAVIX_GUARDED_BY(m_Mutex);
};

// The category if the line has a reader.
const Category* FindListenedTo(unsigned int catId, unsigned int level) {
    if (level < g_LowestLevel.load(std::memory_order_relaxed)) return nullptr;
    const Category* category = Categories::Get().Find(catId);
    if (category == nullptr || (level < category->lowestAppenderLevel && !HasListeners())) return nullptr;
    return category;
}

// A line stays one line, whatever a camera called itself.
void Write(const Category& category, unsigned int level, const char* format, va_list arguments) {
    const std::string text = Printable(FormatV(format, arguments));
    if (level >= category.lowestAppenderLevel) Append(category.name, level, text);
    Deliver(category.name, level, text);
}

} // namespace

} // namespace logging

unsigned int LogGetCatID(const char* name) {
    logging::ConfigureOnce();
    const unsigned int id = logging::Categories::Get().FindOrAdd(name != nullptr ? name : "");
    logging::UpdateLowestLevel();
    return id;
}

bool LogIsEnabled(unsigned int catId, unsigned int level) {
    return logging::FindListenedTo(catId, level) != nullptr;
}

void LogTrace(unsigned int catId, unsigned int level, const char* format, ...) {
    if (level < logging::g_LowestLevel.load(std::memory_order_relaxed)) return;
    va_list arguments;
    va_start(arguments, format);
    LogTraceV(catId, level, format, arguments);
    va_end(arguments);
}

void LogTraceV(unsigned int catId, unsigned int level, const char* format, va_list arguments) {
    const logging::Category* category = logging::FindListenedTo(catId, level);
    if (category == nullptr) return;
    try {
        logging::Write(*category, level, format, arguments);
    } catch (...) {
        // Destructors and error paths log: a line that cannot be written is lost, the caller goes on.
    }
}

void logging::UpdateLowestLevel() {
    // Looked up and stored in one step: otherwise a thread that looked before a listener came might store after it.
    static Mutex mutex;
    const MutexLock lock(mutex);
    g_LowestLevel = HasListeners() ? 0 : Categories::Get().LowestLevel();
}

} // namespace Tavix
