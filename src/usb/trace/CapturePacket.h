#pragma once
// One record of a capture: a transfer as it was asked for, or as it ended, in the form of Linux's usbmon.

#include "usb/Backend.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace usb {

enum class CaptureEvent : std::uint8_t { Submitted = 'S', Completed = 'C' };

/// What usbmon would tell of it. The data is borrowed.
struct CaptureRecord {
    CaptureEvent event = CaptureEvent::Submitted;
    std::uint64_t id = 0; ///< the same in both records of a transfer
    std::uint8_t bus = 0;
    std::uint8_t address = 0;
    std::uint8_t endpoint = 0;
    const ControlSetup* setup = nullptr; ///< of a control transfer's submission, else null
    bool isControl = false;
    TransferStatus status = TransferStatus::Completed; ///< of a completion
    std::size_t length = 0;                            ///< bytes asked for, or moved
    const std::uint8_t* data = nullptr;                ///< null when the record has none
    std::size_t captured = 0;                          ///< bytes of `data` that are kept
};

/// The packet of link type 220, 64 bytes and the data; `nanoseconds` since 1970. Re-entrant.
std::vector<std::uint8_t> EncodeCapture(const CaptureRecord& record, std::uint64_t nanoseconds);

// The blocks of a pcapng file, little-endian.
std::vector<std::uint8_t> SectionHeaderBlock();
/// The interface that all packets come from.
std::vector<std::uint8_t> InterfaceBlock();
/// A packet of which `missing` more bytes were on the wire.
std::vector<std::uint8_t> PacketBlock(const std::vector<std::uint8_t>& packet, std::size_t missing,
                                      std::uint64_t nanoseconds);

} // namespace usb
