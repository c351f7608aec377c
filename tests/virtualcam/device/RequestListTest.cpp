#include "virtualcam/device/RequestList.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using virtualcam::Request;
using virtualcam::RequestList;

class Requests : public testing::Test {
protected:
    Requests() {
        for (Request& request : requests)
            list.Append(request);
    }
    std::vector<const Request*> Listed() const {
        std::vector<const Request*> listed;
        for (const Request* request = list.First(); request; request = request->next)
            listed.push_back(request);
        EXPECT_EQ(list.Size(), listed.size());
        EXPECT_EQ(list.IsEmpty(), listed.empty());
        return listed;
    }

    Request requests[3];
    RequestList list;
};

using Listing = std::vector<const Request*>;

TEST_F(Requests, StandInTheOrderOfTheirArrival) {
    EXPECT_EQ(Listed(), (Listing{&requests[0], &requests[1], &requests[2]}));
}

TEST_F(Requests, LeaveFromAnyPlaceAndComeBackAtTheEnd) {
    for (Request& request : requests) {
        list.Remove(request);
        EXPECT_EQ(Listed().size(), 2u);
        list.Append(request);
        EXPECT_EQ(Listed().back(), &request);
    }
    EXPECT_EQ(Listed(), (Listing{&requests[0], &requests[1], &requests[2]}));
    list.Remove(requests[2]);
    list.Remove(requests[1]);
    EXPECT_EQ(Listed(), Listing{&requests[0]});
    list.Remove(requests[0]);
    EXPECT_EQ(Listed(), Listing{});
    list.Append(requests[1]);
    EXPECT_EQ(Listed(), Listing{&requests[1]});
}

TEST_F(Requests, AreNotTakenOutOfAListThatDoesNotHoldThem) {
    RequestList other;
    other.Remove(requests[1]);
    Request stray;
    list.Remove(stray);
    EXPECT_EQ(Listed().size(), 3u);
    list.Remove(requests[1]);
    other.Append(requests[1]);
    list.Remove(requests[1]);
    EXPECT_EQ(other.Size(), 1u);
    EXPECT_EQ(Listed(), (Listing{&requests[0], &requests[2]}));
}

} // namespace
