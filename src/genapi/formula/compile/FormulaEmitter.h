#pragma once
// Appends instructions to a formula's program and keeps account of its stack.

#include "genapi/formula/FormulaCode.h"
#include "genapi/formula/FormulaValue.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace genapi {

/// Bound to a thread.
class FormulaEmitter {
public:
    /// Starts the formula or one of its sub-formulas; each begins with an empty stack.
    void BeginBlock();
    void EndBlock(Code last, uint32_t argument);

    void Constant(Value value);
    void Variable(uint32_t slot);
    void Call(uint32_t block);
    void Unary(Code code) { m_Code.push_back({code, Operand::None, 0}); }
    void Binary(Code code);
    /// A jump whose target is not known yet; PatchToHere gives it one.
    [[nodiscard]] uint32_t Jump(Code code);
    void PatchToHere(uint32_t jump);
    /// The value of a branch that is jumped over is not on the stack of the other one.
    void ForgetBranch() { --m_Depth; }

    [[nodiscard]] uint32_t Here() const { return static_cast<uint32_t>(m_Code.size()); }
    /// Values that all blocks together need at most.
    [[nodiscard]] uint64_t StackSize() const { return m_StackSize; }
    std::vector<Instruction> TakeCode();
    std::vector<Value> TakeConstants();
    /// Each slot once, ascending.
    std::vector<uint32_t> TakeSlots();

private:
    void Load(Operand operand, uint32_t argument);
    void Push();

    std::vector<Instruction> m_Code;
    std::vector<Value> m_Constants;
    std::vector<uint32_t> m_Slots;
    std::size_t m_LastLabel = 0; ///< no instruction in front of it may be changed any more
    uint32_t m_Depth = 0;        ///< values on the stack at this point of the block
    uint32_t m_BlockDepth = 0;   ///< most of them
    uint64_t m_StackSize = 0;
};

} // namespace genapi
