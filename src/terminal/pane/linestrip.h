#pragma once

#include "terminal/port/linereport.h"

#include <QWidget>

// The control lines in a status line: their names, those that are low dimmed and struck through.
// In words for a tool tip and for assistance. Hidden while there is nothing to show.
class LineStrip final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LineStrip)

public:
    explicit LineStrip(QWidget* parent = nullptr);
    ~LineStrip() override;

    void setReport(const LineReport& report);
    // How many pixels the strip may take. Where not all names fit it shows those of the lines that
    // are high, and where these do not either, nothing but a break. Without a call there is room
    // for all.
    void setRoom(int width);

    // The names that are shown.
    [[nodiscard]] const QList<LineMark>& shown() const { return m_shown; }

    [[nodiscard]] QSize sizeHint() const override;
    // None: the strip never makes its window wider.
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    [[nodiscard]] int widthOf(const QList<LineMark>& marks) const;
    [[nodiscard]] QList<LineMark> marksThatFit(int room) const;
    void arrange();

    LineReport m_report;
    QList<LineMark> m_shown;
    int m_room;
};
