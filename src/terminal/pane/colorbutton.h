#pragma once

#include <QColor>
#include <QPushButton>

// A button that shows a colour and opens the colour dialog to choose another.
class ColorButton final : public QPushButton
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ColorButton)

public:
    explicit ColorButton(const QString& dialogTitle, QWidget* parent = nullptr);
    ~ColorButton() override;

    void setColor(const QColor& color);
    [[nodiscard]] QColor color() const { return m_color; }

Q_SIGNALS:
    void colorChosen(const QColor& color);

private:
    void choose();

    QString m_dialogTitle;
    QColor m_color;
};
