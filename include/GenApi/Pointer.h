#pragma once
// A pointer to an interface that finds its way by dynamic_cast.

#include <Base/GCException.h>
#include <GenApi/Export.h>
#include <GenApi/IBoolean.h>
#include <GenApi/ICategory.h>
#include <GenApi/IChunkPort.h>
#include <GenApi/ICommand.h>
#include <GenApi/IDestroy.h>
#include <GenApi/IDeviceInfo.h>
#include <GenApi/IEnumeration.h>
#include <GenApi/IFloat.h>
#include <GenApi/IInteger.h>
#include <GenApi/INodeMapDyn.h>
#include <GenApi/IRegister.h>
#include <GenApi/ISelector.h>
#include <GenApi/IString.h>

namespace GenApi {

/// What the calling thread looked for last without finding it: "'Misspelt' is unknown", "'Gain' does not offer this
/// interface"; empty when it has found all. Thread-safe.
TAVIX_GENAPI_API GenICam::gcstring LastMiss();
/// Remembers that the node does not offer an interface; null is nothing to remember. Thread-safe.
TAVIX_GENAPI_API void NoteMiss(const IBase* pNode);
inline void NoteMiss(const INodeMap*) {}

/// Owns nothing. A pointer that does not offer T leaves it empty; using it empty through ->, * or () throws
/// LogicalErrorException. bound to a thread
template<class T, class B = IBase>
class CPointer {
public:
    CPointer() = default;
    CPointer(B* pB) { *this = pB; }
    CPointer& operator=(B* pB) {
        m_pT = dynamic_cast<T*>(pB);
        if (!m_pT && pB) NoteMiss(pB);
        return *this;
    }

    bool IsValid() const { return m_pT != nullptr; }
    explicit operator bool() const { return m_pT != nullptr; }
    operator B*() const { return m_pT; }
    T* operator->() const { return Checked(); }
    T& operator*() const { return *Checked(); }
    T* operator()() const { return Checked(); }

    bool operator==(const CPointer& other) const { return m_pT == other.m_pT; }
    bool operator!=(const CPointer& other) const { return m_pT != other.m_pT; }
    /// Also for a literal 0, which reads as "empty" in older code.
    bool operator==(B* pB) const { return static_cast<B*>(m_pT) == pB; }
    bool operator!=(B* pB) const { return static_cast<B*>(m_pT) != pB; }

private:
    T* Checked() const {
        if (!m_pT) ThrowEmpty();
        return m_pT;
    }
    // The pointer itself has no name; what was missed last is most likely what it should have pointed to.
    [[noreturn]] static void ThrowEmpty() {
        const GenICam::gcstring miss = LastMiss();
        const GenICam::gcstring text = miss.empty() ? miss : ". What was looked for last: " + miss;
        throw GenICam::LogicalErrorException(("NULL pointer dereferenced" + text).c_str(), __FILE__, __LINE__);
    }

    T* m_pT = nullptr;
};

using CBasePtr = CPointer<IBase>;
using CNodePtr = CPointer<INode>;
using CValuePtr = CPointer<IValue>;
using CIntegerPtr = CPointer<IInteger>;
using CFloatPtr = CPointer<IFloat>;
using CBooleanPtr = CPointer<IBoolean>;
using CStringPtr = CPointer<IString>;
using CCommandPtr = CPointer<ICommand>;
using CEnumerationPtr = CPointer<IEnumeration>;
using CEnumEntryPtr = CPointer<IEnumEntry>;
using CRegisterPtr = CPointer<IRegister>;
using CCategoryPtr = CPointer<ICategory>;
using CSelectorPtr = CPointer<ISelector>;
using CPortPtr = CPointer<IPort>;
using CPortConstructPtr = CPointer<IPortConstruct>;
using CChunkPortPtr = CPointer<IChunkPort>;

using CNodeMapPtr = CPointer<INodeMap, INodeMap>;
using CNodeMapDynPtr = CPointer<INodeMapDyn, INodeMap>;
using CDeviceInfoPtr = CPointer<IDeviceInfo, INodeMap>;
using CDestroyPtr = CPointer<IDestroy, INodeMap>;

} // namespace GenApi
