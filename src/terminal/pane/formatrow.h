#pragma once

#include <QWidget>

class QRadioButton;

// The choice between text and hexadecimal, as it stands in the receive and in the send group.
class FormatRow final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FormatRow)

public:
    FormatRow(const QString& textToolTip, const QString& hexToolTip, QWidget* parent = nullptr);
    ~FormatRow() override;

    [[nodiscard]] bool isHex() const;
    // MessageFormat; a code that is neither is text.
    void setFormat(int code);
    // The code to store; a stored code that means what is shown stays.
    [[nodiscard]] int format(int stored) const;

Q_SIGNALS:
    // The other one was chosen by a person.
    void edited();

private:
    QRadioButton* m_text;
    QRadioButton* m_hex;
};
