// A camera that answers commands with anything, while its registers and its description file are read.

#include "fuzz/Script.h"

#include "usb/Backend.h"
#include "vexlo/device/Bootstrap.h"
#include "vexlo/device/DescriptionDownload.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace {

constexpr uint8_t kIn = 0x81;
constexpr uint8_t kOut = 0x01;
constexpr std::size_t kHead = 12;

// Each answer begins with a number that says what is wrong with it. bound to a thread
class AnyCamera final : public usb::Handle {
public:
    explicit AnyCamera(fuzz::Script& script) : m_Script(script) {}

    usb::Result Claim(uint8_t) override { return usb::Result::Ok; }
    usb::Result Release(uint8_t) override { return usb::Result::Ok; }
    usb::Result Control(const usb::ControlSetup&, uint8_t*, std::size_t& actual, unsigned int) override {
        actual = 0;
        return Refusal();
    }
    usb::Result Bulk(uint8_t endpoint, uint8_t* data, std::size_t length, std::size_t& actual, unsigned int) override {
        actual = 0;
        if (endpoint == kIn) return Answer(data, length, actual);
        std::copy_n(data, std::min(length, m_Command.size()), m_Command.begin());
        actual = length;
        return usb::Result::Ok;
    }
    usb::Result Submit(usb::Transfer&) override { return usb::Result::NotSupported; }
    usb::Result Cancel(usb::Transfer&) override { return usb::Result::NotFound; }
    void Forget(usb::Transfer&) override {}
    usb::Result HandleEvents(unsigned int) override { return usb::Result::Ok; }
    void WakeEvents() override {}
    usb::Result ClearHalt(uint8_t) override { return Refusal(); }
    usb::Result Reset() override { return usb::Result::Ok; }
    std::string ReadString(uint8_t) override { return {}; }

private:
    usb::Result Refusal() { return static_cast<usb::Result>(m_Script.Byte() % 14); }

    usb::Result Answer(uint8_t* data, std::size_t length, std::size_t& actual) {
        if (m_Script.IsEmpty()) return usb::Result::NoDevice; // so that everything ends
        const uint8_t what = m_Script.Byte();
        if (what >= 0xF0) return Refusal();
        std::size_t count = what >= 0xE0 ? m_Script.Number(2) : what >= 0x80 ? what & 0x7F : Wanted();
        count = std::min<std::size_t>(count + ((what & 0x40) != 0 ? 0 : kHead), length);
        const uint8_t* const bytes = m_Script.Take(count);
        std::fill_n(data, std::min(length, kHead), uint8_t{0});
        const std::size_t start = (what & 0x40) != 0 ? 0 : std::min(kHead, length);
        std::copy_n(bytes, std::min(count, length - start), data + start);
        actual = std::min(length, start + count);
        if (start != 0) WriteHead(data, actual - start, what);
        return usb::Result::Ok;
    }

    // Bytes that the last command asks for.
    [[nodiscard]] std::size_t Wanted() const { return m_Command[22] | m_Command[23] << 8; }

    // A head that fits the last command, with one field spoilt now and then.
    void WriteHead(uint8_t* data, std::size_t size, uint8_t what) {
        const std::array<uint8_t, kHead> head = {'U',
                                                 '3',
                                                 'V',
                                                 'C',
                                                 uint8_t((what & 0x3F) == 1 ? m_Script.Byte() : 0),
                                                 uint8_t((what & 0x3F) == 1 ? m_Script.Byte() : 0),
                                                 uint8_t((what & 0x3F) == 2 ? 5 : m_Command[6] + 1),
                                                 8,
                                                 uint8_t(size),
                                                 uint8_t(size >> 8),
                                                 uint8_t(m_Command[10] + ((what & 0x3F) == 3)),
                                                 m_Command[11]};
        std::copy(head.begin(), head.end(), data);
    }

    fuzz::Script& m_Script; // borrowed
    std::array<uint8_t, 24> m_Command{};
};

vexlo::ControlTiming Impatient() {
    using Duration = vexlo::ControlTiming::Duration;
    vexlo::ControlTiming timing;
    timing.floor = timing.ceiling = timing.margin = timing.pendingLimit = Duration(2);
    timing.busyPause = timing.drain = timing.connectLimit = Duration(0);
    return timing;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Script script(data, size);
    AnyCamera camera(script);
    vexlo::ControlChannel::Counters counters;
    vexlo::ControlChannel channel(camera, {kOut, 1024}, {kIn, 1024}, counters, Impatient());
    const vexlo::Deadline whole(std::chrono::seconds(10));
    vexlo::RegisterAccess registers(channel, whole);
    vexlo::Bootstrap bootstrap;
    if (vexlo::ReadBootstrap(channel, whole, bootstrap) == vexlo::VX_OK) vexlo::StopLeftOvers(registers, bootstrap);
    const uint64_t manifest = bootstrap.manifestAddress != 0 ? bootstrap.manifestAddress : 0x1000;
    vexlo::CXmlFile file;
    const vexlo::VxStatus status = vexlo::DownloadDescription(registers, manifest, file);
    if (status == vexlo::VX_OK && file.GetBuffer() == nullptr) __builtin_trap();
    if (channel.MaxRead() == 0 || channel.MaxWrite() == 0 || bootstrap.streamCount > 16) __builtin_trap();
    return 0;
}
