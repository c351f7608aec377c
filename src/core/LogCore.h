#pragma once
// What the parts of the log share: the switch that makes a silent log cheap, the way out to log4cpp and to listeners.

#include <atomic>
#include <string>

namespace Tavix {
namespace logging {

constexpr unsigned int kNothing = 0xFFFFFFFF; // a lowest level that no line reaches

// Levels below this one go nowhere, whatever the category. Only a hint: it may lag behind for an instant.
extern std::atomic<unsigned int> g_LowestLevel; // read relaxed: categories and listeners have locks of their own

// Recomputes g_LowestLevel from the appenders and the listeners.
void UpdateLowestLevel();

// --- LogConfig.cpp: log4cpp ---

// Reads the properties file on the first call. Never throws.
void ConfigureOnce();
// The lowest level that the appenders of this category want; kNothing if none.
unsigned int LowestAppenderLevel(const std::string& category);
void Append(const std::string& category, unsigned int level, const std::string& text);

// --- LogSink.cpp: listeners ---

bool HasListeners();
void Deliver(const std::string& category, unsigned int level, const std::string& text);

} // namespace logging
} // namespace Tavix
