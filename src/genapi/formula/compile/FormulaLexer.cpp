#include "genapi/formula/compile/FormulaLexer.h"

#include "genapi/description/Lexical.h"

#include <charconv>
#include <system_error>

namespace genapi {

namespace {

constexpr bool IsNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

// Dots belong to names: X.Max, X.Entry.Off.
constexpr bool IsNameCharacter(char c) {
    return IsNameStart(c) || IsDigit(c) || c == '.';
}

constexpr bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

struct SymbolRow {
    std::string_view text;
    TokenKind kind;
    Code code;
};

// Longer spellings first.
constexpr SymbolRow kSymbols[] = {
    {"**", TokenKind::Operator, Code::Power},
    {"<<", TokenKind::Operator, Code::ShiftLeft},
    {">>", TokenKind::Operator, Code::ShiftRight},
    {"<=", TokenKind::Operator, Code::LessEqual},
    {">=", TokenKind::Operator, Code::GreaterEqual},
    {"<>", TokenKind::Operator, Code::NotEqual},
    {"!=", TokenKind::Operator, Code::NotEqual},
    {"==", TokenKind::Operator, Code::Equal},
    {"&&", TokenKind::And, Code::AndJump},
    {"||", TokenKind::Or, Code::OrJump},
    {"+", TokenKind::Operator, Code::Add},
    {"-", TokenKind::Operator, Code::Subtract},
    {"*", TokenKind::Operator, Code::Multiply},
    {"/", TokenKind::Operator, Code::Divide},
    {"%", TokenKind::Operator, Code::Remainder},
    {"<", TokenKind::Operator, Code::Less},
    {">", TokenKind::Operator, Code::Greater},
    {"=", TokenKind::Operator, Code::Equal},
    {"&", TokenKind::Operator, Code::BitAnd},
    {"^", TokenKind::Operator, Code::BitXor},
    {"|", TokenKind::Operator, Code::BitOr},
    {"~", TokenKind::Complement, Code::Complement},
    {"!", TokenKind::Not, Code::Not},
    {"?", TokenKind::Question, Code::JumpIfFalse},
    {":", TokenKind::Colon, Code::Jump},
    {",", TokenKind::Comma, Code::End},
    {"(", TokenKind::LeftParenthesis, Code::End},
    {")", TokenKind::RightParenthesis, Code::End},
};

} // namespace

void FormulaLexer::SkipBlanks() {
    while (m_At < m_Text.size() && IsSpace(m_Text[m_At]))
        ++m_At;
}

char FormulaLexer::Peek() {
    SkipBlanks();
    return m_At < m_Text.size() ? m_Text[m_At] : '\0';
}

Token FormulaLexer::Next() {
    SkipBlanks();
    if (m_At >= m_Text.size()) return Make(TokenKind::End, 0);
    const char first = m_Text[m_At];
    if (IsNameStart(first)) return Name();
    if (IsDigit(first) || first == '.') return Number();
    return Symbol();
}

Token FormulaLexer::Make(TokenKind kind, std::size_t length) {
    Token token;
    token.kind = kind;
    token.position = m_At;
    token.text = m_Text.substr(m_At, length);
    m_At += length;
    return token;
}

Token FormulaLexer::Malformed(std::string_view reason) const {
    Token token;
    token.kind = TokenKind::Malformed;
    token.position = m_At;
    token.text = reason;
    return token;
}

Token FormulaLexer::Name() {
    std::size_t end = m_At;
    while (end < m_Text.size() && IsNameCharacter(m_Text[end]))
        ++end;
    return Make(TokenKind::Name, end - m_At);
}

Token FormulaLexer::Symbol() {
    for (const SymbolRow& row : kSymbols) {
        if (m_Text.compare(m_At, row.text.size(), row.text) != 0) continue;
        Token token = Make(row.kind, row.text.size());
        token.code = row.code;
        return token;
    }
    return Malformed("unexpected character");
}

std::size_t FormulaLexer::DigitsEnd(std::size_t from) const {
    while (from < m_Text.size() && IsDigit(m_Text[from]))
        ++from;
    return from;
}

// The end of an exponent that starts at `from`, or `from` when there is none.
std::size_t FormulaLexer::ExponentEnd(std::size_t from) const {
    if (from >= m_Text.size() || (m_Text[from] != 'e' && m_Text[from] != 'E')) return from;
    std::size_t digits = from + 1;
    if (digits < m_Text.size() && (m_Text[digits] == '+' || m_Text[digits] == '-')) ++digits;
    const std::size_t end = DigitsEnd(digits);
    return end == digits ? from : end;
}

Token FormulaLexer::Number() {
    const bool isHex =
        m_Text[m_At] == '0' && m_At + 1 < m_Text.size() && (m_Text[m_At + 1] == 'x' || m_Text[m_At + 1] == 'X');
    if (isHex) return HexNumber();
    return DecimalNumber(DigitsEnd(m_At));
}

Token FormulaLexer::HexNumber() {
    std::size_t end = m_At + 2;
    while (end < m_Text.size() && IsNameCharacter(m_Text[end]))
        ++end;
    const std::optional<int64_t> number = ParseInteger(m_Text.substr(m_At, end - m_At));
    if (!number) return Malformed("malformed hexadecimal number");
    Token token = Make(TokenKind::Number, end - m_At);
    token.number = Value::Integer(*number);
    return token;
}

Token FormulaLexer::DecimalNumber(std::size_t digitsEnd) {
    std::size_t end = digitsEnd;
    if (end < m_Text.size() && m_Text[end] == '.') end = DigitsEnd(end + 1);
    if (end == m_At + 1 && m_Text[m_At] == '.') return Malformed("malformed number");
    end = ExponentEnd(end);
    if (end < m_Text.size() && IsNameCharacter(m_Text[end])) return Malformed("malformed number");

    const std::string_view text = m_Text.substr(m_At, end - m_At);
    Value number;
    uint64_t pattern = 0;
    const bool isWhole = end == digitsEnd;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), pattern, 10);
    const bool fits = result.ec == std::errc{} && (m_IsInteger || pattern <= INT64_MAX);
    if (isWhole && m_IsInteger && !fits) return Malformed("integer beyond 64 bits");
    if (isWhole && fits)
        number = Value::Integer(static_cast<int64_t>(pattern));
    else
        number = Value::Real(ParseFloat(text).value_or(0.0));
    Token token = Make(TokenKind::Number, text.size());
    token.number = number;
    return token;
}

} // namespace genapi
