#pragma once
// What every node with a value can do.

#include <GenApi/INode.h>

namespace GenApi {

// Verify asks for access and range checks; IgnoreCache makes registers read their port. thread-safe
struct IValue : virtual public IBase {
    virtual INode* GetNode() = 0;
    virtual GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) = 0;
    // Whether a plain read would be served without the port.
    virtual bool IsValueCacheValid() const = 0;
};

} // namespace GenApi
