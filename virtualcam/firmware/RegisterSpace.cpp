#include "virtualcam/firmware/RegisterSpace.h"

#include <algorithm>
#include <cassert>

namespace virtualcam {

Register& RegisterSpace::Add(std::uint64_t address, std::size_t length, Access access) {
    assert(length != 0);
    assert(Containing(address) == m_Registers.end() && Containing(address + length - 1) == m_Registers.end());
    Register& made = m_Registers[address];
    made.address = address;
    made.bytes.assign(length, 0);
    made.access = access;
    return made;
}

Register& RegisterSpace::AddText(std::uint64_t address, std::size_t length, Access access, const std::string& text) {
    Register& made = Add(address, length, access);
    StoreText(made.bytes.data(), length, text);
    return made;
}

RegisterSpace::Iterator RegisterSpace::Containing(std::uint64_t address) {
    auto next = m_Registers.upper_bound(address);
    if (next == m_Registers.begin()) return m_Registers.end();
    const auto candidate = std::prev(next);
    return address - candidate->first < candidate->second.bytes.size() ? candidate : m_Registers.end();
}

bool RegisterSpace::IsWithinOne(std::uint64_t address, std::size_t length) {
    const auto found = Containing(address);
    return found == m_Registers.end() || length <= found->second.bytes.size() - (address - found->first);
}

// Calls visit(register, offset in it, bytes, offset in the access) for each register of the range, first to last.
template<class F>
Status RegisterSpace::Walk(std::uint64_t address, std::size_t length, F&& visit) {
    std::size_t done = 0;
    while (done < length) {
        const auto found = Containing(address + done);
        if (found == m_Registers.end()) return Status::InvalidAddress;
        const std::size_t offset = static_cast<std::size_t>(address + done - found->first);
        const std::size_t part = std::min(length - done, found->second.bytes.size() - offset);
        const Status status = visit(found->second, offset, part, done);
        if (status != Status::Success) return status;
        done += part;
    }
    return Status::Success;
}

Status RegisterSpace::Read(std::uint64_t address, std::uint8_t* to, std::size_t length) {
    return Walk(address, length, [to](Register& entry, std::size_t offset, std::size_t part, std::size_t done) {
        if (entry.access == Access::WriteOnly) return Status::AccessDenied;
        if (entry.refresh) entry.refresh(entry);
        std::copy_n(entry.bytes.data() + offset, part, to + done);
        return Status::Success;
    });
}

Status RegisterSpace::Write(std::uint64_t address, const std::uint8_t* from, std::size_t length) {
    const Status verdict =
        Walk(address, length, [from](Register& entry, std::size_t offset, std::size_t part, std::size_t done) {
            if (entry.access == Access::ReadOnly) return Status::WriteProtect;
            if (!entry.check) return Status::Success;
            Bytes wanted = entry.bytes;
            std::copy_n(from + done, part, wanted.data() + offset);
            return entry.check(wanted.data());
        });
    if (verdict != Status::Success) return verdict;
    return Walk(address, length, [from](Register& entry, std::size_t offset, std::size_t part, std::size_t done) {
        std::copy_n(from + done, part, entry.bytes.data() + offset);
        if (entry.written) entry.written();
        return Status::Success;
    });
}

} // namespace virtualcam
