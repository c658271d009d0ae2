#pragma once

#include <QColor>
#include <QWidget>

// A round lamp. Lit is a filled disc, dark a hollow ring, so that the state does not rest on
// colour alone. A lamp that can be clicked says so through clicked(); the owner decides what a
// click means.
class HLed final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HLed)

public:
    explicit HLed(QWidget* parent = nullptr);
    ~HLed() override;

    void setColor(const QColor& color);
    [[nodiscard]] QColor color() const { return m_color; }
    void turnOn(bool on = true);
    void turnOff(bool off = true);
    void toggle();
    [[nodiscard]] bool isOn() const { return m_on; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] int diameter() const;

    QColor m_color = Qt::green;
    bool m_on = true;
};
