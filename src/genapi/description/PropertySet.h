#pragma once
// Sets of properties.

#include "genapi/description/Property.h"

namespace genapi {

class PropertySet {
public:
    template<class... Ids>
    static constexpr PropertySet Of(Ids... ids) {
        PropertySet set;
        (set.Add(ids), ...);
        return set;
    }
    [[nodiscard]] constexpr bool Has(PropertyId id) const { return ((m_Words[WordOf(id)] >> BitOf(id)) & 1) != 0; }
    friend constexpr PropertySet operator|(const PropertySet& a, const PropertySet& b) {
        PropertySet both;
        for (std::size_t i = 0; i < kWords; ++i)
            both.m_Words[i] = a.m_Words[i] | b.m_Words[i];
        return both;
    }

private:
    static constexpr std::size_t kWords = (kPropertyCount + 63) / 64;
    static constexpr std::size_t WordOf(PropertyId id) { return static_cast<std::size_t>(id) / 64; }
    static constexpr std::size_t BitOf(PropertyId id) { return static_cast<std::size_t>(id) % 64; }
    constexpr void Add(PropertyId id) { m_Words[WordOf(id)] |= uint64_t{1} << BitOf(id); }

    uint64_t m_Words[kWords] = {};
};

} // namespace genapi
