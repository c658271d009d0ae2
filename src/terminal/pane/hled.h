#pragma once

#include <QBrush>
#include <QColor>
#include <QWidget>

// A round lamp. Lit is a filled disc, dark a hollow ring, and lit without certainty a ring with a
// core, so that no state rests on colour alone. What waits for a port to open is never lit: on is a
// ring with a hollow core. What nobody knows is a broken ring with a question mark. It takes no
// clicks: they reach what it lies in.
class HLed final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HLed)

public:
    explicit HLed(QWidget* parent = nullptr);
    ~HLed() override;

    void setColor(const QColor& color);
    [[nodiscard]] QColor color() const { return m_color; }
    // How far what the lamp shows can be relied on.
    enum class Trust : quint8 {
        Sure,
        Tentative, // not confirmed
        Waiting,   // comes true when the port opens
        Unknown,
    };
    void setTrust(Trust trust);
    [[nodiscard]] Trust trust() const { return m_trust; }
    // Shines, whether surely or not.
    [[nodiscard]] bool isLit() const { return m_on && m_trust <= Trust::Tentative; }
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
    void drawCore(QPainter& painter, const QRectF& disc) const;
    [[nodiscard]] QBrush brush(const QRectF& disc) const;

    QColor m_color = Qt::green;
    bool m_on = true;
    Trust m_trust = Trust::Sure;
};
