#pragma once
// An enumeration that also accepts, and reports, older entry names.

#include <GenApi/GenApi.h>

#include <map>

namespace Tavix {

/// Only ToString, FromString and GetEntryByName translate, by one exact look-up; everything else, GetSymbolics and the
/// operators included, is the camera's. The wrapped enumeration must outlive it. As thread-safe as the wrapped node.
class CEnumerationWrapper : public virtual GenApi::IEnumeration {
public:
    /// `wrapperName` selects the entry names; an unknown one translates nothing.
    CEnumerationWrapper(GenApi::IEnumeration* pEnumeration, const GenICam::gcstring& wrapperName);

    /// The node of the same object, so that code that goes from the value to its node and back keeps the names.
    GenApi::INode* GetNode() override { return dynamic_cast<GenApi::INode*>(this); }
    GenICam::gcstring ToString(bool verify = false, bool ignoreCache = false) override;
    void FromString(const GenICam::gcstring& value, bool verify = true) override;
    bool IsValueCacheValid() const override { return m_pEnumeration->IsValueCacheValid(); }
    void GetSymbolics(GenApi::StringList_t& symbolics) override { m_pEnumeration->GetSymbolics(symbolics); }
    void GetEntries(GenApi::NodeList_t& entries) override { m_pEnumeration->GetEntries(entries); }
    GenApi::IEnumeration& operator=(const GenICam::gcstring& value) override { return *m_pEnumeration = value; }
    void SetIntValue(int64_t value, bool verify = true) override { m_pEnumeration->SetIntValue(value, verify); }
    GenICam::gcstring operator*() override { return **m_pEnumeration; }
    int64_t GetIntValue(bool verify = false, bool ignoreCache = false) override {
        return m_pEnumeration->GetIntValue(verify, ignoreCache);
    }
    GenApi::IEnumEntry* GetEntryByName(const GenICam::gcstring& symbolic) override;
    GenApi::IEnumEntry* GetEntry(int64_t value) override { return m_pEnumeration->GetEntry(value); }
    GenApi::IEnumEntry* GetCurrentEntry(bool verify = false, bool ignoreCache = false) override {
        return m_pEnumeration->GetCurrentEntry(verify, ignoreCache);
    }

protected:
    GenApi::IEnumeration* GetEnumeration() const { return m_pEnumeration; }

private:
    std::map<GenICam::gcstring, GenICam::gcstring> m_OlderToCurrent; // constant after construction
    std::map<GenICam::gcstring, GenICam::gcstring> m_CurrentToOlder; // constant after construction
    GenApi::IEnumeration* m_pEnumeration;                            // borrowed
};

} // namespace Tavix
