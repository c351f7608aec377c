#pragma once
// A port over bytes in memory that counts its accesses and can be told to fail.

#include <Base/GCException.h>
#include <GenApi/PortImpl.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace genapi_test {

// Every address reads zero until it is written. bound to a thread, or to the lock of one node map
class MemoryPort : public GenApi::CPortImpl {
public:
    GenApi::EAccessMode GetAccessMode() const override { return mode; }

    void Read(void* pBuffer, int64_t Address, int64_t Length) override {
        if (!failure.empty()) throw GenICam::RuntimeException(failure.c_str(), "MemoryPort", 1);
        ++reads;
        lastAddress = Address;
        lastLength = Length;
        for (int64_t i = 0; i < Length; ++i)
            static_cast<uint8_t*>(pBuffer)[i] = At(Address + i);
    }

    void Write(const void* pBuffer, int64_t Address, int64_t Length) override {
        if (!failure.empty()) throw GenICam::RuntimeException(failure.c_str(), "MemoryPort", 1);
        ++writes;
        lastAddress = Address;
        lastLength = Length;
        for (int64_t i = 0; i < Length; ++i)
            m_Bytes[Address + i] = static_cast<const uint8_t*>(pBuffer)[i];
    }

    void Put(int64_t address, const std::vector<uint8_t>& bytes) {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            m_Bytes[address + static_cast<int64_t>(i)] = bytes[i];
    }
    std::vector<uint8_t> Get(int64_t address, std::size_t length) const {
        std::vector<uint8_t> bytes;
        for (std::size_t i = 0; i < length; ++i)
            bytes.push_back(At(address + static_cast<int64_t>(i)));
        return bytes;
    }

    GenApi::EAccessMode mode = GenApi::RW;
    std::string failure; // thrown by every access when not empty
    int reads = 0;
    int writes = 0;
    int64_t lastAddress = 0;
    int64_t lastLength = 0;

private:
    uint8_t At(int64_t address) const {
        const auto found = m_Bytes.find(address);
        return found == m_Bytes.end() ? 0 : found->second;
    }
    std::map<int64_t, uint8_t> m_Bytes;
};

} // namespace genapi_test
