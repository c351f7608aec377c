#pragma once
// Words for tests of asynchronous transfers.

#include "usb/Backend.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

/// Turns `handle`'s events until `done` holds; false when that takes too long.
inline bool PumpUntil(usb::Handle& handle, const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!done() && std::chrono::steady_clock::now() < deadline)
        if (handle.HandleEvents(1000) != usb::Result::Ok) return false;
    return done();
}

/// Transfers with buffers of their own; notes in which order they complete. Bound to the thread that pumps.
class Transfers {
public:
    Transfers(usb::Handle& handle, std::uint8_t endpoint, std::size_t count, std::size_t size)
        : m_Handle(handle), m_Buffers(count, std::vector<std::uint8_t>(size)), m_All(count) {
        for (std::size_t i = 0; i < count; ++i) {
            m_All[i].endpoint = endpoint;
            m_All[i].buffer = m_Buffers[i].data();
            m_All[i].length = size;
            m_All[i].completed = &Transfers::Completed;
            m_All[i].context = this;
        }
    }
    ~Transfers() {
        for (usb::Transfer& transfer : m_All)
            m_Handle.Forget(transfer);
    }
    Transfers(const Transfers&) = delete;
    Transfers& operator=(const Transfers&) = delete;

    usb::Transfer& operator[](std::size_t index) { return m_All[index]; }
    const std::vector<std::uint8_t>& Buffer(std::size_t index) const { return m_Buffers[index]; }
    std::size_t Count() const { return m_All.size(); }
    /// Called after each completion was noted.
    std::function<void(usb::Transfer&)> onCompleted;

    usb::Result Submit(std::size_t index) { return m_Handle.Submit(m_All[index]); }
    void SubmitAll() {
        for (std::size_t i = 0; i < m_All.size(); ++i)
            ASSERT_EQ(Submit(i), usb::Result::Ok) << i;
    }
    bool PumpUntilCompleted(std::size_t count) {
        return PumpUntil(m_Handle, [&] { return m_Order.size() >= count; });
    }
    /// Indices in the order of completion.
    const std::vector<std::size_t>& Order() const { return m_Order; }

private:
    static void Completed(usb::Transfer& transfer) {
        auto& self = *static_cast<Transfers*>(transfer.context);
        self.m_Order.push_back(static_cast<std::size_t>(&transfer - self.m_All.data()));
        if (self.onCompleted) self.onCompleted(transfer);
    }

    usb::Handle& m_Handle;
    std::vector<std::vector<std::uint8_t>> m_Buffers;
    std::vector<usb::Transfer> m_All;
    std::vector<std::size_t> m_Order;
};
