#pragma once

#include "terminal/port/linedriver.h"

#include <QWidget>
#include <array>

class HLed;
class QHBoxLayout;
class QLabel;

// The row of lamps of a pane: what is sent and received, the outputs RTS and DTR, the inputs CTS,
// DSR, DCD and RI. The send lamp and the outputs are buttons, for the mouse and for the keyboard.
// Shows what it is told and decides nothing.
class ControlLineRow final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ControlLineRow)

public:
    explicit ControlLineRow(QWidget* parent = nullptr);
    ~ControlLineRow() override;

    void setSending(bool lit);
    void setReceiving(bool lit);
    // The send lamp stands for a break that is on the line, or for traffic again.
    void setBreakActive(bool on);
    // Under the send lamp, "BRK" or its name.
    void setBreakCaption(bool on);

    void setOutput(SerialLine line, LineDriver::Level level);
    void setInputs(const ModemLines& inputs);
    // No lamp of an input, of any line, is lit: their levels are not known.
    void clearInputs();
    void clearLines();

    void setToolTips(const QString& sending, const QString& receiving);

Q_SIGNALS:
    void toggleRequested(SerialLine line);
    void breakPressed();
    void breakReleased();
    // The row came into sight, or went out of it.
    void shownChanged(bool shown);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    enum Lamp { Tx, Rx, Rts, Dtr, Cts, Dsr, Dcd, Ri, LampCount };

    struct Cell
    {
        QWidget* widget = nullptr;
        HLed* lamp = nullptr;
        QLabel* caption = nullptr;
    };

    struct Light
    {
        bool on = false;
        bool tentative = false;
        QColor color;
        QString state; // in words
    };

    [[nodiscard]] static bool isButton(Lamp lamp);
    void addCell(Lamp lamp, QHBoxLayout* row);
    void nameForAssistance();
    void wireButtons();
    void light(Lamp lamp, const Light& light);

    std::array<Cell, LampCount> m_cells;
};
