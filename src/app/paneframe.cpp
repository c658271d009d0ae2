#include "app/paneframe.h"

#include "app/symbolicicon.h"
#include "terminal/pane/elidedlabel.h"
#include "terminal/pane/serialportwidget.h"
#include "terminal/pane/settingscolumn.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kBorder = 2;
constexpr int kMargin = 8;
// The least size of a pane with neighbours, in characters and lines.
constexpr int kLeastColumns = 40;
constexpr int kLeastLines = 15;
// What the terminal gets at least before the settings give way.
constexpr int kLeastTerminalColumns = 60;

} // namespace

PaneFrame::PaneFrame(SerialPortWidget* pane, QWidget* parent)
    : QWidget(parent)
    , m_pane(pane)
    , m_column(pane->findChild<SettingsColumn*>())
    , m_header(new QWidget(this))
    , m_caption(new ElidedLabel(m_header))
    , m_badge(new QLabel(m_header))
    , m_run(new QToolButton(m_header))
{
    m_caption->setObjectName("paneCaption"_L1);
    m_caption->setElideMode(Qt::ElideMiddle); // both ends of a device's path tell it from others
    m_badge->setObjectName("paneBadge"_L1);
    m_badge->setTextFormat(Qt::PlainText);
    m_badge->hide();
    m_run->setObjectName("paneRunButton"_L1);
    m_run->setAutoRaise(true);
    auto* row = new QHBoxLayout(m_header);
    row->setContentsMargins(kMargin, kMargin / 2, kMargin / 2, 0);
    row->setSpacing(kMargin);
    row->addWidget(m_caption, 1);
    row->addWidget(m_badge);
    row->addWidget(m_run);
    m_header->hide();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_header);
    layout->addWidget(m_pane, 1);
    connect(m_run, &QToolButton::clicked, this, [this] {
        if (m_pane->isActive())
            m_pane->requestStop();
        else
            m_pane->start({}, false);
    });
    connect(m_pane, &SerialPortWidget::stateChanged, this, &PaneFrame::showRunButton);
    showRunButton();
}

void PaneFrame::setShared(bool shared)
{
    if (shared == m_shared)
        return;
    m_shared = shared;
    m_header->setVisible(shared);
    const int width = shared ? kBorder : 0;
    layout()->setContentsMargins(width, width, width, width);
    updateLimits();
    updateQuickSettings();
    update();
}

void PaneFrame::setCurrent(bool current)
{
    if (current == m_current)
        return;
    m_current = current;
    QFont font = m_caption->font();
    font.setBold(current);
    m_caption->setFont(font);
    update();
}

void PaneFrame::setCaption(int number, const QString& title)
{
    // The mark is drawn with the text, so that it moves with it from right to left as well.
    const QString text =
        (m_current ? u"\u25b6 %1  %2"_s : u"%1  %2"_s).arg(QString::number(number), title);
    if (m_caption->text() == text)
        return;
    m_caption->setText(text);
    m_caption->setToolTip(title);
    m_pane->setAccessibleName(tr("Port %1: %2").arg(QString::number(number), title));
}

void PaneFrame::setBadge(const QString& text)
{
    if (m_badge->text() == text)
        return;
    m_badge->setText(text);
    m_badge->setToolTip(tr("Bridged with port %1").arg(text));
    m_badge->setAccessibleName(m_badge->toolTip());
    m_badge->setVisible(!text.isEmpty());
}

void PaneFrame::showRunButton()
{
    const bool active = m_pane->isActive();
    const QString text = active ? tr("Close this port") : tr("Open this port");
    m_run->setIcon(symbolicIcon(
        active ? u":/icons/media-playback-stop.svg"_s : u":/icons/media-playback-start.svg"_s));
    m_run->setToolTip(text);
    m_run->setAccessibleName(text);
}

void PaneFrame::takeFocus()
{
    QWidget* last = m_pane->focusWidget();
    if (last != nullptr && last->isVisibleTo(m_pane) && last->isEnabled())
        last->setFocus(Qt::OtherFocusReason);
    else
        m_pane->focusSendEditor();
}

void PaneFrame::setQuickSettingsWanted(bool wanted)
{
    m_settingsWanted = wanted;
    updateQuickSettings();
}

void PaneFrame::updateQuickSettings()
{
    bool shown = m_settingsWanted;
    if (shown && m_shared && isVisible()) {
        const int terminal = kLeastTerminalColumns * fontMetrics().averageCharWidth();
        shown = width() >= m_column->minimumSizeHint().width() + terminal;
    }
    if (shown != m_settingsShown)
        m_pane->setQuickSettingsVisible(shown);
    m_settingsShown = shown;
}

// Sixteen panes side by side must not make the window wider than the screen: beyond this they
// scroll.
void PaneFrame::updateLimits()
{
    const QFontMetrics metrics = fontMetrics();
    setMinimumSize(m_shared ? QSize(kLeastColumns * metrics.averageCharWidth(),
                       kLeastLines * metrics.lineSpacing())
                            : QSize(0, 0));
}

void PaneFrame::paintEvent(QPaintEvent* /*event*/)
{
    if (!m_shared)
        return;
    QPainter painter(this);
    const int lineWidth = m_current ? kBorder : 1;
    QPen pen(palette().color(m_current ? QPalette::Highlight : QPalette::Mid), lineWidth);
    pen.setJoinStyle(Qt::MiterJoin);
    painter.setPen(pen);
    const qreal inset = lineWidth / 2.0;
    painter.drawRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset));
}

void PaneFrame::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    updateQuickSettings();
}

void PaneFrame::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        updateLimits();
}
