#pragma once

#include "settings/formatsetting.h"
#include "settings/settings.h"

#include <QObject>

class ConnectionPanel;
class ReceivePanel;
class SendPanel;

// The two records of a pane together with the panels that show and edit them. The records are the
// truth; a panel's editors hold what a person is typing until store() takes it over, which happens
// with every edit and before a message is sent by hand or a connection opened. Leaving a field as
// it was is no edit.
//
// Who changes a field of a record shows it by show(), and reports it by markEdited() when a person
// wanted it. Records that are shown or replaced are never an edit. Owned by the pane; the panels
// outlive it.
class PaneRecords final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneRecords)

public:
    // The records are those of a new pane. The caller shows them once it listens.
    PaneRecords(ConnectionPanel& connection, ReceivePanel& receive, SendPanel& send);
    ~PaneRecords() override;

    [[nodiscard]] Settings& settings() { return m_settings; }
    [[nodiscard]] const Settings& settings() const { return m_settings; }
    [[nodiscard]] FormatSetting& format() { return m_format; }
    [[nodiscard]] const FormatSetting& format() const { return m_format; }

    void setSettings(const Settings& settings);
    void setFormat(const FormatSetting& format);

    // What the panels hold becomes the records; what differs was edited.
    void store();
    // The records become what the panels hold.
    void show();
    // A record was changed by the person at the desk.
    void markEdited();

Q_SIGNALS:
    // The format record was edited or shown: it is to be put into force.
    void formatChanged();
    // setFormat() replaced the record; formatChanged() follows.
    void formatReplaced();
    // A person edited the connection panel; the record has it.
    void connectionEdited();
    // A person changed something that is to be saved.
    void edited();

private:
    Settings m_settings;
    FormatSetting m_format;
    ConnectionPanel& m_connectionPanel;
    ReceivePanel& m_receivePanel;
    SendPanel& m_sendPanel;
    bool m_showing = false; // records are being shown: what the panels report is no edit
};
