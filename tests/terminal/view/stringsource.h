#pragma once

#include "terminal/view/textsource.h"

// A text source that is a plain string.
class StringSource final : public TextSource
{
public:
    [[nodiscard]] qint64 firstPosition() const override { return first_; }
    [[nodiscard]] qint64 endPosition() const override { return first_ + text_.size(); }
    [[nodiscard]] QString textAt(qint64 position, qint64 count) const override
    {
        return text_.mid(position - first_, count);
    }

    void append(const QString& text) { text_ += text; }
    void trim(qint64 count)
    {
        text_.remove(0, count);
        first_ += count;
    }
    [[nodiscard]] const QString& text() const { return text_; }

private:
    QString text_;
    qint64 first_ = 0;
};
