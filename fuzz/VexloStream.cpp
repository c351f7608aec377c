// Image streams: plans for any needs, blocks that arrive in any pieces, and what is told of them.

#include "fuzz/Script.h"

#include "vexlo/stream/BlockJudge.h"
#include "vexlo/stream/block/BlockSlot.h"
#include "vexlo/stream/block/PacketParser.h"

#include <algorithm>
#include <vector>

namespace {

void Require(bool condition) {
    if (!condition) __builtin_trap();
}

// What a camera's registers may ask for.
u3v::TransferNeeds AnyNeeds(fuzz::Script& script) {
    u3v::TransferNeeds needs;
    needs.payloadSize = script.Number(4);
    needs.leaderSize = static_cast<uint32_t>(script.Number(4));
    needs.trailerSize = static_cast<uint32_t>(script.Number(4));
    needs.alignmentExponent = script.Byte();
    needs.packetSize = static_cast<uint16_t>(script.Number(2));
    needs.maxTransferSize = static_cast<uint32_t>(script.Number(4));
    return needs;
}

void CheckPlan(const u3v::TransferNeeds& needs) {
    const auto plan = u3v::MakeTransferPlan(needs);
    if (!plan) return;
    const uint32_t unit = u3v::AlignedUnit(needs);
    Require(unit != 0 && plan->Capacity() >= needs.payloadSize && plan->PayloadTransfers() > 0);
    Require(plan->payloadSize % unit == 0 && plan->final1Size % unit == 0 && plan->final2Size % unit == 0);
    Require(plan->leaderSize >= needs.leaderSize && plan->trailerSize >= needs.trailerSize);
}

void CheckResult(const vexlo::BlockEvidence& evidence) {
    (void)vexlo::JudgeBlock(evidence);
}

// A slot of a small plan, filled with transfers of any length.
void FillSlot(fuzz::Script& script) {
    constexpr std::size_t kBufferSize = 3000;
    u3v::TransferNeeds needs;
    needs.payloadSize = 1 + script.Number(2) % 4096;
    needs.packetSize = 512;
    needs.maxTransferSize = 1024;
    const auto plan = u3v::MakeTransferPlan(needs);
    Require(plan.has_value());
    std::vector<uint8_t> dump(plan->payloadSize);
    std::vector<uint8_t> bytes(kBufferSize);
    vexlo::BufferHandle_s buffer;
    buffer.data = bytes.data();
    buffer.size = bytes.size();
    vexlo::BlockSlot slot(*plan, 0x82, dump.data());
    slot.Bind(&buffer);
    for (vexlo::PlannedTransfer& transfer : slot.Transfers()) {
        std::size_t count = std::min<std::size_t>(script.Number(2), transfer.usb.length);
        const uint8_t* const sent = script.Take(count);
        if (transfer.usb.buffer != nullptr) std::copy_n(sent, count, transfer.usb.buffer);
        transfer.usb.actualLength = count;
        transfer.usb.status = static_cast<usb::TransferStatus>(script.Byte() % 7);
        if (transfer.role == vexlo::PlannedTransfer::Role::Leader) slot.TakeLeader(transfer);
        if (transfer.role == vexlo::PlannedTransfer::Role::Payload) (void)slot.TakePayload(transfer);
        CheckResult(slot.Evidence());
    }
}

void FeedParser(fuzz::Script& script) {
    constexpr uint64_t kMaxPayload = 4096;
    const auto packetSize = static_cast<uint32_t>(std::max<uint64_t>(script.Number(2), 1));
    vexlo::PacketParser parser(packetSize, kMaxPayload, static_cast<vexlo::PacketParser::Place>(script.Byte() % 3));
    while (!script.IsEmpty()) {
        const uint8_t what = script.Byte();
        if (what == 0xFF) {
            parser.Skip();
            continue;
        }
        std::size_t count = script.Byte();
        const uint8_t* const sent = script.Take(count);
        const std::vector<uint8_t> transfer(sent, sent + count); // of its exact size
        parser.Feed(transfer.data(), transfer.size(), (what & 1) != 0);
        for (const vexlo::PacketParser::Block& block : parser.TakeBlocks()) {
            Require(block.payload.size() <= kMaxPayload);
            CheckResult({block.leader, block.trailer, block.payload.size(), kMaxPayload, vexlo::VX_OK});
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Script script(data, size);
    switch (script.Byte() % 3) {
    case 0:
        CheckPlan(AnyNeeds(script));
        break;
    case 1:
        FillSlot(script);
        break;
    default:
        FeedParser(script);
        break;
    }
    return 0;
}
