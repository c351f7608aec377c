#pragma once
// What a camera is to do wrong, and when. Everything counts from the moment the script is set.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace virtualcam {

enum class ControlFault {
    NoAnswer,           ///< the command is executed, no acknowledge is sent
    Late,               ///< the acknowledge comes after `value` ms, without a pending acknowledge
    StaleId,            ///< an acknowledge with the previous request id comes first
    Duplicate,          ///< the acknowledge is sent twice
    WrongPrefix,        ///< the acknowledge begins with another magic
    Truncated,          ///< only the first `value` bytes of the acknowledge are sent
    WrongRequestId,     ///< the acknowledge carries another request id, nothing else follows
    WrongCommandId,     ///< the acknowledge names another command
    Pending,            ///< `value` pending acknowledges come before the acknowledge
    PendingThenNothing, ///< one pending acknowledge, then silence
    Busy,               ///< refused as busy, not executed
    Status,             ///< refused with the status code `value`, not executed
    MissingScd,         ///< a write's acknowledge comes without its four bytes
    StallIn,            ///< the IN endpoint halts instead of an acknowledge
    StallOut,           ///< the OUT endpoint halts on the command
    ZeroWritten,        ///< a write's acknowledge says that no byte was written, and no error
    ZeroLength,         ///< an empty packet comes before the acknowledge
    EmptyAnswer,        ///< an empty packet comes in place of the acknowledge
    Oversize,           ///< `value` bytes more than announced follow the acknowledge
    Deaf,  ///< no answer any more until the channel's endpoints are halted or cleared; `value` 1: the port is reset
    Unplug ///< the device leaves the bus on the command
};

/// Hits `count` commands (0: all) after `skip` matching ones passed.
struct ControlFaultRule {
    ControlFault fault = ControlFault::NoAnswer;
    std::uint32_t value = 0;
    unsigned skip = 0;
    unsigned count = 1;
    std::optional<std::uint16_t> command; ///< only this command id
    std::optional<std::uint64_t> address; ///< only accesses that begin at this address
    bool whileStreaming = false;          ///< only while stream enable is set
};

enum class StreamFault {
    LostLeader,    ///< the leader's transfer is left out
    LostTrailer,   ///< the trailer's transfer is left out
    Swapped,       ///< trailer first, leader last
    LeaderMagic,   ///< the leader begins with another magic
    TrailerMagic,  ///< the trailer begins with another magic
    Truncated,     ///< the payload ends after `value` bytes, status stays 0
    IdGap,         ///< `value` block ids are left out before this block
    IdMismatch,    ///< the trailer's block id differs from the leader's
    Discarded,     ///< the payload ends after `value` bytes, status 0xA100
    Overrun,       ///< status 0xA101, the payload ends `value` bytes early
    Overflow,      ///< the first payload transfer brings one packet too many
    Stall,         ///< the endpoint halts after `value` bytes of payload
    LineError,     ///< a transfer fails after `value` bytes of payload
    Unplug,        ///< the device leaves the bus after `value` bytes of payload
    ZeroValidSize, ///< the trailer says that no byte is valid
    ShortHeight,   ///< only `value` lines are delivered, leader and trailer tell so
    LessLines,     ///< only `value` lines are delivered, the trailer tells so, the leader announces all
    EmptyLeader,   ///< an empty packet comes in place of the leader
    EmptyTrailer,  ///< an empty packet comes in place of the trailer
    LongLeader,    ///< the leader has `value` bytes more than it needs
    PayloadType,   ///< the leader names payload type `value`
    LeftOver,      ///< `value` bytes of an earlier block come before this one
    Padding        ///< the last payload transfer is filled up to its size
};

/// Hits `count` blocks (0: all) of each stream from the `frame`-th delivered one on (0: the next one to begin).
struct StreamFaultRule {
    StreamFault fault = StreamFault::LostLeader;
    std::uint32_t value = 0;
    std::uint64_t frame = 0;
    std::uint64_t count = 1;
    std::optional<unsigned> stream; ///< only of this one
};

enum class EventFault {
    Lost,           ///< the message is not sent
    Duplicate,      ///< the message is sent twice
    WrongPrefix,    ///< the message begins with another magic
    Truncated,      ///< only the first `value` bytes of the message are sent
    WrongLength,    ///< the length field counts `value` bytes more than there are
    WrongEntrySize, ///< the entry's size field is `value`, which is only right to have among several events
    MaximumLength,  ///< zeros fill the message up to the largest that the device announces
    Burst,          ///< the message is sent `value` times
    Halt            ///< the event endpoint halts in its place
};

/// Hits `count` events (0: all) after `skip` ones passed.
struct EventFaultRule {
    EventFault fault = EventFault::Lost;
    std::uint32_t value = 0;
    unsigned skip = 0;
    unsigned count = 1;
};

struct FaultScript {
    unsigned refuseOpens = 0;  ///< opens answered with Access
    unsigned refuseClaims = 0; ///< claims answered with Busy
    std::vector<ControlFaultRule> control;
    std::vector<StreamFaultRule> stream;
    std::vector<EventFaultRule> events;
    unsigned refuseStreamEnable = 0;           ///< how often stream enable is refused ...
    std::uint16_t streamEnableStatus = 0xA004; ///< ... with this status
    bool haltOnStreamDisable = false;          ///< the stream endpoint halts when stream enable is cleared
    bool muteUntilClearHalt = false;           ///< a stream that was stopped sends nothing more before a clear halt
    bool dieOnSetHalt = false;                 ///< the device leaves the bus when the host halts an endpoint
    int replugAfterMs = -1;                    ///< after a scripted unplug the device comes back; -1: never
    unsigned unplugErrorsMs = 0; ///< for so long before it leaves the bus every transfer fails with a line error
};

/// What the description in the device's memory suffers from.
enum class ManifestFault {
    None,
    PlainXml,        ///< stored as plain XML, and says so
    WrongHash,       ///< the SHA-1 is that of other bytes
    ZeroHash,        ///< the SHA-1 is all zero
    WrongFormatFlag, ///< zipped, but the entry says plain
    WrongZipFlag,    ///< plain, but the entry says zipped
    TrailingZeros,   ///< plain, and the file is longer than its text
    LargerSize,      ///< zipped, the entry counts bytes behind the archive as well
    CorruptZip,      ///< bytes inside the archive are damaged, the hash is right
    StoredZip,       ///< the archive's member is not compressed
    NoRoot,          ///< well-formed XML without the category Root
    SeveralEntries,  ///< an older and a foreign entry stand before the right one
    NoEntries,       ///< the table is empty
    HugeCount        ///< the table claims an absurd number of entries
};

/// Bootstrap registers and descriptors that differ from what a good device has.
struct RegisterFaults {
    std::optional<std::uint32_t> responseTime;
    std::optional<std::uint32_t> maximumCommand;
    std::optional<std::uint32_t> maximumAcknowledge;
    std::optional<std::uint32_t> largestRead; ///< reads of more bytes are refused, whatever the registers say
    std::optional<std::uint32_t> streamCount; ///< what the register says of the number of streams
    std::uint32_t largestTransfer = 0;        ///< payload transfers end after so many bytes; 0: no limit
    /// While a payload transfer is programmed larger a stream brings no byte; 0: no limit.
    std::uint32_t silentAboveTransfer = 0;
    std::uint32_t bootMs = 0;          ///< so long after power-on the control channel does not answer
    bool missingOptional = false;      ///< registers that a camera need not have are not there
    std::vector<std::uint64_t> absent; ///< bootstrap registers, by address, that are refused although they are promised
    std::vector<std::uint64_t> endlessCommands; ///< command registers, by address: executed, and never said to be done
    bool singleRegisterReads = false;           ///< a read that goes beyond one register is refused
    std::uint32_t extraPayload = 0;             ///< zeros behind an image without chunk data that belong to the payload
    bool zeroLeaderSize = false;
    bool zeroTrailerSize = false;
    bool zeroPayloadSize = false;
    unsigned alignmentExponent = 0;
    bool lateAlignmentCheck = false; ///< unaligned sizes are accepted and refused only at stream enable
    ManifestFault manifest = ManifestFault::None;
    bool noStreamInterface = false;   ///< the descriptors have none
    bool stringIndexZero = false;     ///< the Device Info descriptor names no string
    bool longDeviceInfo = false;      ///< the Device Info descriptor has two bytes more than today's
    bool unreadableStrings = false;   ///< string descriptors are refused
    bool asymmetricEndpoints = false; ///< the endpoints of the control interface have different numbers
    std::string descriptionPath;      ///< a description file of one's own; empty: the built-in one
};

} // namespace virtualcam
