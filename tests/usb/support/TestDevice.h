#pragma once
// A small vendor device for the tests of the real bus: an echo, and a source that sends what a test tells it to.

#include "support/usbfs/DeviceModel.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

/// Interface 0 echoes each transfer from kEchoOut to kEchoIn; interface 1 has the source kSource, whose bytes count up
/// from 0 (see ExpectedByte). Descriptors of other kinds stand between the interfaces. Thread-safe.
class TestDevice final : public usbfs::DeviceModel {
public:
    static constexpr std::uint8_t kEchoOut = 0x01;
    static constexpr std::uint8_t kEchoIn = 0x82;
    static constexpr std::uint8_t kSource = 0x83;
    static constexpr std::uint8_t kScratchRequest = 1; ///< vendor request, both directions: 64 bytes of memory
    static constexpr std::uint8_t kSilentRequest = 2;  ///< vendor request that is never answered
    static std::vector<std::uint8_t> DeviceDescriptor();
    static std::vector<std::uint8_t> ConfigurationDescriptor(std::uint8_t value);
    static std::uint8_t ExpectedByte(std::size_t index) { return static_cast<std::uint8_t>(index % 251); }

    /// The source ends one transfer with so many bytes; 0 is an empty packet.
    void Send(std::size_t bytes);
    /// The source sends so many bytes and leaves the transfer open.
    void SendPart(std::size_t bytes);
    void SendOverflow();
    void SendLineError();
    /// The source halts until the halt is cleared.
    void Halt();
    /// From now on the source fills every transfer.
    void Flow();
    /// The device leaves from within the next call that asks the source.
    void LeaveWhenAsked();
    /// After the next reset it is another device.
    void ChangeIdentityOnReset();
    unsigned int ResetCount() const;

    // of DeviceModel
    void Attached(usbfs::DevicePort& port) override;
    void Detached() override;
    usbfs::Answer Control(const usb::ControlSetup& setup, std::uint8_t* data) override;
    usbfs::Answer In(std::uint8_t endpoint, std::uint8_t* data, std::size_t room) override;
    usbfs::Answer Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length) override;
    bool Reset() override;

private:
    enum class Kind { Whole, Part, Overflow, LineError, Halt, Leave };
    struct Item {
        Kind kind;
        std::size_t bytes;
    };

    void Queue(Kind kind, std::size_t bytes = 0);
    usbfs::Answer Echo(std::uint8_t* data, std::size_t room);
    usbfs::Answer Source(std::uint8_t* data, std::size_t room);
    void Fill(std::uint8_t* data, std::size_t bytes);

    mutable std::mutex m_Lock;
    // guarded by m_Lock
    usbfs::DevicePort* m_Port = nullptr; ///< borrowed
    std::deque<std::vector<std::uint8_t>> m_Echo;
    std::deque<Item> m_Items;
    std::vector<std::uint8_t> m_Scratch = std::vector<std::uint8_t>(64);
    std::size_t m_Sent = 0;
    bool m_Flowing = false;
    bool m_Halted = false;
    bool m_ChangesIdentity = false;
    unsigned int m_Resets = 0;
};
