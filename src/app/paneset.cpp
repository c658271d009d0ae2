#include "app/paneset.h"

#include "app/paneframe.h"
#include "settings/connectionmode.h"
#include "settings/settings.h"
#include "terminal/pane/serialportwidget.h"
#include "terminal/port/portlines.h"
#include "terminal/port/portlog.h"

#include <QApplication>
#include <QEvent>
#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

// Which port it is, without its line settings: those stand in the status line.
QString titleOf(const SerialPortWidget& pane)
{
    const Settings& settings = pane.settings();
    if (settings.connMode == connectionMode::SerialPort && !settings.portName.isEmpty())
        return settings.portName;
    return pane.connectionSummary();
}

} // namespace

PaneSet::PaneSet(SerialPortCatalog& catalog, QWidget* place, QObject* parent)
    : QObject(parent)
    , m_catalog(catalog)
    , m_place(place)
{
    append();
    qApp->installEventFilter(this);
    connect(qApp, &QApplication::focusChanged, this,
        [this](QWidget* /*old*/, QWidget* now) { setCurrent(frameOf(now)); });
}

PaneSet::~PaneSet()
{
    // The focus moves while panes go; nobody is to look for it in those that are gone.
    m_panes.clear();
    for (PaneFrame* frame : std::exchange(m_frames, {}))
        drop(frame);
}

QList<QWidget*> PaneSet::frames() const
{
    return {m_frames.begin(), m_frames.end()};
}

PaneFrame* PaneSet::makeFrame()
{
    auto* pane = new SerialPortWidget(m_catalog);
    auto* frame = new PaneFrame(pane, m_place);
    connect(pane, &SerialPortWidget::settingsChanged, this, &PaneSet::edited);
    connect(pane, &SerialPortWidget::stateChanged, this, &PaneSet::stateChanged);
    const LivePort* port = &pane->port();
    connect(port, &LivePort::stateChanged, this, &PaneSet::moved);
    connect(port, &LivePort::recordsChanged, this, &PaneSet::moved);
    connect(port, &LivePort::countersChanged, this, &PaneSet::moved);
    connect(&port->lines(), &PortLines::reportChanged, this, &PaneSet::moved);
    connect(&port->log(), &PortLog::stateChanged, this, &PaneSet::moved);
    connect(&port->log(), &PortLog::fileNameChanged, this, &PaneSet::moved);
    Q_EMIT made(pane);
    return frame;
}

// Stops before it deletes, without telling: who hears of it would ask for panes that go.
void PaneSet::drop(PaneFrame* frame)
{
    frame->hide();
    frame->pane()->disconnect();
    frame->pane()->stop();
    delete frame;
}

void PaneSet::adopt(QList<PaneFrame*> frames)
{
    m_frames = std::move(frames);
    m_panes.clear();
    for (PaneFrame* frame : std::as_const(m_frames)) {
        frame->pane()->setObjectName(u"port%1"_s.arg(m_panes.size()));
        frame->setShared(m_frames.size() > 1);
        m_panes.append(frame->pane());
    }
    // The first pane speaks in the status bar.
    connect(m_panes.constFirst(), &SerialPortWidget::statusMessage, this,
        &PaneSet::firstPaneMessage, Qt::UniqueConnection);
    watchLinesOfFirst();
    if (!m_current)
        setCurrent(m_frames.constFirst());
    setQuickSettingsVisible(m_quickSettingsVisible);
    showCaptions();
    Q_EMIT moved();
}

void PaneSet::watchLinesOfFirst()
{
    PortLines* first = &m_panes.constFirst()->port().lines();
    if (m_watched == first)
        return;
    if (m_watched)
        m_watched->setWatched(false);
    m_watched = first;
    first->setWatched(true);
}

SerialPortWidget* PaneSet::append()
{
    Q_ASSERT(count() < kMaxPanes);
    adopt(m_frames + QList{makeFrame()});
    return m_panes.constLast();
}

void PaneSet::removeLast()
{
    Q_ASSERT(count() > 1);
    PaneFrame* last = m_frames.constLast();
    const bool wasCurrent = last == m_current;
    adopt(m_frames.first(m_frames.size() - 1));
    if (wasCurrent)
        focusPane(count() - 1);
    drop(last);
}

void PaneSet::renew(int count)
{
    const QList<PaneFrame*> old = m_frames;
    for (const PaneFrame* frame : old) {
        frame->pane()->disconnect(this);
        frame->pane()->stop();
    }
    QList<PaneFrame*> frames;
    for (int i = 0; i < std::clamp(count, 1, kMaxPanes); ++i)
        frames.append(makeFrame());
    m_current.clear();
    adopt(std::move(frames));
    for (PaneFrame* frame : old)
        drop(frame);
}

SerialPortWidget* PaneSet::focused() const
{
    const PaneFrame* frame = frameOf(m_place->window()->focusWidget());
    return frame != nullptr ? frame->pane() : nullptr;
}

SerialPortWidget& PaneSet::current() const
{
    return m_current ? *m_current->pane() : first();
}

int PaneSet::currentIndex() const
{
    return std::max(int(m_frames.indexOf(m_current.data())), 0);
}

PaneFrame* PaneSet::frameOf(const QWidget* widget) const
{
    const auto found = std::ranges::find_if(m_frames, [widget](const PaneFrame* frame) {
        return frame == widget || frame->isAncestorOf(widget);
    });
    return found != m_frames.end() ? *found : nullptr;
}

// A focus that goes to a menu or a dialog leaves the pane current.
void PaneSet::setCurrent(PaneFrame* frame)
{
    if (frame == nullptr || frame == m_current)
        return;
    if (m_current)
        m_current->setCurrent(false);
    m_current = frame;
    frame->setCurrent(true);
    showCaptions();
    Q_EMIT currentChanged(frame);
}

void PaneSet::focusPane(int index)
{
    // A pane that is not in sight may come into it by becoming current.
    setCurrent(m_frames.at(index));
    m_frames.at(index)->takeFocus();
}

void PaneSet::focusNext(int step)
{
    focusPane((currentIndex() + step + count()) % count());
}

void PaneSet::setQuickSettingsVisible(bool visible)
{
    m_quickSettingsVisible = visible;
    for (PaneFrame* frame : std::as_const(m_frames))
        frame->setQuickSettingsWanted(visible);
}

void PaneSet::showCaptions()
{
    for (int i = 0; i < count(); ++i)
        m_frames.at(i)->setCaption(i + 1, titleOf(*m_panes.at(i)));
}

// Labels and scroll bars take no focus of their own.
bool PaneSet::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseButtonPress && watched->isWidgetType()) {
        PaneFrame* frame = frameOf(static_cast<QWidget*>(watched));
        if (frame != nullptr && frame != m_current)
            frame->takeFocus();
    }
    return QObject::eventFilter(watched, event);
}

void PaneSet::showBadges(const QStringList& badges)
{
    for (qsizetype at = 0; at < m_frames.size(); ++at)
        m_frames.at(at)->setBadge(badges.value(at));
}
