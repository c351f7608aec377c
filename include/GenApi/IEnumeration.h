#pragma once
// One choice of several named ones.

#include <GenApi/Export.h>
#include <GenApi/IEnumEntry.h>

namespace GenApi {

/// The order of the operations is part of the binary interface. thread-safe
struct TAVIX_GENAPI_API IEnumeration : virtual public IValue {
    /// The names of the entries that are available at this moment.
    virtual void GetSymbolics(StringList_t& Symbolics) = 0;
    /// All entries in their order, whatever their access.
    virtual void GetEntries(NodeList_t& Entries) = 0;
    /// Writes the entry of that name, with Verify. InvalidArgumentException when there is none.
    virtual IEnumeration& operator=(const GenICam::gcstring& ValueStr) = 0;
    /// With Verify, InvalidArgumentException when no entry has the number and AccessException when the entry is not
    /// available; without, any number is written.
    virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
    /// The symbolic name of the present entry; empty when there is none.
    virtual GenICam::gcstring operator*() = 0;
    /// RuntimeException when Verify finds no entry of the number.
    virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
    /// These three return null when there is no such entry.
    virtual IEnumEntry* GetEntryByName(const GenICam::gcstring& Symbolic) = 0;
    virtual IEnumEntry* GetEntry(int64_t IntValue) = 0;
    virtual IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) = 0;
};

} // namespace GenApi
