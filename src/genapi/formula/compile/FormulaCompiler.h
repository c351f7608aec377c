#pragma once
// Translates formulas by operator precedence with a stack of its own, so that no text can exhaust the thread's.

#include "genapi/formula/Formula.h"
#include "genapi/formula/compile/FormulaEmitter.h"
#include "genapi/formula/compile/FormulaLexer.h"
#include "genapi/formula/compile/FormulaNameTable.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace genapi {

/// Compiles one formula and the expressions that it uses. Cost is linear in their texts. Bound to a thread.
class FormulaCompiler {
public:
    FormulaCompiler(FormulaMode mode, const FormulaNames& names);

    [[nodiscard]] Formula Run(std::string_view text);

private:
    /// What waits for its right side.
    enum class Pending : uint8_t { Binary, Unary, And, Or, Question, Colon, Parenthesis, Function };
    struct Waiting {
        Pending kind;
        uint8_t precedence; ///< 0: nothing reduces across it
        Code code;
        uint32_t argument; ///< jump to patch, or number of arguments
        std::size_t position;
    };
    /// Each returns false after an error.
    bool CompileBlock(std::string_view text);
    bool Step(const Token& token);
    bool TakeOperand(const Token& token);
    bool TakeOperator(const Token& token);
    bool TakeName(const Token& token);
    bool TakeFunction(const Token& token);
    bool TakeConstantCall(const Token& token, double value);
    bool TakeShortCircuit(const Token& token);
    bool TakeColon(const Token& token);
    bool TakeComma(const Token& token);
    bool CloseParenthesis(const Token& token);
    bool EndFunction(const Waiting& function);
    bool FinishBlock(const Token& token);
    bool Fail(std::size_t position, std::string_view reason);

    void TakeBinary(const Token& token);
    void TakeQuestion(const Token& token);
    void UseDeclared(const DeclaredName& declared);
    void ReduceWhile(uint8_t precedence, bool isRightAssociative);
    void ReduceToBarrier();
    void Reduce();

    void CallExpression(uint32_t expression);
    [[nodiscard]] bool HasCycle() const;
    void Conclude();

    const FormulaNames& m_Names; ///< borrowed
    Formula m_Formula;
    FormulaNameTable m_Table;
    FormulaEmitter m_Emitter;
    std::vector<Waiting> m_Waiting;
    FormulaLexer m_Lexer;
    bool m_ExpectsOperand = true;

    static constexpr uint32_t kNoBlock = UINT32_MAX;
    std::vector<uint32_t> m_BlockOf;                        ///< expression to sub-formula
    std::vector<uint32_t> m_Blocks;                         ///< sub-formula to expression, in order of first use
    std::vector<std::pair<uint32_t, uint32_t>> m_CallEdges; ///< caller's sub-formula (kNoBlock: the formula), callee's
    uint32_t m_CurrentBlock = kNoBlock;
};

} // namespace genapi
