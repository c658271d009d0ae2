#pragma once

#include <QObject>

class PanelForm;
class QCheckBox;
class QComboBox;
class QLabel;
class QWidget;
struct Settings;

// The rows of a connection group that belong to a serial line, be it a port of this machine or the
// one behind a remote serial server: line parameters, and the levels of the two outputs. A baud
// rate that is empty or cannot be is told below its field and not stored. Owned by the panel, like
// the widgets.
class SerialLineRows final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SerialLineRows)

public:
    // Adds its rows at the end of the form, which must outlive it.
    SerialLineRows(PanelForm& form, QWidget* panel);
    ~SerialLineRows() override;

    void load(const Settings& settings);
    void store(Settings& settings) const;
    // Whether the connection has a serial line to configure.
    void setUsed(bool used);

Q_SIGNALS:
    // By a person; what was typed is reported when the typing is done.
    void edited();

private:
    void addRows();
    void connectEdits();
    void syncEnabled();
    void showProblem();

    PanelForm& m_form;
    QComboBox* m_baudRate;
    QLabel* m_baudRateProblem;
    QComboBox* m_dataBits;
    QComboBox* m_flowControl;
    QComboBox* m_stopBits;
    QComboBox* m_parity;
    QWidget* m_outputs;
    QCheckBox* m_dtr;
    QCheckBox* m_rts;
    int m_rateInForce = 0; // bits per second
    bool m_used = true;
};
