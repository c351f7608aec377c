#pragma once
// Sets of settings that the camera keeps without power.

#include <cstdint>
#include <map>
#include <vector>

#include "virtualcam/firmware/FeatureMaker.h"

namespace virtualcam {

inline constexpr std::uint32_t kUserSets = 3; ///< the first one is the factory's and cannot be saved

/// What the camera's flash memory holds.
struct StoredSets {
    std::map<std::uint64_t, Bytes> sets[kUserSets]; ///< register contents by address
    std::uint32_t powerUpSet = 0;
};

/// Bound to a thread; the register space's owner locks.
class UserSets {
public:
    UserSets(const FeatureMaker& make, StoredSets& stored);

    /// To be called when all features exist: keeps the factory set and loads the power-up set.
    void PowerUp();

private:
    RegisterSpace& m_Registers;
    StoredSets& m_Stored;

    std::uint32_t Selected() const { return m_Registers.Get<std::uint32_t>(reg::kUserSetSelector); }
    void Save(std::uint32_t set);
    void Load(std::uint32_t set);
};

} // namespace virtualcam
