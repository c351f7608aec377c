#pragma once
// Cuts the text of a formula into tokens.

#include "genapi/formula/FormulaCode.h"
#include "genapi/formula/FormulaValue.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace genapi {

enum class TokenKind : uint8_t {
    End,
    Number,
    Name,
    Operator, ///< binary, by `code`; plus and minus may turn out to be signs
    Complement,
    Not,
    And,
    Or,
    Question,
    Colon,
    Comma,
    LeftParenthesis,
    RightParenthesis,
    Malformed, ///< `text` says why
};

struct Token {
    TokenKind kind = TokenKind::End;
    Code code = Code::End;
    std::size_t position = 0; ///< of the first character, counted from 0
    std::string_view text;
    Value number;
};

/// Bound to a thread.
class FormulaLexer {
public:
    /// Decimal literals beyond 63 bits are a bit pattern in integer formulas and a float in others.
    FormulaLexer(std::string_view text, bool isInteger) : m_Text(text), m_IsInteger(isInteger) {}

    /// After the last token: End, again and again.
    Token Next();
    /// The next character that is no white space, not consumed; 0 at the end.
    char Peek();

private:
    void SkipBlanks();
    Token Number();
    Token HexNumber();
    Token DecimalNumber(std::size_t digitsEnd);
    Token Name();
    Token Symbol();
    Token Make(TokenKind kind, std::size_t length);
    Token Malformed(std::string_view reason) const;
    [[nodiscard]] std::size_t DigitsEnd(std::size_t from) const;
    [[nodiscard]] std::size_t ExponentEnd(std::size_t from) const;

    std::string_view m_Text;
    std::size_t m_At = 0;
    bool m_IsInteger;
};

} // namespace genapi
