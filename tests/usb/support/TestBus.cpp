// A loadable bus with one device that cannot be opened. It refuses the settings "refuse".
#include "usb/Backend.h"

#include <string>

namespace {

class TestBus final : public usb::Backend {
public:
    explicit TestBus(std::string settings) : m_Settings(std::move(settings)) {}

    const char* Name() const override { return "test"; }
    usb::Result Enumerate(std::vector<usb::DeviceEntry>& devices) override {
        usb::DeviceEntry entry;
        entry.id = m_Settings;
        devices.push_back(entry);
        return usb::Result::Ok;
    }
    usb::Result Open(const std::string&, std::unique_ptr<usb::Handle>&) override { return usb::Result::Access; }
    std::uint64_t RegisterHotplug(usb::HotplugHandler) override { return 7; }
    void DeregisterHotplug(std::uint64_t) override {}
    std::size_t TransferMemoryLimit() const override { return 4711; }

private:
    const std::string m_Settings;
};

} // namespace

extern "C" __attribute__((visibility("default"))) usb::Backend* UsbCreateBackend(const char* settings,
                                                                                 std::string& reason) {
    if (std::string(settings) != "refuse") return new TestBus(settings);
    reason = "it was told to refuse";
    return nullptr;
}
