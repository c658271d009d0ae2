#include "tools/expression.h"

#include "tools/expressionlexer.h"
#include "tools/integermath.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numbers>

namespace {

struct RealFunction
{
    const char* name;
    double (*call)(double);
};

constexpr std::array kRealFunctions{
    RealFunction{"acos", [](double x) { return std::acos(x); }},
    RealFunction{"asin", [](double x) { return std::asin(x); }},
    RealFunction{"atan", [](double x) { return std::atan(x); }},
    RealFunction{"ceil", [](double x) { return std::ceil(x); }},
    RealFunction{"cos", [](double x) { return std::cos(x); }},
    RealFunction{"exp", [](double x) { return std::exp(x); }},
    RealFunction{"floor", [](double x) { return std::floor(x); }},
    RealFunction{"ln", [](double x) { return std::log(x); }},
    RealFunction{"log10", [](double x) { return std::log10(x); }},
    RealFunction{"log2", [](double x) { return std::log2(x); }},
    RealFunction{"round", [](double x) { return std::round(x); }},
    RealFunction{"sin", [](double x) { return std::sin(x); }},
    RealFunction{"sqrt", [](double x) { return std::sqrt(x); }},
    RealFunction{"tan", [](double x) { return std::tan(x); }},
};

// Functions that look at bits or keep the kind of their argument.
constexpr std::array kOtherFunctions{"abs", "double", "doublebits", "float", "floatbits", "int",
    "max", "min", "popcount", "real", "swap"};

// One evaluation: a recursive descent over the words, with the first fault kept and everything
// after it skipped.
class Evaluation
{
    Q_DECLARE_TR_FUNCTIONS(Expression)

public:
    Evaluation(QStringView text, IntegerKind kind)
        : m_lexer(text)
        , m_kind(kind)
        , m_math(kind)
    {
        advance();
    }

    Expression::Result run();

private:
    using Level = CalcValue (Evaluation::*)();

    void advance();
    [[nodiscard]] bool isOperator(QStringView sign) const;
    bool accept(QStringView sign);
    void fail(const QString& error, qsizetype position);
    void failHere(const QString& error) { fail(error, m_token.position); }
    [[nodiscard]] bool failed() const { return !m_error.isEmpty(); }

    CalcValue bitOr();
    CalcValue bitXor();
    CalcValue bitAnd();
    CalcValue shift();
    CalcValue sum();
    CalcValue product();
    CalcValue unary();
    CalcValue negated();
    CalcValue power();
    CalcValue primary();
    CalcValue named();
    CalcValue call(const ExpressionLexer::Token& name);
    CalcValue callOther(const QString& name, const QList<CalcValue>& arguments);

    CalcValue bitOperation(Level operand, QStringView sign, quint64 (*apply)(quint64, quint64));
    CalcValue arithmetic(const CalcValue& a, QChar sign, const CalcValue& b, qsizetype at);
    CalcValue integerArithmetic(quint64 a, QChar sign, quint64 b, qsizetype at);
    CalcValue integer(std::optional<quint64> bits, const QString& error, qsizetype at);
    [[nodiscard]] double real(const CalcValue& value) const;
    bool needIntegers(const CalcValue& a, const CalcValue& b, qsizetype at);
    void failOnWord();

    static CalcValue ofReal(double value) { return {.isReal = true, .real = value}; }
    static CalcValue ofBits(quint64 bits) { return {.bits = bits}; }

    ExpressionLexer m_lexer;
    ExpressionLexer::Token m_token;
    IntegerKind m_kind;
    IntegerMath m_math;
    int m_depth = 0;
    QString m_error;
    qsizetype m_errorPosition = -1;
};

Expression::Result Evaluation::run()
{
    const CalcValue value = bitOr();
    if (!failed() && m_token.kind != ExpressionLexer::Kind::End)
        failOnWord();
    return {.value = failed() ? CalcValue{} : value,
        .ok = !failed(),
        .wrapped = m_math.wrapped(),
        .error = m_error,
        .errorPosition = m_errorPosition};
}

void Evaluation::advance()
{
    m_token = m_lexer.next();
}

bool Evaluation::isOperator(QStringView sign) const
{
    return m_token.kind == ExpressionLexer::Kind::Operator && m_token.text == sign;
}

bool Evaluation::accept(QStringView sign)
{
    if (failed() || !isOperator(sign))
        return false;
    advance();
    return true;
}

void Evaluation::fail(const QString& error, qsizetype position)
{
    if (failed())
        return;
    m_error = error;
    m_errorPosition = position;
}

void Evaluation::failOnWord()
{
    using Fault = ExpressionLexer::Fault;
    switch (m_token.fault) {
    case Fault::UnknownCharacter:
        return failHere(tr("\"%1\" is not understood.").arg(m_token.text));
    case Fault::BadNumber:
        return failHere(tr("\"%1\" is not a number.").arg(m_token.text));
    case Fault::TooLarge:
        return failHere(tr("\"%1\" does not fit 64 bits.").arg(m_token.text));
    case Fault::BadCharacter:
        return failHere(tr("A character stands between two single quotes."));
    case Fault::None:
        break;
    }
    if (m_token.kind == ExpressionLexer::Kind::End)
        return failHere(tr("The expression is not complete."));
    failHere(tr("\"%1\" is not expected here.").arg(m_token.text));
}

double Evaluation::real(const CalcValue& value) const
{
    return value.isReal ? value.real : m_kind.toReal(value.bits);
}

bool Evaluation::needIntegers(const CalcValue& a, const CalcValue& b, qsizetype at)
{
    if (a.isReal || b.isReal)
        fail(tr("Bit operations work on integers only."), at);
    return !failed();
}

CalcValue Evaluation::integer(std::optional<quint64> bits, const QString& error, qsizetype at)
{
    if (!bits)
        fail(error, at);
    return ofBits(bits.value_or(0));
}

CalcValue Evaluation::bitOperation(
    Level operand, QStringView sign, quint64 (*apply)(quint64, quint64))
{
    CalcValue left = (this->*operand)();
    for (qsizetype at = m_token.position; accept(sign); at = m_token.position) {
        const CalcValue right = (this->*operand)();
        if (!needIntegers(left, right, at))
            return {};
        left = ofBits(apply(left.bits, right.bits));
    }
    return left;
}

CalcValue Evaluation::bitOr()
{
    return bitOperation(&Evaluation::bitXor, u"|", [](quint64 a, quint64 b) { return a | b; });
}

CalcValue Evaluation::bitXor()
{
    return bitOperation(&Evaluation::bitAnd, u"^", [](quint64 a, quint64 b) { return a ^ b; });
}

CalcValue Evaluation::bitAnd()
{
    return bitOperation(&Evaluation::shift, u"&", [](quint64 a, quint64 b) { return a & b; });
}

CalcValue Evaluation::shift()
{
    CalcValue left = sum();
    while (!failed() && (isOperator(u"<<") || isOperator(u">>"))) {
        const qsizetype at = m_token.position;
        const bool toLeft = isOperator(u"<<");
        advance();
        const CalcValue right = sum();
        if (!needIntegers(left, right, at))
            return {};
        left = integer(toLeft ? m_math.shiftLeft(left.bits, right.bits)
                              : m_math.shiftRight(left.bits, right.bits),
            tr("A shift count must not be negative."), at);
    }
    return left;
}

CalcValue Evaluation::sum()
{
    CalcValue left = product();
    while (!failed() && (isOperator(u"+") || isOperator(u"-"))) {
        const ExpressionLexer::Token sign = m_token;
        advance();
        left = arithmetic(left, sign.text.front(), product(), sign.position);
    }
    return left;
}

CalcValue Evaluation::product()
{
    CalcValue left = unary();
    while (!failed() && (isOperator(u"*") || isOperator(u"/") || isOperator(u"%"))) {
        const ExpressionLexer::Token sign = m_token;
        advance();
        left = arithmetic(left, sign.text.front(), unary(), sign.position);
    }
    return left;
}

CalcValue Evaluation::arithmetic(const CalcValue& a, QChar sign, const CalcValue& b, qsizetype at)
{
    if (failed())
        return {};
    if (!a.isReal && !b.isReal)
        return integerArithmetic(a.bits, sign, b.bits, at);
    const double x = real(a);
    const double y = real(b);
    switch (sign.unicode()) {
    case u'+':
        return ofReal(x + y);
    case u'-':
        return ofReal(x - y);
    case u'*':
        return ofReal(x * y);
    case u'/':
        return ofReal(x / y);
    default:
        return ofReal(std::fmod(x, y));
    }
}

CalcValue Evaluation::integerArithmetic(quint64 a, QChar sign, quint64 b, qsizetype at)
{
    switch (sign.unicode()) {
    case u'+':
        return ofBits(m_math.add(a, b));
    case u'-':
        return ofBits(m_math.subtract(a, b));
    case u'*':
        return ofBits(m_math.multiply(a, b));
    case u'/':
        return integer(m_math.divide(a, b), tr("Division by zero."), at);
    default:
        return integer(m_math.remainder(a, b), tr("Division by zero."), at);
    }
}

CalcValue Evaluation::unary()
{
    if (failed())
        return {};
    if (++m_depth > Expression::kDeepestNesting)
        failHere(tr("The expression is nested too deeply."));
    const qsizetype at = m_token.position;
    CalcValue value;
    if (accept(u"-")) {
        value = negated();
    } else if (accept(u"+")) {
        value = unary();
    } else if (accept(u"~")) {
        value = unary();
        value = needIntegers(value, value, at) ? ofBits(~value.bits & m_kind.mask()) : CalcValue{};
    } else if (!failed()) {
        value = power();
    }
    --m_depth;
    return value;
}

CalcValue Evaluation::negated()
{
    // -128 in eight bits is written as a minus and a 128 that only fits unsigned.
    const quint64 signBit = quint64(1) << (m_kind.width - 1);
    const bool smallest = m_kind.isSigned && m_token.kind == ExpressionLexer::Kind::Integer
                          && m_token.integer == signBit;
    const CalcValue value = unary();
    if (value.isReal)
        return ofReal(-value.real);
    return smallest && value.bits == signBit ? value : ofBits(m_math.subtract(0, value.bits));
}

CalcValue Evaluation::power()
{
    const CalcValue base = primary();
    const qsizetype at = m_token.position;
    if (!accept(u"**"))
        return base;
    const CalcValue exponent = unary(); // 2 ** -1 and 2 ** 3 ** 2 read from the right
    if (failed())
        return {};
    if (base.isReal || exponent.isReal)
        return ofReal(std::pow(real(base), real(exponent)));
    return integer(m_math.power(base.bits, exponent.bits),
        tr("An integer has no negative power; write the base with a point."), at);
}

CalcValue Evaluation::primary()
{
    using Kind = ExpressionLexer::Kind;
    const ExpressionLexer::Token token = m_token;
    if (token.kind == Kind::Integer) {
        advance();
        return ofBits(m_math.fit(token.integer));
    }
    if (token.kind == Kind::Real) {
        advance();
        return ofReal(token.real);
    }
    if (token.kind == Kind::Name)
        return named();
    if (accept(u"(")) {
        const CalcValue value = bitOr();
        if (!failed() && !accept(u")"))
            failOnWord();
        return value;
    }
    failOnWord();
    return {};
}

CalcValue Evaluation::named()
{
    const ExpressionLexer::Token name = m_token;
    advance();
    if (isOperator(u"("))
        return call(name);
    if (name.text == u"pi")
        return ofReal(std::numbers::pi);
    if (name.text == u"e")
        return ofReal(std::numbers::e);
    fail(tr("\"%1\" is not a known name.").arg(name.text), name.position);
    return {};
}

CalcValue Evaluation::call(const ExpressionLexer::Token& name)
{
    QList<CalcValue> arguments;
    accept(u"(");
    do
        arguments.append(bitOr());
    while (accept(u","));
    if (!failed() && !accept(u")"))
        failOnWord();
    if (failed())
        return {};
    const QString text = name.text.toString();
    const auto function = std::find_if(kRealFunctions.begin(), kRealFunctions.end(),
        [&text](const RealFunction& each) { return text == QLatin1StringView(each.name); });
    const bool twoArguments = text == QLatin1StringView("min") || text == QLatin1StringView("max");
    if (arguments.size() != (twoArguments ? 2 : 1)) {
        fail(tr("\"%1\" takes %n argument(s).", nullptr, twoArguments ? 2 : 1).arg(text),
            name.position);
        return {};
    }
    if (function != kRealFunctions.end())
        return ofReal(function->call(real(arguments.first())));
    const bool known = std::any_of(kOtherFunctions.begin(), kOtherFunctions.end(),
        [&text](const char* each) { return text == QLatin1StringView(each); });
    if (!known) {
        fail(tr("\"%1\" is not a known function.").arg(text), name.position);
        return {};
    }
    return callOther(text, arguments);
}

CalcValue Evaluation::callOther(const QString& name, const QList<CalcValue>& arguments)
{
    const auto is = [&name](const char* text) { return name == QLatin1StringView(text); };
    const CalcValue first = arguments.first();
    if (is("real"))
        return ofReal(real(first));
    if (is("abs")) {
        const bool negative = first.isReal ? std::signbit(first.real)
                                           : m_kind.isSigned && m_kind.toSigned(first.bits) < 0;
        if (!negative)
            return first;
        return first.isReal ? ofReal(-first.real) : ofBits(m_math.subtract(0, first.bits));
    }
    if (is("min") || is("max")) {
        const CalcValue& second = arguments.last();
        const bool firstIsLess = first.isReal || second.isReal || !m_kind.isSigned
                                     ? (first.isReal || second.isReal ? real(first) < real(second)
                                                                      : first.bits < second.bits)
                                     : m_kind.toSigned(first.bits) < m_kind.toSigned(second.bits);
        return firstIsLess == is("min") ? first : second;
    }
    if (is("int")) {
        return first.isReal ? integer(m_math.truncate(first.real),
                   tr("The number does not fit %1 bits.").arg(m_kind.width), m_token.position)
                            : first;
    }
    if (is("floatbits"))
        return ofBits(m_math.fit(Ieee754::bitsOfFloat(float(real(first)))));
    if (is("doublebits"))
        return ofBits(m_math.fit(Ieee754::bitsOfDouble(real(first))));
    if (!needIntegers(first, first, m_token.position))
        return {};
    if (is("float"))
        return ofReal(double(Ieee754::floatOfBits(quint32(first.bits))));
    if (is("double"))
        return ofReal(Ieee754::doubleOfBits(first.bits));
    if (is("swap"))
        return ofBits(IntegerText::swapBytes(first.bits, m_kind));
    return ofBits(quint64(std::popcount(first.bits))); // popcount
}

} // namespace

Expression::Result Expression::evaluate(QStringView text, IntegerKind kind)
{
    if (text.size() > kLongestText) {
        return {.value = {},
            .error = tr("The expression is longer than %1 characters.").arg(kLongestText),
            .errorPosition = kLongestText};
    }
    return Evaluation(text, kind).run();
}

QStringList Expression::functionNames()
{
    QStringList names;
    for (const RealFunction& function : kRealFunctions)
        names.append(QLatin1StringView(function.name));
    for (const char* name : kOtherFunctions)
        names.append(QLatin1StringView(name));
    names.sort();
    return names;
}
