#pragma once

#include "simdevice/pseudoterminal.h"
#include "simdevice/shell.h"
#include "simdevice/stablelink.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace simdevice {

/// A device on the bench, made of software: a pseudo-terminal with a Shell behind it.
///
/// Bytes from the client go to the shell as long as it takes them; the shell's bounded output goes
/// to the pseudo-terminal as fast as a client reads. When either side is full the other one waits,
/// in the kernel if need be: nothing is dropped and memory does not grow. One timer serves the
/// shell's times.
class Device final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Device)

public:
    /// Most bytes that wait for the shell; further ones stay in the kernel.
    static constexpr qsizetype kInputCapacity = 4096;

    explicit Device(Shell::Options options = {}, QObject* parent = nullptr);
    ~Device() override;

    /// Makes the port, with a link to it at `linkPath` unless that is empty, and boots.
    bool start(const QString& linkPath, QString* error);

    /// Takes the device off the bus: clients see it vanish and the link is gone.
    void stop();

    /// Path of the port itself, for example "/dev/pts/7"; empty while stopped.
    QString portPath() const { return m_terminal.slavePath(); }

private:
    void pump();

    Shell m_shell;
    PseudoTerminal m_terminal;
    StableLink m_link;
    QByteArray m_input;
    QTimer m_timer;
    QElapsedTimer m_clock;
};

} // namespace simdevice
