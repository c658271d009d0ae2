#include "tools/expressionlexer.h"

#include <QString>

namespace {

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isNameCharacter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || isDigit(c) || c == u'_';
}

int digitValue(QChar c)
{
    if (isDigit(c))
        return c.unicode() - u'0';
    if (c >= u'a' && c <= u'z')
        return c.unicode() - u'a' + 10;
    if (c >= u'A' && c <= u'Z')
        return c.unicode() - u'A' + 10;
    return 99;
}

int baseOfPrefix(QChar second)
{
    switch (second.toLower().unicode()) {
    case u'x':
        return 16;
    case u'o':
        return 8;
    case u'b':
        return 2;
    default:
        return 0;
    }
}

} // namespace

QChar ExpressionLexer::at(qsizetype index) const
{
    return index < m_text.size() ? m_text.at(index) : QChar();
}

ExpressionLexer::Token ExpressionLexer::finish(Token token, qsizetype start) const
{
    token.position = start;
    token.text = m_text.sliced(start, m_position - start);
    return token;
}

ExpressionLexer::Token ExpressionLexer::next()
{
    while (at(m_position).isSpace())
        ++m_position;
    const QChar c = at(m_position);
    if (m_position >= m_text.size())
        return finish({}, m_position);
    if (isDigit(c) || (c == u'.' && isDigit(at(m_position + 1))))
        return number();
    if (c == u'\'')
        return character();
    return isNameCharacter(c) ? name() : operatorSign();
}

ExpressionLexer::Token ExpressionLexer::prefixedNumber(int base, qsizetype start)
{
    Token token{.kind = Kind::Integer};
    m_position = start + 2;
    bool digits = false;
    for (; isNameCharacter(at(m_position)); ++m_position) {
        if (at(m_position) == u'_')
            continue;
        const int digit = digitValue(at(m_position));
        digits = true;
        if (digit >= base)
            token.fault = Fault::BadNumber;
        else if (token.integer > (~quint64(0) - quint64(digit)) / quint64(base))
            token.fault = Fault::TooLarge;
        else
            token.integer = token.integer * quint64(base) + quint64(digit);
    }
    if (!digits)
        token.fault = Fault::BadNumber;
    if (token.fault != Fault::None)
        token.kind = Kind::Fault;
    return finish(token, start);
}

ExpressionLexer::Token ExpressionLexer::number()
{
    const qsizetype start = m_position;
    if (at(start) == u'0') {
        if (const int base = baseOfPrefix(at(start + 1)))
            return prefixedNumber(base, start);
    }
    QString digits;
    bool real = false;
    for (QChar c = at(m_position); isNameCharacter(c) || c == u'.'; c = at(++m_position)) {
        const bool exponent = c.toLower() == u'e';
        real = real || exponent || c == u'.';
        if (c != u'_')
            digits.append(c);
        const QChar sign = at(m_position + 1);
        if (exponent && (sign == u'+' || sign == u'-')) {
            digits.append(sign);
            ++m_position;
        }
    }
    Token token{.kind = real ? Kind::Real : Kind::Integer};
    bool ok = false;
    if (real)
        token.real = digits.toDouble(&ok);
    else
        token.integer = digits.toULongLong(&ok);
    if (!ok) {
        token.kind = Kind::Fault;
        const bool onlyDigits = std::all_of(digits.cbegin(), digits.cend(), isDigit);
        token.fault = onlyDigits ? Fault::TooLarge : Fault::BadNumber;
    }
    return finish(token, start);
}

ExpressionLexer::Token ExpressionLexer::character()
{
    const qsizetype start = m_position;
    Token token{.kind = Kind::Integer, .integer = at(start + 1).unicode()};
    m_position = std::min(start + 3, m_text.size());
    if (m_position - start < 3 || at(start + 2) != u'\'') {
        token.kind = Kind::Fault;
        token.fault = Fault::BadCharacter;
    }
    return finish(token, start);
}

ExpressionLexer::Token ExpressionLexer::name()
{
    const qsizetype start = m_position;
    while (isNameCharacter(at(m_position)))
        ++m_position;
    return finish({.kind = Kind::Name}, start);
}

ExpressionLexer::Token ExpressionLexer::operatorSign()
{
    const qsizetype start = m_position;
    const QChar first = at(m_position++);
    if (!QStringView(u"+-*/%&|^~<>(),").contains(first))
        return finish({.kind = Kind::Fault, .fault = Fault::UnknownCharacter}, start);
    const bool doubles = first == u'*' || first == u'<' || first == u'>';
    if (doubles && at(m_position) == first)
        ++m_position;
    else if (first == u'<' || first == u'>')
        return finish({.kind = Kind::Fault, .fault = Fault::UnknownCharacter}, start);
    return finish({.kind = Kind::Operator}, start);
}
