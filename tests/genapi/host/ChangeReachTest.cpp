// Who hears of a change.
#include "genapi/nodes/host/ChangeReach.h"

#include <gtest/gtest.h>

using genapi::ChangeReach;
using Nodes = std::vector<genapi::NodeIndex>;

TEST(ChangeReach, MeetsEachNodeOnceSourcesFirst) {
    ChangeReach reach;
    reach.Resize(5);
    reach.Add(0, 2, false);
    reach.Add(1, 2, false);
    reach.Add(2, 3, false);
    reach.Add(3, 0, false); // a circle
    reach.Build();
    EXPECT_EQ(reach.Of({1, 0}), (Nodes{1, 0, 2, 3}));
    EXPECT_EQ(reach.Of({4, 4}), Nodes{4});
    EXPECT_EQ(reach.Of({3}), (Nodes{3, 0, 2})) << "each walk is a new one";
}

TEST(ChangeReach, OfAMapThatIsNotFinishedIsTheSourcesAlone) {
    ChangeReach reach;
    reach.Resize(2);
    reach.Add(0, 1, false);
    EXPECT_EQ(reach.Of({0}), Nodes{0});
}

TEST(ChangeReach, TellsWhoRereadsItselfOverAnInvalidator) {
    ChangeReach reach;
    reach.Resize(4);
    reach.Add(0, 1, false);
    reach.Add(1, 0, true);
    reach.Add(2, 3, false);
    reach.Add(3, 2, false);
    reach.Build();
    EXPECT_TRUE(reach.RereadsItself(0));
    EXPECT_TRUE(reach.RereadsItself(1));
    EXPECT_FALSE(reach.RereadsItself(2));
}
