#include "terminal/text/crccalculation.h"

#include <algorithm>
#include <optional>

namespace {

constexpr int kMaxWidth = 64;
constexpr qsizetype kMaxHexDigits = 16;

// One to sixteen hexadecimal digits and nothing else: no prefix, no sign, no blanks.
std::optional<quint64> hexField(const QString& text)
{
    if (text.isEmpty() || text.size() > kMaxHexDigits)
        return std::nullopt;
    const bool digitsOnly = std::all_of(text.begin(), text.end(), [](QChar digit) {
        return (digit >= u'0' && digit <= u'9') || (digit >= u'a' && digit <= u'f')
               || (digit >= u'A' && digit <= u'F');
    });
    return digitsOnly ? std::optional<quint64>(text.toULongLong(nullptr, 16)) : std::nullopt;
}

} // namespace

CrcCalculation::CrcCalculation(quint64 value, int width)
    : m_value(value)
    , m_width(std::clamp(width, 1, kMaxWidth))
{}

CrcCalculation::CustomResult CrcCalculation::readCustomParameters(const CustomFields& fields)
{
    CustomResult result;
    const int width = fields.width.toInt();
    if (width < 1 || width > kMaxWidth) {
        result.error = tr("Width must be between 1 and 64.");
        return result;
    }
    const auto read = [&result, width](const QString& text, const QString& name) -> quint64 {
        const std::optional<quint64> value = hexField(text);
        if (value && *value <= CrcCatalog::maskForWidth(width))
            return *value;
        if (result.error.isEmpty())
            result.error = tr("%1 must be a hexadecimal value that fits the width.").arg(name);
        return 0;
    };
    result.parameters.width = width;
    result.parameters.polynomial = read(fields.polynomial, tr("Polynomial"));
    if (result.error.isEmpty() && result.parameters.polynomial == 0)
        result.error = tr("Polynomial must not be zero.");
    result.parameters.initialValue = read(fields.initialValue, tr("Initial value"));
    result.parameters.finalXor = read(fields.finalXor, tr("Final XOR"));
    result.parameters.reflectInput = fields.reflectInput;
    result.parameters.reflectOutput = fields.reflectOutput;
    return result;
}

QString CrcCalculation::text(Base base) const
{
    const int bitsPerDigit = base == Base::Binary ? 1 : base == Base::Octal ? 3 : 4;
    const int digits = (m_width + bitsPerDigit - 1) / bitsPerDigit;
    return QString::number(m_value, int(base)).toUpper().rightJustified(digits, u'0');
}

QByteArray CrcCalculation::wireBytes(ByteOrder order) const
{
    const int count = (m_width + 7) / 8;
    QByteArray bytes(count, '\0');
    for (int i = 0; i < count; ++i) {
        const int place = order == ByteOrder::LeastSignificantFirst ? i : count - 1 - i;
        bytes[i] = char((m_value >> (8 * place)) & 0xFF);
    }
    return bytes;
}

QString CrcCalculation::wireText(ByteOrder order) const
{
    return QString::fromLatin1(wireBytes(order).toHex(' ').toUpper());
}
