#pragma once
// What was learnt of cameras, kept from Init to Exit.

#include "vexlo/Mutex.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace vexlo {

/// Thread-safe.
class CameraNotes {
public:
    /// Largest transfer that the camera is known to cope with; UINT32_MAX when nothing is known.
    std::uint32_t TransferLimit(const std::string& camera) const TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        const auto found = m_TransferLimits.find(camera);
        return found == m_TransferLimits.end() ? UINT32_MAX : found->second;
    }
    void LimitTransfers(const std::string& camera, std::uint32_t size) TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        m_TransferLimits[camera] = size;
    }
    /// Largest transfer that the camera has no trouble with, as far as is known; 0 when nothing is known.
    std::uint32_t TrustedTransfer(const std::string& camera) const TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        const auto found = m_TrustedTransfers.find(camera);
        return found == m_TrustedTransfers.end() ? 0 : found->second;
    }
    void TrustTransfers(const std::string& camera, std::uint32_t size) TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        std::uint32_t& trusted = m_TrustedTransfers[camera];
        trusted = std::max(trusted, size);
    }
    /// Whether its texts were read at once when they were read last; false when nothing is known.
    bool IsQuick(const std::string& camera) const TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        return m_Quick.count(camera) != 0;
    }
    void NoteQuick(const std::string& camera, bool isQuick) TAVIX_EXCLUDES(m_Lock) {
        const MutexLock lock(m_Lock);
        if (isQuick) {
            m_Quick.insert(camera);
        } else {
            m_Quick.erase(camera);
        }
    }

private:
    mutable Mutex m_Lock;
    std::map<std::string, std::uint32_t> m_TransferLimits TAVIX_GUARDED_BY(m_Lock);
    std::map<std::string, std::uint32_t> m_TrustedTransfers TAVIX_GUARDED_BY(m_Lock);
    std::set<std::string> m_Quick TAVIX_GUARDED_BY(m_Lock);
};

} // namespace vexlo
