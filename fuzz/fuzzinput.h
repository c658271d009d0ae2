#pragma once

#include <QByteArray>
#include <algorithm>
#include <cstdint>

// Cuts the choices of a test run from the bytes that the fuzzer varies; an exhausted input gives 0.
class FuzzInput final
{
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : m_rest(QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size)))
    {}

    bool atEnd() const { return m_rest.isEmpty(); }

    // At most that many bytes, in storage of their own.
    QByteArray take(qsizetype count)
    {
        const QByteArray taken(m_rest.constData(), std::min(count, m_rest.size()));
        m_rest = m_rest.sliced(taken.size());
        return taken;
    }

    int byte()
    {
        const QByteArray taken = take(1);
        return taken.isEmpty() ? 0 : std::uint8_t(taken.front());
    }

private:
    QByteArray m_rest;
};
