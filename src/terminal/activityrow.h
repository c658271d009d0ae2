#pragma once

#include <QWidget>

class HLed;
class QHBoxLayout;

// The row of traffic lamps of a pane: one for what is sent, one for what is received. The blink
// timing is not known here; the owner lights and darkens them.
class ActivityRow final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ActivityRow)

public:
    explicit ActivityRow(QWidget* parent = nullptr);
    ~ActivityRow() override;

    void setSending(bool lit);
    void setReceiving(bool lit);
    void setLampsVisible(bool visible);

private:
    HLed* addLamp(
        QHBoxLayout* row, const QString& caption, const QString& lampName, const QString& cellName);

    HLed* m_tx;
    HLed* m_rx;
};
