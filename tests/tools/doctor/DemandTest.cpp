// What the doctor learns of a camera by asking its stream.

#include "doctor/Demand.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <tavix/StreamMemory.h>

namespace {

constexpr std::uint64_t kPayload = 3000;

/// A kernel that maps so many buffers at the same time and no more.
class LimitedKernel final : public Tavix::IStreamMemory {
public:
    explicit LimitedKernel(std::size_t limit) : m_limit(limit) {}

    std::shared_ptr<void> AllocateBuffer(std::size_t size) override {
        m_sizes.push_back(size);
        if (static_cast<std::size_t>(m_mapped.use_count()) > m_limit) return nullptr;
        return std::shared_ptr<void>(m_mapped, m_mapped.get());
    }
    std::size_t RequiredSize() override { return 0; }

    const std::vector<std::size_t>& Sizes() const { return m_sizes; }
    long StillMapped() const { return m_mapped.use_count() - 1; }

private:
    std::size_t m_limit;
    std::vector<std::size_t> m_sizes;
    std::shared_ptr<int> m_mapped = std::make_shared<int>(0); // each share but this one is a buffer
};

TEST(MappedBuffers, AreCountedUpToWhatTheKernelMaps) {
    for (const std::size_t limit : {std::size_t{0}, std::size_t{1}, std::size_t{tool::kUsualBuffers - 1}}) {
        LimitedKernel kernel(limit);
        EXPECT_EQ(tool::MappedBuffers(kernel, kPayload), limit);
        EXPECT_EQ(kernel.Sizes(), std::vector<std::size_t>(limit + 1, kPayload));
    }
}

TEST(MappedBuffers, AreNoMoreThanAStreamUsuallyHas) {
    for (const std::size_t limit : {std::size_t{tool::kUsualBuffers}, std::size_t{1000}}) {
        LimitedKernel kernel(limit);
        EXPECT_EQ(tool::MappedBuffers(kernel, kPayload), tool::kUsualBuffers);
        EXPECT_EQ(kernel.Sizes(), std::vector<std::size_t>(tool::kUsualBuffers, kPayload));
    }
}

TEST(MappedBuffers, AreGivenBackWhenTheyAreCounted) {
    LimitedKernel kernel(2);
    tool::MappedBuffers(kernel, kPayload);
    EXPECT_EQ(kernel.StillMapped(), 0);
}

} // namespace
