#pragma once

#include <QBrush>
#include <QColor>
#include <QWidget>

// A round lamp. Lit is a filled disc, dark a hollow ring, and lit without certainty a ring with a
// core, so that no state rests on colour alone. It takes no clicks: they reach what it lies in.
class HLed final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HLed)

public:
    explicit HLed(QWidget* parent = nullptr);
    ~HLed() override;

    void setColor(const QColor& color);
    [[nodiscard]] QColor color() const { return m_color; }
    // Whether what the lamp shows is not sure.
    void setTentative(bool tentative);
    [[nodiscard]] bool isTentative() const { return m_tentative; }
    void turnOn(bool on = true);
    void turnOff(bool off = true);
    void toggle();
    [[nodiscard]] bool isOn() const { return m_on; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // The smaller side less 2, never negative.
    [[nodiscard]] int diameter() const;
    void draw(QPainter& painter, int size) const;
    [[nodiscard]] QBrush brush(const QRectF& disc) const;

    QColor m_color = Qt::green;
    bool m_on = true;
    bool m_tentative = false;
};
