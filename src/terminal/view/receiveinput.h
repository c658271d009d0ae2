#pragma once

#include <QList>
#include <QRect>
#include <QString>
#include <QTextLayout>

class QInputMethodEvent;
class QPainter;
class QPalette;

// Text that an input method is composing: shown inline at the place where the device's echo will
// appear, over what is there, until it is committed. Nothing of it has been typed yet.
class ReceiveInput final
{
public:
    ReceiveInput() = default;
    ~ReceiveInput() = default;
    Q_DISABLE_COPY_MOVE(ReceiveInput)

    // Takes over the preedit of an event; an empty one ends the composition.
    void compose(const QInputMethodEvent& event);
    void cancel();
    [[nodiscard]] bool isComposing() const { return !m_text.isEmpty(); }
    [[nodiscard]] const QString& text() const { return m_text; }

    // Draws with the left end at the mark of the input, moved so that it stays in the area.
    void draw(QPainter& painter, const QRect& mark, const QRect& area, const QFont& font,
        const QPalette& palette);
    // The caret of the composition when drawn so; the mark itself when there is none.
    [[nodiscard]] QRect caretArea(const QRect& mark, const QRect& area, const QFont& font);

private:
    [[nodiscard]] QPoint lay(const QRect& mark, const QRect& area, const QFont& font);

    QString m_text;
    QList<QTextLayout::FormatRange> m_formats;
    int m_caret = 0; // -1: hidden
    QTextLayout m_layout;
};
