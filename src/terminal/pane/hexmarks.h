#pragma once

#include <QSyntaxHighlighter>

// Marks what is no hexadecimal digit in the message that is typed: nothing refuses it, and it goes
// out as zeros. Lines are looked at as they change, so that a long message stays easy to type.
// Owned by its editor.
class HexMarks final : public QSyntaxHighlighter
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HexMarks)

public:
    explicit HexMarks(QObject* parent);
    ~HexMarks() override;

protected:
    void highlightBlock(const QString& text) override;
};
