#pragma once
// The part of a device object that looks after its node maps.

#include "tavix/ConfigFileRegistry.h"
#include "tavix/internal/DevicePrivate.h"

#include <GenApi/NodeMapRef.h>

#include <boost/make_shared.hpp>

namespace Tavix {

/// Joins the interface for applications, the one for transport layers and the camera node map. A heir that is also a
/// GenApi::IPort becomes the port of the camera node map. Loading belongs to creation, so it takes no lock: bound to a
/// thread until the device is handed out, re-entrant afterwards.
template<class TDevice>
class CTavixDevicePrivateImpl : public ITavixDevicePrivate,
                                public TDevice,
                                public GenApi::CNodeMapRefT<GenApi::CGeneric_XMLLoaderParams> {
public:
    CTavixDevicePrivateImpl(const CTavixDevicePrivateImpl&) = delete;
    CTavixDevicePrivateImpl& operator=(const CTavixDevicePrivateImpl&) = delete;

    /// At most one string can be injected, else RuntimeException; the same holds for the next three. A camera node map
    /// is loaded once: a second load throws RuntimeException "DLL already loaded".
    void CreateNodemapFromFile(const gcstring& fileName, const gcstring_vector& injectStrings) override {
        CheckInjectCount(injectStrings);
        if (!injectStrings.empty()) return CreateNodemapFromString(textFileToString(fileName), injectStrings);
        this->_LoadXMLFromFile(fileName);
        ConnectToDevice();
    }

    void CreateNodemapFromString(const gcstring& xml, const gcstring_vector& injectStrings) override {
        CheckInjectCount(injectStrings);
        if (injectStrings.empty()) {
            this->_LoadXMLFromString(xml);
        } else {
            this->_LoadXMLFromStringInject(xml, injectStrings[0]);
        }
        ConnectToDevice();
    }

    void ExtractChunkDataNodeMapFromFile(const gcstring& fileName, const gcstring_vector& injectStrings) override {
        m_ChunkXml = gcstring();
        CheckInjectCount(injectStrings);
        ExtractChunkDataNodeMapFromString(textFileToString(fileName), injectStrings);
    }

    /// Keeps the subtree below the node "ChunkData" as text; empty when the camera node map has no such node.
    void ExtractChunkDataNodeMapFromString(const gcstring& xml, const gcstring_vector& injectStrings) override {
        m_ChunkXml = gcstring();
        CheckInjectCount(injectStrings);
        if (!GetChunkDataNodeMapSupported() || !HasChunkData()) return;
        const GenApi::CNodeMapRef extractor("Device");
        const gcstring inject = injectStrings.empty() ? gcstring() : injectStrings[0];
        extractor._ExtractIndependentSubtree(xml, inject, kChunkData, m_ChunkXml);
    }

    bool GetChunkDataNodeMapSupported() const override { return false; }

    bool ChunkDataXmlDescriptionAvailable() const override {
        return GetChunkDataNodeMapSupported() && !m_ChunkXml.empty();
    }

    void Delete() override { delete this; }

    /// Unconnected; whoever shares it attaches buffers to its chunk ports.
    boost::shared_ptr<GenApi::CNodeMapRef> CreateChunkNodeMap() override {
        if (m_ChunkXml.empty()) return {};
        const auto pNodeMap = boost::make_shared<GenApi::CNodeMapRef>("Device");
        pNodeMap->_LoadXMLFromString(m_ChunkXml);
        return pNodeMap;
    }

protected:
    CTavixDevicePrivateImpl() : GenApi::CNodeMapRefT<GenApi::CGeneric_XMLLoaderParams>("Device") {}
    ~CTavixDevicePrivateImpl() override = default;

private:
    static constexpr const char* kChunkData = "ChunkData";

    static void CheckInjectCount(const gcstring_vector& injectStrings) {
        if (injectStrings.size() <= 1) return;
        throw RUNTIME_EXCEPTION("Cannot create node map. Too many strings(%d) to inject. Currently the injection of "
                                "only one XML string is supported.",
                                static_cast<int>(injectStrings.size()));
    }

    bool HasChunkData() const { return this->_Ptr != nullptr && this->_GetNode(kChunkData) != nullptr; }

    void ConnectToDevice() {
        if (GenApi::IPort* pPort = dynamic_cast<GenApi::IPort*>(this)) this->_Connect(pPort);
    }

    gcstring m_ChunkXml; // constant once the device is handed out; empty when there is no chunk description
};

} // namespace Tavix
