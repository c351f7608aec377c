#pragma once
// One choice of several named ones.

#include <GenApi/IEnumEntry.h>

namespace GenApi {

// The order of the operations is part of the binary interface. thread-safe
struct IEnumeration : virtual public IValue {
    // The names of the entries that are available at this moment.
    virtual void GetSymbolics(StringList_t& Symbolics) = 0;
    // All entries in their order, whatever their access.
    virtual void GetEntries(NodeList_t& Entries) = 0;
    virtual IEnumeration& operator=(const GenICam::gcstring& ValueStr) = 0;
    virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
    virtual GenICam::gcstring operator*() = 0;
    virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
    // These three return null when there is no such entry.
    virtual IEnumEntry* GetEntryByName(const GenICam::gcstring& Symbolic) = 0;
    virtual IEnumEntry* GetEntry(int64_t IntValue) = 0;
    virtual IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) = 0;
};

} // namespace GenApi
