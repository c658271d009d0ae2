#include "tools/modbusvalues.h"

#include <QCoreApplication>
#include <QLocale>
#include <QStringList>
#include <array>
#include <bit>
#include <charconv>
#include <limits>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

using ModbusValues::Order;
using ModbusValues::Type;

QString translated(const char* text)
{
    return QCoreApplication::translate("ModbusValues", text);
}

QStringList tokens(QStringView text)
{
    QString separated = text.toString();
    for (QChar& character : separated) {
        if (character.isSpace() || character == u',' || character == u';')
            character = u' ';
    }
    return separated.split(u' ', Qt::SkipEmptyParts);
}

quint16 swappedBytes(quint16 word)
{
    return quint16(word << 8 | word >> 8);
}

// The two registers in the order of the wire. Every order undoes itself.
std::array<quint16, 2> ordered(quint16 first, quint16 second, Order order)
{
    if (order == Order::Badc || order == Order::Dcba) {
        first = swappedBytes(first);
        second = swappedBytes(second);
    }
    if (order == Order::Cdab || order == Order::Dcba)
        return {second, first};
    return {first, second};
}

qint64 lowest(Type type)
{
    if (type == Type::Signed16)
        return std::numeric_limits<qint16>::min();
    return type == Type::Signed32 ? std::numeric_limits<qint32>::min() : 0;
}

qint64 highest(Type type)
{
    switch (type) {
    case Type::Signed16:
        return std::numeric_limits<qint16>::max();
    case Type::Signed32:
        return std::numeric_limits<qint32>::max();
    case Type::Unsigned32:
        return std::numeric_limits<quint32>::max();
    default:
        return std::numeric_limits<quint16>::max();
    }
}

struct Bits
{
    std::optional<quint32> bits;
    QString fault;
};

Bits parseFloat(const QString& token)
{
    bool ok = false;
    const float value = QLocale::c().toFloat(token, &ok);
    if (ok)
        return {std::bit_cast<quint32>(value), {}};
    return {
        {}, translated(QT_TRANSLATE_NOOP("ModbusValues", "\"%1\" is not a number.")).arg(token)};
}

Bits parseNumber(const QString& token, Type type)
{
    bool ok = false;
    if (token.startsWith("0x"_L1, Qt::CaseInsensitive)) {
        const qulonglong bits = QStringView(token).sliced(2).toULongLong(&ok, 16);
        const quint32 most = ModbusValues::registersOf(type) == 2 ? 0xFFFF'FFFFU : 0xFFFFU;
        if (ok && bits <= most)
            return {quint32(bits), {}};
        if (ok) {
            return {{}, translated(QT_TRANSLATE_NOOP("ModbusValues", "%1 has more than %2 bits."))
                            .arg(token)
                            .arg(ModbusValues::registersOf(type) * 16)};
        }
    }
    if (type == Type::Float32)
        return parseFloat(token);
    const qlonglong value = QLocale::c().toLongLong(token, &ok);
    if (!ok) {
        return {{},
            translated(QT_TRANSLATE_NOOP("ModbusValues", "\"%1\" is not a number.")).arg(token)};
    }
    if (value < lowest(type) || value > highest(type)) {
        return {{}, translated(QT_TRANSLATE_NOOP("ModbusValues", "%1 is not between %2 and %3."))
                        .arg(token)
                        .arg(lowest(type))
                        .arg(highest(type))};
    }
    return {quint32(value), {}};
}

QString hexWord(quint16 word)
{
    return u"%1"_s.arg(word, 4, 16, QLatin1Char('0')).toUpper();
}

// The shortest decimal that reads back as the same value.
QString floatText(float value)
{
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value);
    return QString::fromLatin1(text.data(), end.ptr - text.data());
}

QString text32(quint32 bits, Type type)
{
    if (type == Type::Float32)
        return floatText(std::bit_cast<float>(bits));
    return type == Type::Signed32 ? QString::number(qint32(bits)) : QString::number(bits);
}

QString text16(quint16 word, Type type)
{
    if (type == Type::Signed16)
        return QString::number(qint16(word));
    return type == Type::Unsigned16 ? QString::number(word) : "0x"_L1 + hexWord(word);
}

} // namespace

ModbusValues::Parsed ModbusValues::parseRegisters(QStringView text, Type type, Order order)
{
    Parsed parsed;
    const QStringList all = tokens(text);
    for (const QString& token : all) {
        const Bits value = parseNumber(token, type);
        if (!value.bits)
            return {{}, value.fault};
        if (registersOf(type) == 1) {
            parsed.words += quint16(*value.bits);
        } else {
            for (const quint16 word :
                ordered(quint16(*value.bits >> 16), quint16(*value.bits), order))
                parsed.words += word;
        }
    }
    return parsed;
}

ModbusValues::Parsed ModbusValues::parseCoils(QStringView text)
{
    Parsed parsed;
    const QStringList all = tokens(text);
    for (const QString& token : all) {
        if (token.compare("on"_L1, Qt::CaseInsensitive) == 0) {
            parsed.words += 1;
        } else if (token.compare("off"_L1, Qt::CaseInsensitive) == 0) {
            parsed.words += 0;
        } else {
            for (const QChar digit : token) {
                if (digit != u'0' && digit != u'1') {
                    return {{}, translated(QT_TRANSLATE_NOOP("ModbusValues",
                                               "\"%1\" is no coil: write 0 or 1, off or on."))
                                    .arg(token)};
                }
                parsed.words += digit == u'1' ? 1 : 0;
            }
        }
    }
    return parsed;
}

QString ModbusValues::hexAddress(int wireAddress)
{
    return "0x"_L1 + hexWord(quint16(wireAddress));
}

QList<ModbusValues::Shown> ModbusValues::showRegisters(
    const QList<quint16>& words, Type type, Order order)
{
    QList<Shown> shown;
    const int step = registersOf(type);
    for (int at = 0; at < words.size(); at += step) {
        if (at + step > words.size()) {
            shown.append({at, 1, text16(words[at], Type::Hex16), hexWord(words[at])});
        } else if (step == 1) {
            shown.append({at, 1, text16(words[at], type), hexWord(words[at])});
        } else {
            const auto [high, low] = ordered(words[at], words[at + 1], order);
            shown.append({at, 2, text32(quint32(high) << 16 | low, type),
                hexWord(words[at]) + u' ' + hexWord(words[at + 1])});
        }
    }
    return shown;
}

QList<ModbusValues::Shown> ModbusValues::showCoils(const QList<quint16>& coils)
{
    QList<Shown> shown;
    for (int at = 0; at < coils.size(); ++at) {
        const bool on = coils[at] != 0;
        shown.append({at, 1,
            on ? translated(QT_TRANSLATE_NOOP("ModbusValues", "on"))
               : translated(QT_TRANSLATE_NOOP("ModbusValues", "off")),
            on ? u"1"_s : u"0"_s});
    }
    return shown;
}
