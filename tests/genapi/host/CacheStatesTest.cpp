// Which caches hold.
#include "genapi/nodes/host/CacheStates.h"

#include <gtest/gtest.h>

using genapi::CacheStates;

TEST(CacheStates, AreInvalidUntilToldOtherwise) {
    CacheStates caches;
    caches.Resize(2);
    EXPECT_FALSE(caches.IsValid(0));
    caches.SetValid(0);
    EXPECT_TRUE(caches.IsValid(0));
    EXPECT_FALSE(caches.IsValid(1));
    caches.SetInvalid(0);
    EXPECT_FALSE(caches.IsValid(0));
}

TEST(CacheStates, KeepTheEndsOfAWriteApartFromWhatIsValid) {
    CacheStates caches;
    caches.Resize(2);
    caches.SetValid(0);
    caches.SetTerminal(0, true);
    caches.SetTerminal(1, true);
    caches.SetAllInvalid();
    EXPECT_FALSE(caches.IsValid(0));
    EXPECT_TRUE(caches.IsTerminal(0));
    caches.SetValid(1);
    caches.SetTerminal(1, false);
    EXPECT_TRUE(caches.IsValid(1));
    EXPECT_FALSE(caches.IsTerminal(1));
}
