#include "gstreamer/element/Options.h"

#include <utility>

namespace tavixgst {
namespace {

constexpr std::pair<const char*, const char*> kNames[] = {{"memoryLimit", "memory-limit"},
                                                          {"keepBudget", "keep-budget"},
                                                          {"newestOnly", "newest-only"},
                                                          {"transferSize", "transfer-size"},
                                                          {"threadPriority", "thread-priority"}};

template<class T>
void AddIfSet(std::string& list, const char* name, T value, T standard) {
    if (value != standard) list += (list.empty() ? "" : " ") + std::string(name) + "=" + std::to_string(value);
}

} // namespace

std::string Options::InTheirWords(std::string text) const {
    for (const auto& [option, property] : kNames) {
        const std::string name = option;
        for (std::size_t at = 0; (at = text.find(name, at)) != std::string::npos;)
            text.replace(at, name.size(), property);
    }
    const Options standard;
    std::string list;
    AddIfSet(list, "buffers", buffers, standard.buffers);
    AddIfSet(list, "memory-limit", memoryLimit, standard.memoryLimit);
    AddIfSet(list, "transfer-size", transferSize, standard.transferSize);
    AddIfSet(list, "thread-priority", threadPriority, standard.threadPriority);
    return list.empty() ? text : text + "; tavixsrc is set to " + list;
}

} // namespace tavixgst
