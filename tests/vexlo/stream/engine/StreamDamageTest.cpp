// The engine when the camera sends what it should not.

#include "vexlo/stream/support/EngineBench.h"

using namespace streamtest;

namespace {

/// A block that goes wrong in transport, as the transfers that a camera makes of it.
struct Damage {
    const char* name;
    std::vector<Bytes> (*transfers)(const EngineBench& bench);
    VxStatus status; ///< of its buffer
};
void PrintTo(const Damage& damage, std::ostream* out) {
    *out << damage.name;
}

constexpr std::uint64_t kBad = 3; ///< id of the damaged block

std::vector<Bytes> Good(const EngineBench& bench) {
    return bench.Good(kBad);
}
std::vector<Bytes> Replaced(std::vector<Bytes> transfers, std::size_t index, const Bytes& by) {
    transfers[index] = by;
    return transfers;
}
Bytes Start(Bytes bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}
Bytes Spoilt(Bytes bytes) {
    bytes[0] ^= 0xFF;
    return bytes;
}
std::size_t Last(const EngineBench& bench) {
    return bench.plan.PayloadTransfers() + 1;
}

const Damage kDamages[] = {
    {"LostLeader", [](const EngineBench& b) { return Without(Good(b), 0); }, VX_E_BAD_LEADER},
    {"LostTrailer", [](const EngineBench& b) { return Without(Good(b), Last(b)); }, VX_E_BAD_TRAILER},
    {"LostFirstTransfer", [](const EngineBench& b) { return Without(Good(b), 1); }, VX_E_INCOMPLETE},
    {"LostLastTransfer", [](const EngineBench& b) { return Without(Good(b), Last(b) - 1); }, VX_E_INCOMPLETE},
    {"LostPayload",
     [](const EngineBench& b) {
         return std::vector<Bytes>{Good(b).front(), Good(b).back()};
     },
     VX_E_INCOMPLETE},
    {"TrailerAlone", [](const EngineBench& b) { return std::vector<Bytes>{Good(b).back()}; }, VX_OK},
    {"LeaderAlone", [](const EngineBench& b) { return std::vector<Bytes>{Good(b).front()}; }, VX_E_INCOMPLETE},
    {"LeaderAndTrailerSwapped",
     [](const EngineBench& b) { return Replaced(Replaced(Good(b), 0, Good(b).back()), Last(b), Good(b).front()); },
     VX_E_BAD_TRAILER},
    {"TwoLeaders", [](const EngineBench& b) { return Inserted(Good(b), 0, Good(b).front()); }, VX_E_INCOMPLETE},
    {"TwoTrailers", [](const EngineBench& b) { return Inserted(Good(b), Last(b), Good(b).back()); }, VX_OK},
    {"LeaderMagic", [](const EngineBench& b) { return Replaced(Good(b), 0, Spoilt(Good(b).front())); },
     VX_E_BAD_LEADER},
    {"TrailerMagic", [](const EngineBench& b) { return Replaced(Good(b), Last(b), Spoilt(Good(b).back())); },
     VX_E_BAD_TRAILER},
    {"TruncatedLeader", [](const EngineBench& b) { return Replaced(Good(b), 0, Start(Good(b)[0], 20)); },
     VX_E_BAD_LEADER},
    {"EmptyLeader", [](const EngineBench& b) { return Replaced(Good(b), 0, {}); }, VX_E_BAD_LEADER},
    {"EmptyTrailer", [](const EngineBench& b) { return Replaced(Good(b), Last(b), {}); }, VX_E_BAD_TRAILER},
    {"OtherIdInTheTrailer",
     [](const EngineBench& b) { return Replaced(Good(b), Last(b), Trailer(99, b.sizes.payload)); }, VX_E_BAD_TRAILER},
    {"EmptyPacketBeforeTheLeader", [](const EngineBench& b) { return Inserted(Good(b), 0, {}); }, VX_E_BAD_LEADER},
    {"EmptyPacketBeforeTheTrailer", [](const EngineBench& b) { return Inserted(Good(b), Last(b), {}); }, VX_OK},
    {"OnePacketTooMany", [](const EngineBench& b) { return Inserted(Good(b), 1, Bytes(1024, 7)); }, VX_E_BAD_TRAILER},
    {"ManyPacketsTooMany", [](const EngineBench& b) { return Inserted(Good(b), 1, Bytes(50 * 1024, 7)); },
     VX_E_BAD_TRAILER},
    {"Discarded",
     [](const EngineBench& b) { return Replaced(Good(b), Last(b), Trailer(kBad, b.sizes.payload, 1, 0xA100)); },
     VX_E_DATA_DISCARDED},
    {"Overrun",
     [](const EngineBench& b) { return Replaced(Good(b), Last(b), Trailer(kBad, b.sizes.payload, 1, 0xA101)); },
     VX_E_DATA_OVERRUN},
    {"ClaimsMoreThanItSent",
     [](const EngineBench& b) { return Replaced(Good(b), Last(b), Trailer(kBad, b.plan.Capacity() + 1)); },
     VX_E_INCOMPLETE},
};

class Damaged : public testing::TestWithParam<std::tuple<Damage, std::uint64_t>> {};

TEST_P(Damaged, CostsAtMostTheBlockAndTheNext) {
    const auto& [damage, payload] = GetParam();
    EngineBench bench({payload, 2048, 1024});
    bench.Start();
    for (std::uint64_t id = 0; id < kBad; ++id) {
        bench.bus.Send(bench.Good(id));
        bench.ExpectGood(id);
    }
    bench.bus.Send(damage.transfers(bench));
    bench.ExpectRecovery(kBad + 1, 2);
}

TEST_P(Damaged, CostsAtMostTheBlockAndTheNextInAFullStream) {
    const auto& [damage, payload] = GetParam();
    EngineBench bench({payload, 2048, 1024});
    for (std::uint64_t id = 0; id < kBad; ++id)
        bench.bus.Send(bench.Good(id));
    bench.bus.Send(damage.transfers(bench));
    for (std::uint64_t id = kBad + 1; id < 12; ++id)
        bench.bus.Send(bench.Good(id));
    bench.Start();
    unsigned int good = 0;
    std::uint64_t seen = 0;
    while (seen != 11) {
        const CVxStream::GrabResult result = bench.Next();
        if (result.Status == VX_OK) {
            bench.Check(result, result.BlockId);
            seen = result.BlockId;
            ++good;
        }
        ASSERT_NE(result.Status, VX_E_TIMEOUT);
        ASSERT_EQ(bench.Requeue(result), VX_OK);
    }
    EXPECT_GE(good, 10u); // of twelve
}

TEST_P(Damaged, TellsWhatWasWrong) {
    const auto& [damage, payload] = GetParam();
    EngineBench bench({payload, 2048, 1024});
    bench.Start();
    for (std::uint64_t id = 0; id < kBad; ++id) {
        bench.bus.Send(bench.Good(id));
        bench.ExpectGood(id);
    }
    bench.bus.Send(damage.transfers(bench) + bench.Good(kBad + 1) + bench.Good(kBad + 2));
    const CVxStream::GrabResult result = bench.NextAndQueue();
    EXPECT_EQ(result.Status, damage.status);
}

INSTANTIATE_TEST_SUITE_P(Each, Damaged, testing::Combine(testing::ValuesIn(kDamages), testing::Values(5000, 8192)),
                         [](const auto& instance) {
                             return std::string(std::get<0>(instance.param).name) + "Of" +
                                    std::to_string(std::get<1>(instance.param));
                         });

} // namespace
