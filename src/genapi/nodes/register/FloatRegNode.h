#pragma once
// The node type FloatReg.

#include "genapi/nodes/FloatFace.h"
#include "genapi/nodes/register/RegisterNode.h"

namespace genapi {

/// A register that holds a single or double of IEEE 754. thread-safe
class FloatRegNode final : public FloatFace<RegisterNode> {
public:
    using FloatFace::FloatFace;
    using FloatFace::operator=;

    void Bind(const BoundProperty& property) override;

protected:
    double RawReal(ReadFlags flags) override;
    void StoreReal(double value, bool verify) override;
    double DoRealMin() override { return -DoRealMax(); }
    double DoRealMax() override;
    std::string DoReadText(ReadFlags flags) override { return FloatFace::DoReadText(flags); }
    void DoWriteText(std::string_view text, bool verify) override { FloatFace::DoWriteText(text, verify); }

private:
    /// 4 or 8; anything else throws.
    std::size_t NumberLength();
    bool ReadsBigEndian() const;

    bool m_IsBigEndian = false;
};

} // namespace genapi
