// The callbacks that wait at nodes.
#include "genapi/nodes/host/CallbackTable.h"

#include <gtest/gtest.h>

using genapi::CallbackTable;

namespace {

/// Lives on the stack; nobody retires it.
class Idle final : public GenApi::CNodeCallback {
public:
    Idle() : CNodeCallback(nullptr, GenApi::cbPostInsideLock) {}
    void operator()(GenApi::ECallbackType) const override {}
    void Destroy() override {}
};

} // namespace

TEST(CallbackTable, ListsTheCallbacksOfANodeInOrderOfRegistration) {
    CallbackTable table;
    table.Resize(2);
    Idle first, second;
    EXPECT_EQ(table.Of(1), nullptr);
    table.Add(1, nullptr, &first);
    table.Add(1, nullptr, &second);
    ASSERT_NE(table.Of(1), nullptr);
    ASSERT_EQ(table.Of(1)->size(), 2u);
    EXPECT_EQ(table.Of(1)->at(0).pCallback, &first);
    EXPECT_EQ(table.Of(1)->at(1).pCallback, &second);
    EXPECT_EQ(table.Of(0), nullptr);
    table.TakeAll();
}

TEST(CallbackTable, RemovesWhatIsTheNodesOnly) {
    CallbackTable table;
    table.Resize(2);
    Idle callback;
    table.Add(1, nullptr, &callback);
    EXPECT_FALSE(table.Remove(0, &callback));
    EXPECT_TRUE(table.Remove(1, &callback));
    EXPECT_EQ(table.Of(1), nullptr);
    EXPECT_FALSE(table.Remove(1, &callback));
}

TEST(CallbackTable, GivesAllAwayAndIsEmpty) {
    CallbackTable table;
    table.Resize(3);
    Idle first, second;
    table.Add(0, nullptr, &first);
    table.Add(2, nullptr, &second);
    const CallbackTable::Lists all = table.TakeAll();
    EXPECT_EQ(all.size(), 2u);
    EXPECT_EQ(all.at(2).front().pCallback, &second);
    EXPECT_EQ(table.Of(0), nullptr);
    EXPECT_EQ(table.Of(2), nullptr);
}
