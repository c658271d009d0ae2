#pragma once

#include <QObject>

class ReceiveView;
class SendPipeline;

// Joins the receive view with the rest of the pane: keys typed into it go to the send pipeline, its
// text goes into a file. Owned by the pane; view and pipeline outlive it.
class ReceiveDesk final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ReceiveDesk)

public:
    ReceiveDesk(ReceiveView& view, SendPipeline& send);
    ~ReceiveDesk() override;

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
