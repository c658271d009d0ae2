#pragma once

#include <QColor>
#include <QObject>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTimer>
#include <optional>

class QTextBlock;
class QTextDocument;

// Decides how a coloured text is drawn, and draws it anew when the palette changes. Each coloured
// character remembers the colour that was asked for; where that one cannot be read on the
// background, the text has no colour of its own and follows the palette. A change of the palette
// goes through the document in slices from the event loop, and only when it changes anything.
class ColorRefresher final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ColorRefresher)

public:
    // The document must outlive this object.
    ColorRefresher(QTextDocument& document, const QColor& background, QObject* parent);
    ~ColorRefresher() override = default;

    [[nodiscard]] QTextCharFormat formatFor(const std::optional<QColor>& color) const;
    void setBackground(const QColor& background);

private:
    [[nodiscard]] bool anyFormatChanges() const;
    [[nodiscard]] std::optional<QTextCharFormat> changedFormat(const QTextFormat& format) const;
    void refreshSlice();
    void refreshBlock(const QTextBlock& block);

    QTextDocument& document_;
    QColor background_;
    QTextCursor next_; // a cursor, so that a removal at the front moves it along
    QTimer timer_;
};
