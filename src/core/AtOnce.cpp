#include "core/AtOnce.h"
#include "core/Threads.h"

#include <exception>
#include <thread>
#include <vector>

namespace Tavix {

void AtOnce(std::size_t count, const std::function<void(std::size_t)>& step) {
    std::vector<std::exception_ptr> thrown(count);
    const auto call = [&](std::size_t number) {
        try {
            step(number);
        } catch (...) {
            thrown[number] = std::current_exception();
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (std::size_t number = 1; number < count; ++number) {
        try {
            threads.push_back(StartThread([&call, number] { call(number); }));
        } catch (const std::exception&) { // neither thread nor memory for one
            call(number);
        }
    }
    if (count > 0) call(0);
    for (std::thread& thread : threads)
        thread.join();
    for (const std::exception_ptr& each : thrown)
        if (each) std::rethrow_exception(each);
}

} // namespace Tavix
