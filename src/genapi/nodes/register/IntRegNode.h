#pragma once
// The node types IntReg and MaskedIntReg.

#include "genapi/nodes/IntegerFace.h"
#include "genapi/nodes/register/BitField.h"
#include "genapi/nodes/register/RegisterNode.h"

namespace genapi {

/// A register that holds a whole number in all or some of its bits. thread-safe
class IntRegNode final : public IntegerFace<RegisterNode> {
public:
    using IntegerFace::IntegerFace;
    using IntegerFace::operator=;

    void Bind(const BoundProperty& property) override;

protected:
    int64_t RawInteger(ReadFlags flags) override;
    void StoreInteger(int64_t value, bool verify) override;
    int64_t DoIntegerMin() override;
    int64_t DoIntegerMax() override;
    std::string DoReadText(ReadFlags flags) override { return IntegerFace::DoReadText(flags); }
    void DoWriteText(std::string_view text, bool verify) override { IntegerFace::DoWriteText(text, verify); }

private:
    int64_t NumberLength();
    BitField Field(int64_t length);
    /// The order of the bytes, which a port may turn round; bits are counted as declared.
    bool ReadsBigEndian() const;

    int64_t m_Lsb = -1; ///< none: the whole register
    int64_t m_Msb = -1;
    bool m_IsSigned = false;
    bool m_IsBigEndian = false;
    bool m_IsMasked = false;
};

} // namespace genapi
