#include "virtualcam/settings/FaultNames.h"

namespace virtualcam {
namespace {

constexpr Named<usb::Speed> kSpeedRows[] = {{"High", usb::Speed::High, "USB 2, 480 Mbit/s"},
                                            {"Super", usb::Speed::Super, "5 Gbit/s"},
                                            {"SuperPlus", usb::Speed::SuperPlus, "10 Gbit/s"}};

constexpr Named<ControlFault> kControlFaultRows[] = {
    {"NoAnswer", ControlFault::NoAnswer, "the command is executed, no acknowledge is sent"},
    {"Late", ControlFault::Late, "the acknowledge comes after VALUE ms, without a pending acknowledge"},
    {"StaleId", ControlFault::StaleId, "an acknowledge with the previous request id comes first"},
    {"Duplicate", ControlFault::Duplicate, "the acknowledge is sent twice"},
    {"WrongPrefix", ControlFault::WrongPrefix, "the acknowledge begins with another magic"},
    {"Truncated", ControlFault::Truncated, "only the first VALUE bytes of the acknowledge are sent"},
    {"WrongRequestId", ControlFault::WrongRequestId,
     "the acknowledge carries another request id, nothing else follows"},
    {"WrongCommandId", ControlFault::WrongCommandId, "the acknowledge names another command"},
    {"Pending", ControlFault::Pending, "VALUE pending acknowledges come before the acknowledge"},
    {"PendingThenNothing", ControlFault::PendingThenNothing, "one pending acknowledge, then silence"},
    {"Busy", ControlFault::Busy, "refused as busy, not executed"},
    {"Status", ControlFault::Status, "refused with the status code VALUE, not executed"},
    {"MissingScd", ControlFault::MissingScd, "a write's acknowledge comes without its four bytes"},
    {"StallIn", ControlFault::StallIn, "the IN endpoint halts instead of an acknowledge"},
    {"StallOut", ControlFault::StallOut, "the OUT endpoint halts on the command"},
    {"ZeroWritten", ControlFault::ZeroWritten, "a write's acknowledge says that no byte was written, and no error"},
    {"ZeroLength", ControlFault::ZeroLength, "an empty packet comes before the acknowledge"},
    {"EmptyAnswer", ControlFault::EmptyAnswer, "an empty packet comes in place of the acknowledge"},
    {"Oversize", ControlFault::Oversize, "VALUE bytes more than announced follow the acknowledge"},
    {"Deaf", ControlFault::Deaf,
     "nothing is executed or answered any more until the channel's endpoints are halted or cleared, with VALUE 1 until "
     "the port is reset"},
    {"Unplug", ControlFault::Unplug, "the device leaves the bus on the command"},
};

constexpr Named<StreamFault> kStreamFaultRows[] = {
    {"LostLeader", StreamFault::LostLeader, "the leader's transfer is left out"},
    {"LostTrailer", StreamFault::LostTrailer, "the trailer's transfer is left out"},
    {"Swapped", StreamFault::Swapped, "trailer first, leader last"},
    {"LeaderMagic", StreamFault::LeaderMagic, "the leader begins with another magic"},
    {"TrailerMagic", StreamFault::TrailerMagic, "the trailer begins with another magic"},
    {"Truncated", StreamFault::Truncated, "the payload ends after VALUE bytes, status stays 0"},
    {"IdGap", StreamFault::IdGap, "VALUE block ids are left out before this block"},
    {"IdMismatch", StreamFault::IdMismatch, "the trailer's block id differs from the leader's"},
    {"Discarded", StreamFault::Discarded, "the payload ends after VALUE bytes, status 0xA100"},
    {"Overrun", StreamFault::Overrun, "status 0xA101, the payload ends VALUE bytes early"},
    {"Overflow", StreamFault::Overflow, "the first payload transfer brings one packet too many"},
    {"Stall", StreamFault::Stall, "the endpoint halts after VALUE bytes of payload"},
    {"LineError", StreamFault::LineError, "a transfer fails after VALUE bytes of payload"},
    {"Unplug", StreamFault::Unplug, "the device leaves the bus after VALUE bytes of payload"},
    {"ZeroValidSize", StreamFault::ZeroValidSize, "the trailer says that no byte is valid"},
    {"ShortHeight", StreamFault::ShortHeight, "only VALUE lines are delivered, leader and trailer tell so"},
    {"LessLines", StreamFault::LessLines,
     "only VALUE lines are delivered, the trailer tells so, the leader announces all"},
    {"EmptyLeader", StreamFault::EmptyLeader, "an empty packet comes in place of the leader"},
    {"EmptyTrailer", StreamFault::EmptyTrailer, "an empty packet comes in place of the trailer"},
    {"LongLeader", StreamFault::LongLeader, "the leader has VALUE bytes more than it needs"},
    {"PayloadType", StreamFault::PayloadType, "the leader names payload type VALUE"},
    {"LeftOver", StreamFault::LeftOver, "VALUE bytes of an earlier block come before this one"},
    {"Padding", StreamFault::Padding, "the last payload transfer is filled up to its size"},
};

constexpr Named<EventFault> kEventFaultRows[] = {
    {"Lost", EventFault::Lost, "the message is not sent"},
    {"Duplicate", EventFault::Duplicate, "the message is sent twice"},
    {"WrongPrefix", EventFault::WrongPrefix, "the message begins with another magic"},
    {"Truncated", EventFault::Truncated, "only the first VALUE bytes of the message are sent"},
    {"WrongLength", EventFault::WrongLength, "the length field counts VALUE bytes more than there are"},
    {"WrongEntrySize", EventFault::WrongEntrySize,
     "the entry's size field is VALUE, which is only right to have among several events"},
    {"MaximumLength", EventFault::MaximumLength, "zeros fill the message up to the largest that the device announces"},
    {"Burst", EventFault::Burst, "the message is sent VALUE times"},
    {"Halt", EventFault::Halt, "the event endpoint halts in its place"},
};

constexpr Named<ManifestFault> kManifestFaultRows[] = {
    {"None", ManifestFault::None, "a good description"},
    {"PlainXml", ManifestFault::PlainXml, "stored as plain XML, and says so"},
    {"WrongHash", ManifestFault::WrongHash, "the SHA-1 is that of other bytes"},
    {"ZeroHash", ManifestFault::ZeroHash, "the SHA-1 is all zero"},
    {"WrongFormatFlag", ManifestFault::WrongFormatFlag, "zipped, but the entry says plain"},
    {"WrongZipFlag", ManifestFault::WrongZipFlag, "plain, but the entry says zipped"},
    {"TrailingZeros", ManifestFault::TrailingZeros, "plain, and the file is longer than its text"},
    {"LargerSize", ManifestFault::LargerSize, "zipped, the entry counts bytes behind the archive as well"},
    {"CorruptZip", ManifestFault::CorruptZip, "bytes inside the archive are damaged, the hash is right"},
    {"StoredZip", ManifestFault::StoredZip, "the archive's member is not compressed"},
    {"NoRoot", ManifestFault::NoRoot, "well-formed XML without the category Root"},
    {"SeveralEntries", ManifestFault::SeveralEntries, "an older and a foreign entry stand before the right one"},
    {"NoEntries", ManifestFault::NoEntries, "the table is empty"},
    {"HugeCount", ManifestFault::HugeCount, "the table claims an absurd number of entries"},
};

template<class E, std::size_t N>
constexpr Names<E> All(const Named<E> (&rows)[N]) {
    return {rows, N};
}

} // namespace

const Names<usb::Speed> kSpeeds = All(kSpeedRows);
const Names<ControlFault> kControlFaults = All(kControlFaultRows);
const Names<StreamFault> kStreamFaults = All(kStreamFaultRows);
const Names<EventFault> kEventFaults = All(kEventFaultRows);
const Names<ManifestFault> kManifestFaults = All(kManifestFaultRows);

} // namespace virtualcam
