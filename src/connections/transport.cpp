#include "connections/transport.h"

#include <QPointer>
#include <utility>

Transport::Transport(connectionMode mode)
    : m_mode(mode)
{}

Transport::~Transport() = default;

void Transport::apply(const Settings& settings)
{
    Q_UNUSED(settings)
}

void Transport::tellLeft() {}

void Transport::setBridgeTuning(bool on)
{
    Q_UNUSED(on)
}

void Transport::discard(Purge which)
{
    Q_UNUSED(which)
}

ReadHold Transport::holdReading()
{
    if (++m_holds == 1)
        setReadingHeld(true);
    return ReadHold([self = QPointer<Transport>(this)] {
        if (self && --self->m_holds == 0)
            self->setReadingHeld(false);
    });
}

void Transport::tell(Notice notice)
{
    if (notice.port.isEmpty())
        notice.port = m_name;
    Q_EMIT noticed(notice);
}

WriteResult Transport::refuseFull(qint64 bytes)
{
    const QString reason = tr("%1: %2 bytes were not taken for sending, too much waits already")
                               .arg(m_name, QString::number(bytes));
    m_refusedBytes += bytes;
    if (++m_refusals == 1 && !m_belowFilter)
        tell(Notice::warning(reason));
    return {WriteResult::Refusal::Full, reason};
}

void Transport::tellRefused()
{
    const qint64 bytes = std::exchange(m_refusedBytes, 0);
    // A single one has been told.
    if (std::exchange(m_refusals, 0) > 1 && !m_belowFilter) {
        tell(Notice::warning(tr("%1: %2 bytes in all were not taken for sending")
                                 .arg(m_name, QString::number(bytes))));
    }
}

void Transport::tellUnsent(const QString& text, CloseReason::Kind kind)
{
    if (!m_belowFilter) {
        tell(kind == CloseReason::Kind::Failed ? Notice::warning(text)
                                               : Notice::error(text, {}, Notice::kUntilDismissed));
    }
}
