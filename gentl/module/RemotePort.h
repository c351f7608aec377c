#pragma once
// The camera's own registers and description.

#include "gentl/module/Module.h"

#include "u3v/ManifestTable.h"

namespace gentl {

class Device;

/// Lives as long as its device. Thread-safe.
class RemotePort final : public Module, public Port {
public:
    static constexpr Kinds kKinds{Kind::RemotePort};
    explicit RemotePort(Device& device);

    gentl::Port* GetPort() override { return this; }
    void Read(std::uint64_t address, void* buffer, size_t& size) override;
    void Write(std::uint64_t address, const void* buffer, size_t& size) override;
    /// Neighbours are read in one command.
    void ReadStacked(PORT_REGISTER_STACK_ENTRY* entries, size_t count, size_t& done) override;
    std::vector<Url> Urls() override;
    Identity Identify() override;
    std::string Version() override;

private:
    std::shared_ptr<Device> Owner() const;
    std::vector<u3v::ManifestEntry> ReadManifest();
    Url ToUrl(const u3v::ManifestEntry& entry) const;

    const std::weak_ptr<Object> m_Device;
    const std::string m_Model;
};

} // namespace gentl
