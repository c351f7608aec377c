#pragma once
// The device's 64-bit register space: which bytes exist, who may touch them, what happens then.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "virtualcam/Bytes.h"
#include "virtualcam/device/Protocol.h"

namespace virtualcam {

enum class Access : std::uint8_t { ReadOnly, WriteOnly, ReadWrite };

/// One register. Its hooks run under the lock of the space's owner.
struct Register {
    std::uint64_t address = 0;
    Bytes bytes;
    Access access = Access::ReadOnly;
    bool inUserSet = false;                                  ///< belongs to what a user set keeps
    std::function<void(Register&)> refresh;                  ///< before a read: brings `bytes` up to date
    std::function<Status(const std::uint8_t* wanted)> check; ///< before a write, with the whole register's new bytes
    std::function<void()> written;                           ///< after a write
};

/// Registers by address. Bound to a thread; its owner locks.
class RegisterSpace {
public:
    /// Adds a register of zeros. It must not overlap another one.
    Register& Add(std::uint64_t address, std::size_t length, Access access);
    Register& AddText(std::uint64_t address, std::size_t length, Access access, const std::string& text);
    template<class T>
    Register& AddValue(std::uint64_t address, Access access, T value) {
        Register& made = Add(address, sizeof(T), access);
        Store<T>(made.bytes.data(), value);
        return made;
    }

    /// Reads as a host command does: all bytes must lie in readable registers, adjacent ones may be spanned.
    Status Read(std::uint64_t address, std::uint8_t* to, std::size_t length);
    /// Writes as a host command does, all or nothing: every register touched must be writable and accept its new value.
    Status Write(std::uint64_t address, const std::uint8_t* from, std::size_t length);

    /// Takes a register away; nothing when there is none at exactly this address.
    void Remove(std::uint64_t address) { m_Registers.erase(address); }
    /// True when one register holds all these bytes, or none holds the first.
    bool IsWithinOne(std::uint64_t address, std::size_t length);
    bool Has(std::uint64_t address) const { return m_Registers.count(address) != 0; }
    /// The register at exactly this address; it must exist.
    Register& At(std::uint64_t address) { return m_Registers.at(address); }
    template<class T>
    T Get(std::uint64_t address) const {
        return Load<T>(m_Registers.at(address).bytes.data());
    }
    /// Sets a value from inside, without check or hook.
    template<class T>
    void Set(std::uint64_t address, T value) {
        Store<T>(m_Registers.at(address).bytes.data(), value);
    }

    template<class F>
    void ForEach(F&& visit) {
        for (auto& [address, entry] : m_Registers)
            visit(entry);
    }

private:
    std::map<std::uint64_t, Register> m_Registers;
    using Iterator = std::map<std::uint64_t, Register>::iterator;
    Iterator Containing(std::uint64_t address);
    template<class F>
    Status Walk(std::uint64_t address, std::size_t length, F&& visit);
};

} // namespace virtualcam
