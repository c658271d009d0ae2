#pragma once

#include <QObject>

class ReceiveView;
class SendPipeline;
struct FormatSetting;

// Joins the receive view with the rest of the pane: keys typed into it go to the send pipeline, its
// text goes into a file. Owned by the pane; view and pipeline outlive it.
class ReceiveDesk final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceiveDesk)

public:
    ReceiveDesk(ReceiveView& view, SendPipeline& send);
    ~ReceiveDesk() override;

    // Puts the sanitized record into force, as far as it concerns the look of the view.
    void applyFormat(const FormatSetting& format);

Q_SIGNALS:
    // A key was typed; `sent` tells whether anything went out.
    void typed(bool sent);
    void statusMessage(const QString& text, int timeoutMs);
    void errorOccurred(const QString& text);

private:
    void wireKeys();
    void wireSaving();

    ReceiveView& m_view;
    SendPipeline& m_send;
};
