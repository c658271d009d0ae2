#pragma once

#include <QObject>

class PanelForm;
class QCheckBox;
class QComboBox;
class QWidget;
struct Settings;

// The rows of a connection group that belong to a serial line, be it a port of this machine or the
// one behind a remote serial server: line parameters, and the levels of the two outputs. Owned by
// the panel, like the widgets.
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
    void onRateTyped();
    void showRate();

    PanelForm& m_form;
    qint32 m_rate = 0; // of the record shown; stays when an impossible one is typed
    QComboBox* m_baudRate;
    QComboBox* m_dataBits;
    QComboBox* m_flowControl;
    QComboBox* m_stopBits;
    QComboBox* m_parity;
    QWidget* m_outputs;
    QCheckBox* m_dtr;
    QCheckBox* m_rts;
};
