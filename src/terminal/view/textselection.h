#pragma once

#include <QtGlobal>
#include <utility>

class TextStore;

// What a person has selected: from an anchor to a cursor, both absolute positions, so that text
// which arrives or leaves moves nothing; what was removed is no longer selected. Selecting by
// words or lines keeps the word or line of the anchor selected whole.
class TextSelection final
{
public:
    enum class Unit : quint8 { Character, Word, Line };

    // The store must outlive this object.
    explicit TextSelection(const TextStore& store)
        : m_store(store)
    {}

    [[nodiscard]] qint64 from() const;
    [[nodiscard]] qint64 to() const;
    [[nodiscard]] bool isEmpty() const { return from() == to(); }
    [[nodiscard]] bool contains(qint64 position) const
    {
        return from() <= position && position < to();
    }
    // The moving end.
    [[nodiscard]] qint64 cursor() const;
    // Keeps the cursor.
    void clear();
    void select(qint64 anchor, qint64 cursor);

    // Starts at a position, selecting the word or the line there.
    void begin(qint64 position, Unit unit);
    // Moves the end in the units of the start.
    void extendTo(qint64 position);

private:
    using Range = std::pair<qint64, qint64>;

    [[nodiscard]] Range unitAt(qint64 position) const;
    [[nodiscard]] Range wordAt(qint64 position) const;

    const TextStore& m_store;
    Range m_anchor;
    qint64 m_cursor = 0;
    Unit m_unit = Unit::Character;
};
