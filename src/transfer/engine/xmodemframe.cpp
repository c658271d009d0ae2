#include "transfer/engine/xmodemframe.h"

#include <QList>
#include <QString>
#include <array>
#include <numeric>

namespace XmodemFrame {

namespace {

// Table k advances the register by one byte and then by k zero bytes, so that eight bytes can be
// folded in by eight independent look-ups. Byte by byte, each look-up waits for the one before.
using CrcTables = std::array<std::array<quint16, 256>, 8>;

constexpr CrcTables makeCrcTables()
{
    constexpr quint16 kPolynomial = 0x1021;
    CrcTables tables{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        auto crc = static_cast<quint16>(byte << 8);
        for (int bit = 0; bit < 8; ++bit) {
            crc = static_cast<quint16>((crc << 1) ^ ((crc & 0x8000U) != 0 ? kPolynomial : 0));
        }
        tables[0][byte] = crc;
    }
    for (std::size_t k = 1; k < tables.size(); ++k) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const quint16 before = tables[k - 1][byte];
            tables[k][byte] = static_cast<quint16>((before << 8) ^ tables[0][before >> 8]);
        }
    }
    return tables;
}

constexpr CrcTables kCrcTables = makeCrcTables();

} // namespace

quint16 crc16(QByteArrayView data)
{
    const auto& t = kCrcTables;
    unsigned crc = 0;
    const auto* p = reinterpret_cast<const uchar*>(data.data());
    qsizetype left = data.size();
    for (; left >= 8; left -= 8, p += 8) {
        const unsigned folded = t[7][p[0] ^ (crc >> 8)] ^ t[6][p[1] ^ (crc & 0xFF)] ^ t[5][p[2]]
                                ^ t[4][p[3]] ^ t[3][p[4]] ^ t[2][p[5]] ^ t[1][p[6]] ^ t[0][p[7]];
        crc = folded;
    }
    for (; left > 0; --left, ++p) {
        crc = ((crc << 8) & 0xFFFF) ^ t[0][(crc >> 8) ^ *p];
    }
    return static_cast<quint16>(crc);
}

quint8 checksum(QByteArrayView data)
{
    const auto sum = std::accumulate(data.begin(), data.end(), 0U,
        [](unsigned total, char byte) { return total + static_cast<uchar>(byte); });
    return static_cast<quint8>(sum);
}

QByteArray frameBlock(quint8 number, QByteArrayView data, bool useCrc)
{
    QByteArray frame;
    frame.reserve(kHeadBytes + data.size() + trailerBytes(useCrc));
    frame.append(data.size() <= kShortData ? kSoh : kStx);
    frame.append(static_cast<char>(number));
    frame.append(static_cast<char>(~number));
    frame.append(data);
    if (useCrc) {
        const quint16 crc = crc16(data);
        frame.append(static_cast<char>(crc >> 8));
        frame.append(static_cast<char>(crc & 0xFF));
    } else {
        frame.append(static_cast<char>(checksum(data)));
    }
    return frame;
}

bool trailerOk(QByteArrayView data, QByteArrayView trailer, bool useCrc)
{
    if (trailer.size() != trailerBytes(useCrc)) {
        return false;
    }
    if (!useCrc) {
        return static_cast<quint8>(trailer[0]) == checksum(data);
    }
    const quint16 crc = crc16(data);
    return static_cast<quint8>(trailer[0]) == crc >> 8
           && static_cast<quint8>(trailer[1]) == (crc & 0xFF);
}

QByteArray buildHeaderBlock(const XferFileMeta& meta)
{
    // The cut may fall inside a multi-byte character; the receiver then shows a replacement.
    QByteArray block = meta.name.toUtf8().left(kMaxNameBytes);
    block.append('\0');
    block.append(QByteArray::number(qMax<qint64>(meta.size, 0)));
    if (meta.mtime > 0) {
        block.append(' ');
        block.append(QByteArray::number(meta.mtime, 8));
    }
    block.append('\0');
    return block.leftJustified(kShortData, '\0', true);
}

QByteArray buildTerminatorBlock()
{
    return QByteArray().leftJustified(kShortData, '\0');
}

std::optional<XferFileMeta> parseHeaderBlock(QByteArrayView data)
{
    const qsizetype nameEnd = data.indexOf('\0');
    if (nameEnd < 0) {
        return std::nullopt;
    }
    XferFileMeta meta;
    meta.name = QString::fromUtf8(data.first(nameEnd));
    const QByteArrayView rest = data.sliced(nameEnd + 1);
    const qsizetype fieldsEnd = rest.indexOf('\0');
    const QByteArrayView fields = fieldsEnd < 0 ? rest : rest.first(fieldsEnd);
    const QList<QByteArray> words = fields.toByteArray().simplified().split(' ');
    bool parsed = false;
    if (const qint64 size = words[0].toLongLong(&parsed); parsed && size >= 0) {
        meta.size = size;
    }
    if (words.size() > 1) {
        if (const qint64 mtime = words[1].toLongLong(&parsed, 8); parsed && mtime >= 1) {
            meta.mtime = mtime;
        }
    }
    return meta;
}

QByteArray cancelSequence()
{
    constexpr char kBackspace = 0x08;
    return QByteArray(8, kCan) + QByteArray(8, kBackspace);
}

} // namespace XmodemFrame
