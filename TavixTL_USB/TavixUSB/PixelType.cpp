#include "PixelType.h"

#include <algorithm>
#include <iterator>

namespace Tavix {

namespace {

struct Row {
    std::uint32_t pixelFormat;
    std::uint32_t pixelType;
};

constexpr Row Same(std::uint32_t code) {
    return {code, code};
}

// Sorted by pixel format. Where the two differ, the SDK's code is older than the convention's.
constexpr Row kRows[] = {
    {0x01010037, 0x8101000C}, {0x01020038, 0x8102000D}, {0x01040039, 0x8104000E}, Same(0x01080001), Same(0x01080002),
    Same(0x01080008),         Same(0x01080009),         Same(0x0108000A),         Same(0x0108000B), Same(0x010A0046),
    Same(0x010C0047),         Same(0x010C0053),         Same(0x010C0055),         Same(0x010C0057), Same(0x010C0059),
    Same(0x01100003),         Same(0x01100005),         Same(0x01100007),         Same(0x0110000C), Same(0x0110000D),
    Same(0x0110000E),         Same(0x0110000F),         Same(0x01100010),         Same(0x01100011), Same(0x01100012),
    Same(0x01100013),         Same(0x0110002E),         Same(0x0110002F),         Same(0x01100030), Same(0x01100031),
    {0x020C005A, 0x020C001E}, {0x0210003B, 0x02100032}, Same(0x02180014),         Same(0x02180015), Same(0x02180021),
    {0x0218005B, 0x02180020}, Same(0x02200016),         Same(0x02200017),         Same(0x02300018), Same(0x02300019),
    Same(0x0230001A),         Same(0x0230001B),         Same(0x02300022),         Same(0x02300023), Same(0x02300024),
    Same(0x02300033),
};

constexpr bool IsSorted() {
    for (std::size_t i = 1; i < std::size(kRows); ++i) {
        if (kRows[i - 1].pixelFormat >= kRows[i].pixelFormat) return false;
    }
    return true;
}
static_assert(IsSorted(), "the table is searched by halves");

} // namespace

EPixelType PixelTypeOf(std::uint32_t pixelFormat) {
    const Row* row = std::lower_bound(std::begin(kRows), std::end(kRows), pixelFormat,
                                      [](const Row& r, std::uint32_t code) { return r.pixelFormat < code; });
    if (row == std::end(kRows) || row->pixelFormat != pixelFormat) return PixelType_Undefined;
    return static_cast<EPixelType>(row->pixelType);
}

} // namespace Tavix
