#pragma once

#include "bridge/bridgestats.h"

#include <QWidget>
#include <array>

// The traffic of the last two minutes: above the line from A to B, below it from B to A, a second a
// column, on a scale of its own. Seconds in which data was missing have a band across.
class Sparkline final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Sparkline)

public:
    using Seconds = std::array<TrafficHistory::Second, TrafficHistory::kSeconds>;

    explicit Sparkline(QWidget* parent = nullptr);
    ~Sparkline() override;

    void show(const Seconds& seconds);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Seconds m_seconds{};
};
