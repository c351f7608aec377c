#pragma once
// Where a register lies: the sum of its address terms.

#include "genapi/nodes/base/Node.h"

#include <vector>

namespace genapi {

/// Constant after Bind; thread-safe through the map's lock.
class AddressTerms {
public:
    void Bind(const BoundProperty& property);
    /// 64-bit arithmetic that wraps around. `length` is the stride of an index without offset.
    int64_t Evaluate(int64_t length) const;
    bool IsConstant() const { return m_Terms.empty(); }
    int64_t ConstantPart() const { return static_cast<int64_t>(m_Constant); }

private:
    enum class Stride : uint8_t { Given, OfNode, Length };
    struct Term {
        Node* pNode;
        Node* pStride; ///< with Stride::OfNode
        int64_t stride;
        Stride kind;
    };
    uint64_t m_Constant = 0;
    std::vector<Term> m_Terms;
};

} // namespace genapi
