#include "tavix/Callback.h"

#include <gtest/gtest.h>

#include <memory>

namespace Tavix {
namespace {

struct Client {
    int sum = 0;
    void Add(int value) { sum += value; }
};

int g_Last = 0;
void Remember(int value) {
    g_Last = value;
}

} // namespace

TEST(Callback1, CallsAFunctionObjectThroughItsClone) {
    int sum = 0;
    auto callback = MakeCallback<int>([&sum](int value) { sum += value; });
    const std::unique_ptr<Callback1<int>> clone(callback.clone());
    (*clone)(2);
    callback(3);
    EXPECT_EQ(sum, 5);
}

TEST(Callback1, CallsAFunction) {
    auto callback = MakeCallback<int>(&Remember);
    callback(7);
    EXPECT_EQ(g_Last, 7);
}

TEST(Callback1, CallsAMemberOfItsClientThroughItsClone) {
    Client client;
    std::unique_ptr<Callback1<int>> clone;
    {
        Member_Callback1<int, Client> callback(client, &Client::Add);
        clone.reset(callback.clone());
    }
    (*clone)(4);
    EXPECT_EQ(client.sum, 4);
}

} // namespace Tavix
