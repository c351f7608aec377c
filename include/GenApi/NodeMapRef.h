#pragma once
// A shared reference to a node map that is loaded from a description.

#include <Base/GCException.h>
#include <GenApi/Export.h>
#include <GenApi/IDestroy.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/INodeMapDyn.h>
#include <GenApi/Synch/Lock.h>

#include <atomic>

namespace GenApi {

/// Parameters without a member for each feature. bound to a thread
class TAVIX_GENAPI_API CGeneric_XMLLoaderParams {
public:
    virtual ~CGeneric_XMLLoaderParams() = default;

protected:
    virtual void _Initialize(INodeMap*) {}
};

/// An empty map of the loader kind "Generic" of the library "XMLLoader"; null for any other.
TAVIX_GENAPI_API INodeMapDyn* CreateLoaderNodeMap(const GenICam::gcstring& LoaderKind,
                                                  const GenICam::gcstring& LibraryName,
                                                  const GenICam::gcstring& DeviceName);

/// Copies share the map; the last one destroys it through IDestroy. Loading into a reference that holds a map throws
/// RuntimeException "DLL already loaded"; a load that fails leaves it empty, so that it can be repeated. Operations
/// that need the map throw LogicalErrorException while there is none. bound to a thread; the map itself is thread-safe
template<class TCameraParams>
class CNodeMapRefT : public TCameraParams {
public:
    explicit CNodeMapRefT(const GenICam::gcstring& DeviceName = "Device") : m_DeviceName(DeviceName) {}
    /// Takes the map over.
    CNodeMapRefT(INodeMap* pNodeMap, const GenICam::gcstring& DeviceName = "Device") : m_DeviceName(DeviceName) {
        Hold(pNodeMap);
    }
    CNodeMapRefT(const CNodeMapRefT& other) : TCameraParams(other), m_DeviceName(other.m_DeviceName) { Share(other); }
    CNodeMapRefT& operator=(const CNodeMapRefT& other) {
        if (this != &other) {
            Release();
            m_DeviceName = other.m_DeviceName;
            Share(other);
        }
        return *this;
    }
    virtual ~CNodeMapRefT() { Release(); }

    void _LoadDLL() { _LoadDLL("Generic"); }
    void _LoadDLL(const GenICam::gcstring& LoaderKind) {
        if (_Ptr) throw GenICam::RuntimeException("DLL already loaded", "NodeMapRef.h", __LINE__);
        INodeMapDyn* pLoader = CreateLoaderNodeMap(LoaderKind, "XMLLoader", m_DeviceName);
        if (!pLoader) throw GenICam::RuntimeException("Unknown loader kind", "NodeMapRef.h", __LINE__);
        Hold(pLoader);
    }

    void _LoadXMLFromFile(const GenICam::gcstring& FileName) {
        Load([&](INodeMapDyn& map) { map.LoadXMLFromFile(FileName); });
    }
    void _LoadXMLFromFileInject(const GenICam::gcstring& TargetFileName, const GenICam::gcstring& InjectFileName) {
        Load([&](INodeMapDyn& map) { map.LoadXMLFromFileInject(TargetFileName, InjectFileName); });
    }
    void _LoadXMLFromString(const GenICam::gcstring& XMLData) {
        Load([&](INodeMapDyn& map) { map.LoadXMLFromString(XMLData); });
    }
    void _LoadXMLFromStringInject(const GenICam::gcstring& TargetXMLData, const GenICam::gcstring& InjectXMLData) {
        Load([&](INodeMapDyn& map) { map.LoadXMLFromStringInject(TargetXMLData, InjectXMLData); });
    }
    void _LoadXMLFromZIPFile(const GenICam::gcstring& ZipFileName) {
        Load([&](INodeMapDyn& map) { map.LoadXMLFromZIPFile(ZipFileName); });
    }
    void _LoadXMLFromZIPData(const void* pData, size_t Size) {
        Load([&](INodeMapDyn& map) { map.LoadXMLFromZIPData(pData, Size); });
    }

    /// These work on texts and may be called on an empty reference, which stays empty.
    void _GetSupportedSchemaVersions(GenICam::gcstring_vector& SchemaVersions) const {
        WithLoader([&](INodeMapDyn& map) { map.GetSupportedSchemaVersions(SchemaVersions); });
    }
    void _PreprocessXMLFromFile(const GenICam::gcstring& XMLFileName, const GenICam::gcstring& OutputFileName,
                                uint32_t XMLValidation = xvDefault) const {
        WithLoader([&](INodeMapDyn& map) { map.PreprocessXMLFromFile(XMLFileName, OutputFileName, XMLValidation); });
    }
    void _PreprocessXMLFromZIPFile(const GenICam::gcstring& ZipFileName, const GenICam::gcstring& OutputFileName,
                                   uint32_t XMLValidation = xvDefault) const {
        WithLoader([&](INodeMapDyn& map) { map.PreprocessXMLFromZIPFile(ZipFileName, OutputFileName, XMLValidation); });
    }
    void _MergeXMLFiles(const GenICam::gcstring& TargetFileName, const GenICam::gcstring& InjectFileName,
                        const GenICam::gcstring& OutputFileName) const {
        WithLoader([&](INodeMapDyn& map) { map.MergeXMLFiles(TargetFileName, InjectFileName, OutputFileName); });
    }
    void _ExtractIndependentSubtree(const GenICam::gcstring& XMLData, const GenICam::gcstring& InjectXMLData,
                                    const GenICam::gcstring& SubTreeRootNodeName,
                                    GenICam::gcstring& ExtractedSubtree) const {
        WithLoader([&](INodeMapDyn& map) {
            map.ExtractIndependentSubtree(XMLData, InjectXMLData, SubTreeRootNodeName, ExtractedSubtree);
        });
    }

    void _GetNodes(NodeList_t& Nodes) const { Map().GetNodes(Nodes); }
    INode* _GetNode(const GenICam::gcstring& Name) const { return Map().GetNode(Name); }
    void _InvalidateNodes() const { Map().InvalidateNodes(); }
    GenICam::gcstring _GetDeviceName() const { return Map().GetDeviceName(); }
    void _Poll(int64_t ElapsedTime) { Map().Poll(ElapsedTime); }
    CLock& _GetLock() const { return Map().GetLock(); }
    bool _Connect(IPort* pPort, const GenICam::gcstring& PortName) const { return Map().Connect(pPort, PortName); }
    bool _Connect(IPort* pPort) const { return Map().Connect(pPort); }

    GenICam::gcstring _GetModelName() const { return Info().GetModelName(); }
    GenICam::gcstring _GetVendorName() const { return Info().GetVendorName(); }
    GenICam::gcstring _GetToolTip() const { return Info().GetToolTip(); }
    GenICam::gcstring _GetStandardNameSpace() const { return Info().GetStandardNameSpace(); }
    void _GetGenApiVersion(Version_t& Version, uint16_t& Build) const { Info().GetGenApiVersion(Version, Build); }
    void _GetSchemaVersion(Version_t& Version) const { Info().GetSchemaVersion(Version); }
    void _GetDeviceVersion(Version_t& Version) const { Info().GetDeviceVersion(Version); }
    GenICam::gcstring _GetProductGuid() const { return Info().GetProductGuid(); }
    GenICam::gcstring _GetVersionGuid() const { return Info().GetVersionGuid(); }

    /// Compiles all formulas now and appends the texts of the failures; true when there are none.
    bool _ParseSwissKnifes(GenICam::gcstring_vector* pErrors = nullptr) const {
        return Dyn(Map()).ParseSwissKnifes(pErrors);
    }

    INodeMap* _Ptr = nullptr; ///< null until loaded

private:
    template<class Step>
    void Load(Step step) {
        _LoadDLL();
        try {
            step(Dyn(*_Ptr));
            this->_Initialize(_Ptr);
        } catch (...) {
            Release();
            throw;
        }
    }

    template<class Step>
    void WithLoader(Step step) const {
        if (INodeMapDyn* pMap = dynamic_cast<INodeMapDyn*>(_Ptr)) return step(*pMap);
        CNodeMapRefT temporary(m_DeviceName);
        temporary._LoadDLL();
        step(Dyn(*temporary._Ptr));
    }

    INodeMap& Map() const {
        if (!_Ptr) throw GenICam::LogicalErrorException("No node map loaded", "NodeMapRef.h", __LINE__);
        return *_Ptr;
    }
    IDeviceInfo& Info() const {
        IDeviceInfo* pInfo = dynamic_cast<IDeviceInfo*>(&Map());
        if (!pInfo) throw GenICam::LogicalErrorException("No device information", "NodeMapRef.h", __LINE__);
        return *pInfo;
    }
    static INodeMapDyn& Dyn(INodeMap& map) {
        INodeMapDyn* pDyn = dynamic_cast<INodeMapDyn*>(&map);
        if (!pDyn) throw GenICam::LogicalErrorException("The node map is not loadable", "NodeMapRef.h", __LINE__);
        return *pDyn;
    }

    // Owns it from now on, also when that fails.
    void Hold(INodeMap* pNodeMap) {
        if (!pNodeMap) return;
        try {
            m_pCount = new std::atomic<long>(1);
        } catch (...) {
            Destroy(pNodeMap);
            throw;
        }
        _Ptr = pNodeMap;
    }
    static void Destroy(INodeMap* pNodeMap) {
        if (IDestroy* pDestroy = dynamic_cast<IDestroy*>(pNodeMap)) pDestroy->Destroy();
    }
    void Share(const CNodeMapRefT& other) {
        _Ptr = other._Ptr;
        m_pCount = other.m_pCount;
        if (m_pCount) ++*m_pCount;
    }
    void Release() {
        INodeMap* pNodeMap = _Ptr;
        std::atomic<long>* pCount = m_pCount;
        _Ptr = nullptr;
        m_pCount = nullptr;
        if (!pCount || --*pCount > 0) return;
        delete pCount;
        Destroy(pNodeMap);
    }

    GenICam::gcstring m_DeviceName;
    std::atomic<long>* m_pCount = nullptr; ///< owned together with all copies; its last one sees what others did
};

using CNodeMapRef = CNodeMapRefT<CGeneric_XMLLoaderParams>;

} // namespace GenApi
