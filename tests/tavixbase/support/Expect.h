#pragma once
// Words for exceptions in tests.

#include "Base/GCException.h"

#include <gtest/gtest.h>

#include <optional>

namespace Tavix {

// What `action` throws, when it is of that very kind.
template<class Exception, class Action>
std::optional<Exception> Thrown(Action action) {
    try {
        action();
    } catch (const Exception& e) {
        return e;
    } catch (const std::exception& e) {
        ADD_FAILURE() << "another exception: " << e.what();
        return {};
    }
    ADD_FAILURE() << "no exception";
    return {};
}

} // namespace Tavix

#define EXPECT_THROW_TEXT(Kind, expression, text)                                                                      \
    do {                                                                                                               \
        const auto thrown = ::Tavix::Thrown<::GenICam::Kind>([&] { expression; });                                     \
        if (thrown) {                                                                                                  \
            EXPECT_STREQ(thrown->GetDescription(), text);                                                              \
        }                                                                                                              \
    } while (false)

#define EXPECT_THROW_PARTS(Kind, expression, part1, part2)                                                             \
    do {                                                                                                               \
        const auto thrown = ::Tavix::Thrown<::GenICam::Kind>([&] { expression; });                                     \
        if (thrown) {                                                                                                  \
            EXPECT_NE(std::string(thrown->GetDescription()).find(part1), std::string::npos)                            \
                << thrown->GetDescription();                                                                           \
            EXPECT_NE(std::string(thrown->GetDescription()).find(part2), std::string::npos)                            \
                << thrown->GetDescription();                                                                           \
        }                                                                                                              \
    } while (false)
