#pragma once

#include <QStringView>
#include <QtGlobal>

// Cuts an expression into its words. An operator of two characters is one word; a number is read
// to its value at once.
class ExpressionLexer final
{
public:
    enum class Kind { End, Integer, Real, Name, Operator, Fault };
    enum class Fault { None, UnknownCharacter, BadNumber, TooLarge, BadCharacter };

    struct Token
    {
        Kind kind = Kind::End;
        qsizetype position = 0; // of its first character
        QStringView text = {};
        quint64 integer = 0;
        double real = 0;
        Fault fault = Fault::None;
    };

    // The text must outlive the lexer.
    explicit ExpressionLexer(QStringView text)
        : m_text(text)
    {}

    [[nodiscard]] Token next();

private:
    [[nodiscard]] Token number();
    [[nodiscard]] Token prefixedNumber(int base, qsizetype start);
    [[nodiscard]] Token character();
    [[nodiscard]] Token name();
    [[nodiscard]] Token operatorSign();
    [[nodiscard]] Token finish(Token token, qsizetype start) const;
    [[nodiscard]] QChar at(qsizetype index) const;

    QStringView m_text;
    qsizetype m_position = 0;
};
