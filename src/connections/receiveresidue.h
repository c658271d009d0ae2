#pragma once

#include <QByteArray>
#include <utility>

// Received bytes that outlive the device or socket they came from: what was waiting, unread, when
// it went away. A link puts them here before it closes and hands them out, in order, before
// anything that a later connection brings.
class ReceiveResidue final
{
public:
    // Covers what a system keeps for one TCP socket that nobody reads (Linux: 6 to 32 MiB).
    static constexpr qsizetype kMaxBytes = qsizetype{64} * 1024 * 1024;

    // Appends, up to the bound. Returns how many bytes had no room.
    qsizetype keep(const QByteArray& bytes)
    {
        const qsizetype room = qMin(bytes.size(), kMaxBytes - m_bytes.size());
        m_bytes.append(bytes.constData(), room);
        return bytes.size() - room;
    }

    QByteArray take() { return std::exchange(m_bytes, {}); }
    void clear() { m_bytes.clear(); }
    [[nodiscard]] bool isEmpty() const { return m_bytes.isEmpty(); }

private:
    QByteArray m_bytes;
};
