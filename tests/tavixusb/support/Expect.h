#pragma once
// Expectations about GenICam exceptions.

#include "Base/GCException.h"

#include <gtest/gtest.h>

/// The statement throws exactly this exception with this text from this source file.
#define EXPECT_FAILURE(Kind, file, text, statement)                                                                    \
    do {                                                                                                               \
        bool thrown = false;                                                                                           \
        try {                                                                                                          \
            statement;                                                                                                 \
        } catch (const GenICam::Kind& failure) {                                                                       \
            thrown = true;                                                                                             \
            EXPECT_EQ(std::string(text), failure.GetDescription());                                                    \
            EXPECT_EQ(std::string(file), failure.GetSourceFileName());                                                 \
            EXPECT_LT(0u, failure.GetSourceLine());                                                                    \
        }                                                                                                              \
        EXPECT_TRUE(thrown) << #statement << " was to throw " #Kind;                                                   \
    } while (false)
