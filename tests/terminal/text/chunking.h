#pragma once

#include <QByteArrayView>
#include <QList>
#include <QRandomGenerator>
#include <algorithm>

// How a stream arrives: the lengths of its chunks.
using Chunks = QList<qsizetype>;

inline QList<Chunks> everyCutInTwo(qsizetype size)
{
    QList<Chunks> all;
    for (qsizetype at = 1; at < size; ++at)
        all.push_back(Chunks{at, size - at});
    return all;
}

inline Chunks byteByByte(qsizetype size)
{
    return Chunks(size, 1);
}

inline Chunks randomChunks(qsizetype size, int longest, quint32 seed)
{
    QRandomGenerator random(seed);
    Chunks chunks;
    for (qsizetype left = size; left > 0; left -= chunks.last())
        chunks.append(std::min<qsizetype>(left, random.bounded(1, longest + 1)));
    return chunks;
}

// Every way that is worth trying: whole, byte by byte, with empty chunks, short inputs in every
// cut, long ones in random cuts.
inline QList<Chunks> cuttings(qsizetype size)
{
    QList<Chunks> all = size <= 512 ? everyCutInTwo(size) : QList<Chunks>();
    all.push_back(Chunks{size});
    all.push_back(Chunks{0, size, 0});
    all.push_back(byteByByte(size));
    for (quint32 seed = 1; seed <= 12; ++seed)
        all.push_back(randomChunks(size, seed % 2 == 0 ? 7 : 900, seed));
    return all;
}

// Feeds the chunks in order and adds up what comes out.
template<typename Out, typename Feed>
Out fedInChunks(QByteArrayView bytes, const Chunks& chunks, Feed feed)
{
    Out out;
    qsizetype from = 0;
    for (const qsizetype length : chunks) {
        out += feed(bytes.sliced(from, length));
        from += length;
    }
    return out;
}

inline QByteArray randomBytes(qsizetype size, quint32 seed)
{
    QRandomGenerator random(seed);
    QByteArray bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&random] { return char(random.bounded(256)); });
    return bytes;
}
