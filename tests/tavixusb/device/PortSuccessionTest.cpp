#include "device/PortSuccession.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

struct PortUser {
    void LosePorts() { hasPorts = false; }
    void RegainPorts() { hasPorts = true; }
    bool hasPorts = true;
};

struct PortsInSuccession : testing::Test {
    PortUser* Add(PortUser& user) {
        return users.Add([&] { return &user; });
    }
    void FailToAdd() {
        EXPECT_THROW(users.Add([]() -> PortUser* { throw std::runtime_error("no memory"); }), std::runtime_error);
    }

    Tavix::PortSuccession<PortUser> users;
    PortUser first, second;
};

TEST_F(PortsInSuccession, GivesThePortsBackWhenTheNextUserCannotBeMade) {
    Add(first);
    FailToAdd();
    EXPECT_TRUE(first.hasPorts);
}

TEST_F(PortsInSuccession, KeepsNoPlaceForAUserThatCouldNotBeMade) {
    Add(first);
    FailToAdd();
    Add(second);
    EXPECT_FALSE(first.hasPorts);
    users.Remove(&second, [] {});
    EXPECT_TRUE(first.hasPorts);
}

TEST_F(PortsInSuccession, TakesAFirstUserAfterOneThatCouldNotBeMade) {
    FailToAdd();
    Add(first);
    EXPECT_TRUE(first.hasPorts);
}

} // namespace
