#pragma once

#include <functional>
#include <utility>

// Somebody's wish that a transport be not read for now. Reading is held back while any of these
// tokens exists, so that one owner never opens what another still needs shut. Movable; ends with
// its owner or by release(). May outlive the transport.
class ReadHold final
{
public:
    ReadHold() = default;
    // `letGo` is called once, when the wish ends.
    explicit ReadHold(std::function<void()> letGo)
        : m_letGo(std::move(letGo))
    {}
    ~ReadHold() { release(); }
    ReadHold(ReadHold&& other) noexcept
        : m_letGo(std::exchange(other.m_letGo, nullptr))
    {}
    ReadHold& operator=(ReadHold&& other) noexcept
    {
        // Swapped, so that a new wish is in force before the former one ends.
        ReadHold taken(std::move(other));
        std::swap(m_letGo, taken.m_letGo);
        return *this;
    }
    ReadHold(const ReadHold&) = delete;
    ReadHold& operator=(const ReadHold&) = delete;

    void release()
    {
        if (const auto letGo = std::exchange(m_letGo, nullptr))
            letGo();
    }
    explicit operator bool() const { return m_letGo != nullptr; }

private:
    std::function<void()> m_letGo;
};
