#pragma once
// A bag that keeps the settings of a node map as text.

#include <GenApi/Export.h>
#include <GenApi/INodeMap.h>

#include <iosfwd>
#include <string>
#include <vector>

namespace GenApi {

/// A list of settings that can be written and read as text. bound to a thread
struct TAVIX_GENAPI_API IPersistScript {
    virtual void SetInfo(const GenICam::gcstring& Info) = 0;
    virtual void PersistFeature(IValue& Value) = 0;

protected:
    virtual ~IPersistScript() = default;
};

/// Lines "Name<TAB>Value"; lines that start with # are comments. Features below selectors are stored once for each
/// value of the selectors. Storing and loading keep the map's lock from the first line to the last, so that nobody else
/// moves a selector in between; outside-lock callbacks run once each, after the lock's release. bound to a thread
class TAVIX_GENAPI_API CFeatureBag final : public IPersistScript {
public:
    CFeatureBag() = default;
    ~CFeatureBag() override = default;

    /// Stores what is streamable, readable and writable; at most MaxNumEntries lines, -1 for any number. Failures are
    /// appended to the list and make the result false.
    bool StoreToBag(INodeMap* pNodeMap, int MaxNumEntries = -1, GenICam::gcstring_vector* pErrors = nullptr);
    /// Applies the lines in order. Failing lines are appended to the list and, when verifying, make the result false.
    bool LoadFromBag(INodeMap* pNodeMap, bool Verify = true, GenICam::gcstring_vector* pErrors = nullptr);

    /// A comment at the head of the text.
    void SetInfo(const GenICam::gcstring& Info) override;
    /// Appends the present value.
    void PersistFeature(IValue& Value) override;

    friend std::ostream& operator<<(std::ostream& stream, const CFeatureBag& bag);
    /// Replaces the bag's content.
    friend std::istream& operator>>(std::istream& stream, CFeatureBag& bag);

private:
    struct Line {
        std::string Name;
        std::string Value;
    };
    std::string m_Info;
    std::vector<Line> m_Lines;
};

TAVIX_GENAPI_API std::ostream& operator<<(std::ostream& stream, const CFeatureBag& bag);
TAVIX_GENAPI_API std::istream& operator>>(std::istream& stream, CFeatureBag& bag);

} // namespace GenApi
