#pragma once
// A device that writes down what its transport layer does with it.

#include "tavix/internal/DevicePrivate.h"
#include "tavixbase/support/EmptyDevice.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Tavix {

// What happened to a device; outlives it.
struct DeviceDiary {
    std::vector<std::string> calls;
    gcstring_vector injected, injectedIntoChunks;
    std::function<void()> onLoad = [] {};
    std::function<void()> onDelete = [] {};
    bool isAlive = false;
};

using ApplicationSideOfFakeDevice = EmptyDevice<ITavixDevice>;

// Bound to a thread.
class FakeDevice final : public ITavixDevicePrivate, public ApplicationSideOfFakeDevice {
public:
    FakeDevice(const CDeviceInfo& info, std::shared_ptr<DeviceDiary> pDiary)
        : ApplicationSideOfFakeDevice(info), m_pDiary(std::move(pDiary)) {
        m_pDiary->isAlive = true;
    }
    ~FakeDevice() override { m_pDiary->isAlive = false; }

    void CreateNodemapFromFile(const gcstring& fileName, const gcstring_vector& injectStrings) override {
        Load("CreateNodemapFromFile " + fileName, injectStrings);
    }
    void CreateNodemapFromString(const gcstring& xml, const gcstring_vector& injectStrings) override {
        Load("CreateNodemapFromString " + xml, injectStrings);
    }
    void ExtractChunkDataNodeMapFromFile(const gcstring& fileName, const gcstring_vector& injectStrings) override {
        Extract("ExtractChunkDataNodeMapFromFile " + fileName, injectStrings);
    }
    void ExtractChunkDataNodeMapFromString(const gcstring& xml, const gcstring_vector& injectStrings) override {
        Extract("ExtractChunkDataNodeMapFromString " + xml, injectStrings);
    }
    bool GetChunkDataNodeMapSupported() const override { return true; }
    bool ChunkDataXmlDescriptionAvailable() const override { return false; }
    void Delete() override {
        const std::shared_ptr<DeviceDiary> pDiary = m_pDiary;
        delete this;
        pDiary->onDelete();
    }
    boost::shared_ptr<GenApi::CNodeMapRef> CreateChunkNodeMap() override { return {}; }

private:
    void Load(const gcstring& what, const gcstring_vector& injectStrings) {
        m_pDiary->calls.push_back(what.str());
        m_pDiary->injected = injectStrings;
        m_pDiary->onLoad();
    }
    void Extract(const gcstring& what, const gcstring_vector& injectStrings) {
        m_pDiary->calls.push_back(what.str());
        m_pDiary->injectedIntoChunks = injectStrings;
    }

    std::shared_ptr<DeviceDiary> m_pDiary;
};

} // namespace Tavix
