#pragma once

#include <QLabel>

// A plain text that wraps and asks for the height that it has at its present width. A form asks a
// wrapping QLabel for a height before it has given it a width and leaves a gap below it.
class WrappedLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WrappedLabel)

public:
    explicit WrappedLabel(const QString& text, QWidget* parent = nullptr);
    ~WrappedLabel() override;

    [[nodiscard]] bool hasHeightForWidth() const override { return false; }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    // Pixels: below that a text would become a column of words, and what a page gives it at first.
    static constexpr int leastWidth = 160;
    static constexpr int usualWidth = 400;

    int m_width = usualWidth;
};
