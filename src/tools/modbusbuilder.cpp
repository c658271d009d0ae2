#include "tools/modbusbuilder.h"

#include "settings/connectionmode.h"
#include "terminal/port/liveport.h"
#include "tools/modbusform.h"
#include "tools/modbuspollpage.h"
#include "tools/modbusvaluemodel.h"

#include <QCheckBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTabWidget>
#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using Modbus::Framing;

namespace {

constexpr qint64 kBitsPerByte = 11; // Modbus over Serial Line V1.02, 2.5.1
constexpr qint64 kLeastGapMs = 2;

// How long so many bits take on the line of that port; 0 where there is no line.
qint64 lineMs(const LivePort& port, qint64 bits)
{
    const Settings& settings = port.active();
    const bool serial = settings.connMode == connectionMode::SerialPort
                        || settings.connMode == connectionMode::RemoteSerialRfc2217;
    return serial && settings.baudRate > 0
               ? (bits * 1000 + settings.baudRate - 1) / settings.baudRate
               : 0;
}

// 3.5 characters of silence stand between two frames on a serial line (the same, 2.5.1.1).
qint64 gapMs(const LivePort& port)
{
    const qint64 gap = lineMs(port, kBitsPerByte * 7 / 2 + 1);
    return gap == 0 ? 0 : std::max(gap, kLeastGapMs);
}

} // namespace

ModbusBuilder::~ModbusBuilder()
{
    if (m_saveTimer.isActive())
        save();
}

void ModbusBuilder::wire()
{
    connect(m_form, &ModbusForm::changed, this, &ModbusBuilder::onEdited);
    connect(m_rtu, &QRadioButton::toggled, this, &ModbusBuilder::onFraming);
    connect(m_keep, &QPushButton::clicked, this, &ModbusBuilder::keepRequest);
    connect(m_name, &QLineEdit::textChanged, this, &ModbusBuilder::scheduleSave);
    connect(m_open->menu(), &QMenu::aboutToShow, this, &ModbusBuilder::fillOpenMenu);
    connect(m_insert, &QPushButton::clicked, this, [this] {
        const ModbusRequest::Built built = m_form->request().build(framing());
        if (built.isValid()) {
            Q_EMIT insertRequested(framing() == Framing::Rtu
                                       ? Modbus::rtuFrame(built.unit, built.pdu)
                                       : Modbus::tcpFrame(1, built.unit, built.pdu));
        }
    });
    connect(m_send, &QPushButton::clicked, this, [this] {
        if (m_running == Running::Once || m_running == Running::Repeat)
            stop();
        else if (m_repeat->isChecked())
            startRepeat();
        else
            sendOnce();
    });
    connect(m_repeat, &QCheckBox::toggled, this, &ModbusBuilder::showRunning);
    for (QSpinBox* box : {m_repeatMs, m_timeoutMs})
        connect(box, &QSpinBox::valueChanged, this, &ModbusBuilder::scheduleSave);
    connect(m_pages, &QTabWidget::currentChanged, this, &ModbusBuilder::scheduleSave);
    connect(m_pollPage, &ModbusPollPage::changed, this, [this] {
        m_open->setEnabled(!m_pollPage->kept().isEmpty());
        scheduleSave();
    });
    connect(m_pollPage, &ModbusPollPage::openRequested, this, [this](const ModbusRequest& request) {
        edit(request);
        m_pages->setCurrentIndex(0);
    });
    connect(m_pollPage, &ModbusPollPage::startRequested, this, &ModbusBuilder::startPoll);
    connect(m_pollPage, &ModbusPollPage::stopRequested, this, &ModbusBuilder::stop);
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &ModbusBuilder::advance);
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(kSaveDelayMs);
    connect(&m_saveTimer, &QTimer::timeout, this, &ModbusBuilder::save);
}

void ModbusBuilder::restore()
{
    const ModbusState state = ModbusState::load(m_store);
    (state.framing == Framing::Tcp ? m_tcp : m_rtu)->setChecked(true);
    m_repeatMs->setValue(int(state.repeatMs));
    m_timeoutMs->setValue(int(state.timeoutMs));
    m_pollPage->setIntervalMs(state.pollMs);
    m_pollPage->setKept(state.kept);
    m_open->setEnabled(!state.kept.isEmpty());
    m_form->setFraming(state.framing);
    edit(state.draft);
    m_pages->setCurrentIndex(state.page);
    restoreGeometry(state.geometry);
    m_restoring = false;
}

void ModbusBuilder::scheduleSave()
{
    if (!m_restoring)
        m_saveTimer.start();
}

void ModbusBuilder::save()
{
    m_saveTimer.stop();
    ModbusState state;
    state.draft = m_form->request();
    state.draft.name = m_name->text();
    state.kept = m_pollPage->kept();
    state.framing = framing();
    state.repeatMs = m_repeatMs->value();
    state.pollMs = m_pollPage->intervalMs();
    state.timeoutMs = m_timeoutMs->value();
    state.page = m_pages->currentIndex();
    state.geometry = saveGeometry();
    QString reason;
    if (!state.save(m_store, reason))
        tell(reason);
}

// A window that is closed sends nothing.
void ModbusBuilder::done(int result)
{
    stop();
    QDialog::done(result);
}

// Enter sends what is written; in the name it keeps it.
void ModbusBuilder::keyPressEvent(QKeyEvent* event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && m_name->hasFocus())
        keepRequest();
    else if (!enter || m_pages->currentIndex() == 0)
        QDialog::keyPressEvent(event);
}

void ModbusBuilder::moveEvent(QMoveEvent* event)
{
    QDialog::moveEvent(event);
    scheduleSave();
}

void ModbusBuilder::resizeEvent(QResizeEvent* event)
{
    QDialog::resizeEvent(event);
    scheduleSave();
}

Framing ModbusBuilder::framing() const
{
    return m_tcp->isChecked() ? Framing::Tcp : Framing::Rtu;
}

void ModbusBuilder::onFraming()
{
    m_form->setFraming(framing());
}

void ModbusBuilder::onEdited()
{
    showFrames();
    scheduleSave();
    const ModbusRequest request = m_form->request();
    const ModbusRequest::Built built = request.build(framing());
    const ModbusRequest::Built sent = m_sent.build(framing());
    const bool same = built.isValid() && built.pdu == sent.pdu && built.unit == sent.unit;
    // What is repeated is what stands there.
    if (!same && m_running == Running::Repeat) {
        stop();
        tell(tr("The request was changed: no longer repeated"));
    }
    // How the same values are read can be chosen after they came.
    if (same && !m_sentFrame.isEmpty()) {
        m_sent = request;
        m_values->setReading(0, request);
    }
}

void ModbusBuilder::showFrames()
{
    const ModbusRequest request = m_form->request();
    const auto show = [](QLineEdit& field, const QByteArray& frame) {
        field.setText(QString::fromLatin1(frame.toHex(' ').toUpper()));
        field.setCursorPosition(0);
        field.setPlaceholderText(tr("As it stands it cannot be sent: see the marked field"));
    };
    const ModbusRequest::Built rtu = request.build(Framing::Rtu);
    const ModbusRequest::Built tcp = request.build(Framing::Tcp);
    show(*m_rtuFrame, rtu.isValid() ? Modbus::rtuFrame(rtu.unit, rtu.pdu) : QByteArray());
    show(*m_tcpFrame, tcp.isValid() ? Modbus::tcpFrame(1, tcp.unit, tcp.pdu) : QByteArray());
    showRunning();
}

void ModbusBuilder::keepRequest()
{
    ModbusRequest request = m_form->request();
    request.name = m_name->text().trimmed();
    if (request.name.isEmpty()) {
        m_name->setFocus();
        return tell(tr("Give the request a name to keep it"));
    }
    if (m_running == Running::Poll)
        return tell(tr("Stop polling first: the list stands still meanwhile"));
    if (!m_pollPage->keep(request))
        return tell(tr("No more than %1 requests can be kept").arg(ModbusState::kMaxKept));
    m_name->setText(request.name);
    tell(tr("Kept as \"%1\", in the poll list").arg(request.name));
}

void ModbusBuilder::edit(const ModbusRequest& request)
{
    m_form->setRequest(request);
    m_name->setText(request.name);
}

void ModbusBuilder::fillOpenMenu()
{
    m_open->menu()->clear();
    for (const ModbusState::Kept& kept : m_pollPage->kept()) {
        QString name = kept.request.name;
        connect(m_open->menu()->addAction(name.replace(u'&', u"&&"_s)), &QAction::triggered, this,
            [this, request = kept.request] { edit(request); });
    }
}

void ModbusBuilder::sendOnce()
{
    const ModbusRequest::Built built = m_form->request().build(framing());
    m_sent = m_form->request();
    start(Running::Once, {{0, built.unit, built.pdu}}, 0);
}

void ModbusBuilder::startRepeat()
{
    const ModbusRequest::Built built = m_form->request().build(framing());
    m_sent = m_form->request();
    start(Running::Repeat, {{0, built.unit, built.pdu}}, m_repeatMs->value());
}

void ModbusBuilder::startPoll()
{
    stop();
    m_pollPage->begin();
    QList<ModbusPoll::Item> items;
    const QList<ModbusState::Kept>& kept = m_pollPage->kept();
    for (int at = 0; at < kept.size(); ++at) {
        if (!kept[at].polled)
            continue;
        const ModbusRequest::Built built = kept[at].request.build(framing());
        if (built.isValid())
            items.append({at, built.unit, built.pdu});
        else
            m_pollPage->setResult(at, tr("Not sent: %1").arg(built.faults.first()));
    }
    if (items.isEmpty())
        return tell(tr("Nothing in the list can be sent"));
    start(Running::Poll, items, m_pollPage->intervalMs());
}

void ModbusBuilder::start(Running running, const QList<ModbusPoll::Item>& items, qint64 intervalMs)
{
    stop();
    follow(m_current);
    if (!m_port)
        return;
    m_running = running;
    m_mayOpen = true;
    m_begun = false;
    if (running != Running::Poll) {
        m_values->setRequests({m_sent});
        m_answerFrame->clear();
        m_asked->setText(m_sent.summary());
        m_answer->setText(tr("Waiting for the answer"));
    }
    tell({});
    m_poll.start(items, framing(), {intervalMs, m_timeoutMs->value(), gapMs(*m_port)}, m_clock());
    showRunning();
    advance();
}

void ModbusBuilder::stop()
{
    m_timer.stop();
    if (m_running != Running::Poll && (m_poll.isWaiting() || m_waitsForPort))
        m_answer->setText(tr("Stopped"));
    m_poll.stop();
    m_running = Running::Nothing;
    m_waitsForPort = false;
    follow(m_current);
    showRunning();
}

// What is due now, and the timer for what is due next.
void ModbusBuilder::advance()
{
    if (m_running == Running::Nothing)
        return;
    if (!m_port) {
        stop();
        return tell(tr("The port is gone"));
    }
    const qint64 nowMs = m_clock();
    const bool leaving = m_poll.isWaiting() && m_port->isActive() && m_port->pendingBytes() > 0;
    if (leaving)
        m_poll.stillLeaving(nowMs);
    take(m_poll.tick(nowMs));
    if (!m_poll.due(nowMs).isEmpty() && !sendDue())
        return;
    if (!m_poll.isRunning())
        return stop();
    const qint64 nextMs = m_poll.nextTimeoutMs(nowMs);
    m_timer.start(int(leaving ? std::min<qint64>(nextMs, kStillLeavingMs) : nextMs));
}

// A connection that is being made or regained, a server without clients, a port that a person
// closed meanwhile: the requests go on when it takes them.
bool ModbusBuilder::mayWaitForPort() const
{
    if (m_port->isActive() && !m_port->isOpen())
        return true;
    return m_running != Running::Once && (m_begun || m_port->isActive());
}

// False when nothing was sent, and what follows from that has been seen to.
bool ModbusBuilder::sendDue()
{
    // Only who starts has a port opened; nobody else opens again what a person closed.
    if (std::exchange(m_mayOpen, false) && !m_port->isActive())
        m_port->start(false);
    const QByteArray frame = m_poll.due(m_clock());
    const bool sent = m_port->isOpen() && m_port->sendBytes(frame);
    m_waitsForPort = !sent && mayWaitForPort();
    showPort();
    if (m_waitsForPort) {
        m_timer.start(kWaitForPortMs);
        return false;
    }
    if (!sent) {
        const QString reason = m_port->lastError();
        stop();
        m_answer->clear();
        tell(reason.isEmpty() ? tr("Nothing was sent") : tr("Nothing was sent: %1").arg(reason));
        return false;
    }
    m_begun = true;
    m_sentFrame = frame;
    m_poll.sent(m_clock(), lineMs(*m_port, kBitsPerByte * frame.size()));
    return true;
}

void ModbusBuilder::receive(const QByteArray& bytes, const QString& peer)
{
    if (!m_poll.isWaiting())
        return;
    const std::optional<ModbusPoll::Outcome> outcome = m_poll.receive(bytes, peer, m_clock());
    take(outcome);
    // Not from here: the port is about to hand the same bytes to others.
    m_timer.start(outcome ? 0 : int(std::max<qint64>(0, m_poll.nextTimeoutMs(m_clock()))));
}

void ModbusBuilder::take(const std::optional<ModbusPoll::Outcome>& outcome)
{
    if (!outcome)
        return;
    const ModbusAnswer& answer = outcome->answer;
    const QTime at = localTimeNow().time();
    if (m_running == Running::Poll)
        return m_pollPage->setAnswer(outcome->id, answer, at);
    m_values->setAnswer(0, answer, at);
    m_answerFrame->setText(QString::fromLatin1(answer.frame.toHex(' ').toUpper()));
    m_answerFrame->setCursorPosition(0);
    const bool good =
        answer.kind == ModbusAnswer::Kind::Data || answer.kind == ModbusAnswer::Kind::Broadcast;
    QString text = (good ? u"✓ "_s : u"⚠ "_s) + answer.text();
    if (!answer.peer.isEmpty())
        text += u" ("_s + answer.peer + u')';
    m_answer->setText(text);
}

void ModbusBuilder::setPort(LivePort* port)
{
    m_current = port;
    if (m_running == Running::Nothing)
        follow(port);
    showRunning();
}

void ModbusBuilder::follow(LivePort* port)
{
    if (port == m_port)
        return;
    if (m_port)
        disconnect(m_port, nullptr, this, nullptr);
    m_port = port;
    if (port != nullptr) {
        connect(port, &LivePort::rxTapped, this, &ModbusBuilder::receive);
        connect(port, &LivePort::stateChanged, this, [this] {
            showPort();
            if (m_waitsForPort)
                m_timer.start(0);
        });
        connect(port, &LivePort::recordsChanged, this, &ModbusBuilder::showPort);
        connect(port, &QObject::destroyed, this, &ModbusBuilder::advance, Qt::QueuedConnection);
    }
    showPort();
}

void ModbusBuilder::showRunning()
{
    const bool mine = m_running == Running::Once || m_running == Running::Repeat;
    m_send->setText(mine                    ? tr("&Stop")
                    : m_repeat->isChecked() ? tr("&Send Repeatedly")
                                            : tr("&Send"));
    const bool valid = m_form->request().build(framing()).isValid();
    m_send->setEnabled(mine || (valid && m_current && m_running == Running::Nothing));
    m_insert->setEnabled(valid && m_current);
    m_repeat->setEnabled(!mine);
    m_repeatMs->setEnabled(!mine);
    m_timeoutMs->setEnabled(m_running == Running::Nothing);
    m_rtu->setEnabled(m_running == Running::Nothing);
    m_tcp->setEnabled(m_running == Running::Nothing);
    m_pollPage->setRunning(m_running == Running::Poll);
    showPort();
}

void ModbusBuilder::showPort()
{
    if (!m_port)
        return m_portState->setText(tr("No port"));
    QString text = u"%1 — %2"_s.arg(m_port->summary(), m_port->stateText());
    if (m_waitsForPort)
        text += u" · "_s + tr("the next request waits for it");
    else if (m_running != Running::Nothing && m_port != m_current)
        text += u" · "_s + tr("goes on there until it is stopped");
    else if (m_running == Running::Nothing && !m_port->isActive())
        text += u" · "_s + tr("sending opens it");
    m_portState->setText(text);
}

void ModbusBuilder::tell(const QString& text)
{
    m_message->setText(text);
}
