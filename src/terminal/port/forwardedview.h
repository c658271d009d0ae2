#pragma once

#include <QCoreApplication>
#include <QString>

// How a bridge uses a port, as far as the port's view is concerned.
struct BridgeUse
{
    bool takesReceived = false; // what is received goes to another port
    bool show = true;           // what passes is shown in the view
    qint64 muteBytesPerSec = 0; // but not at a higher rate than this

    friend bool operator==(const BridgeUse&, const BridgeUse&) = default;
};

// Decides which of the bytes that pass a bridged port its view shows. They are muted from the
// moment that more come within a second than the limit, until a whole second has had no more than
// that. Owned by the live port, which passes the time.
class ForwardedView final
{
    Q_DECLARE_TR_FUNCTIONS(ForwardedView)

public:
    static constexpr qint64 kWindowMs = 1000;

    void use(const BridgeUse& use) { m_use = use; }
    // Whether so many bytes are shown.
    bool shows(qint64 bytes, qint64 nowMs);
    // What the view is to say about it, since the last call; mostly nothing.
    [[nodiscard]] QString takeText();

private:
    BridgeUse m_use;
    qint64 m_windowMs = 0; // when it began
    qint64 m_windowBytes = 0;
    qint64 m_mutedBytes = 0;
    bool m_muted = false;
    QString m_text;
};
