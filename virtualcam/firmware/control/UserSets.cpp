#include "virtualcam/firmware/control/UserSets.h"

namespace virtualcam {

UserSets::UserSets(const FeatureMaker& make, StoredSets& stored) : m_Registers(make.Registers()), m_Stored(stored) {
    make.Choice(reg::kUserSetSelector, 0, {0, 1, 2}).inUserSet = false;
    make.Lockable(make.Command(reg::kUserSetLoad, [this] { Load(Selected()); }));
    make.Command(reg::kUserSetSave, [this] { Save(Selected()); }).check = [this](const std::uint8_t*) {
        return Selected() == 0 ? Status::AccessDenied : Status::Success;
    };
    Register& powerUp = make.Choice(reg::kUserSetDefault, m_Stored.powerUpSet, {0, 1, 2});
    powerUp.inUserSet = false;
    powerUp.written = [this] { m_Stored.powerUpSet = m_Registers.Get<std::uint32_t>(reg::kUserSetDefault); };
}

void UserSets::PowerUp() {
    Save(0);
    if (m_Stored.powerUpSet != 0) Load(m_Stored.powerUpSet);
}

void UserSets::Save(std::uint32_t set) {
    std::map<std::uint64_t, Bytes>& kept = m_Stored.sets[set];
    kept.clear();
    m_Registers.ForEach([&kept](Register& entry) {
        if (entry.inUserSet) kept[entry.address] = entry.bytes;
    });
}

// A set that was never saved is like the factory's.
void UserSets::Load(std::uint32_t set) {
    const std::map<std::uint64_t, Bytes>& kept = m_Stored.sets[m_Stored.sets[set].empty() ? 0 : set];
    for (const auto& [address, bytes] : kept)
        m_Registers.At(address).bytes = bytes;
    for (const auto& [address, bytes] : kept)
        if (const auto& written = m_Registers.At(address).written) written();
}

} // namespace virtualcam
