#pragma once

#include <QWidget>

// What the first pane's connection is doing.
enum class PortState : int { Closed, Connecting, Open, Paused };

// The state of a connection as a shape, so that it can be told without colour: a hollow ring
// (closed), a dotted ring (connecting), a disc (open), two bars (paused).
class StateLamp final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(StateLamp)

public:
    explicit StateLamp(QWidget* parent = nullptr);
    ~StateLamp() override = default;

    void setState(PortState state);
    [[nodiscard]] PortState state() const { return m_state; }
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    PortState m_state = PortState::Closed;
};
