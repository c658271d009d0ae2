#include "bridge/ui/bridgewindow.h"

#include "bridge/ui/bridgedialog.h"
#include "bridge/ui/modbusview.h"
#include "bridge/ui/sparkline.h"

#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

enum Column : int { State, Name, Ports, Forth, Back, Missing, Picture };

constexpr int kMargin = 16;
constexpr int kGap = 8;
constexpr int kWidthInDigits = 120;
constexpr int kHeight = 560;
constexpr int kDetailLines = 6;
constexpr int kMsPerSecond = 1000;

struct Look
{
    QColor color;
    QPolygonF shape; // in a square of side 1; none is a disc
};

// Shapes tell the states apart as well as colours do.
Look lookOf(BridgeState state)
{
    switch (state) {
    case BridgeState::Running:
        return {QColor(40, 150, 60), {}};
    case BridgeState::Degraded:
        return {QColor(210, 140, 0), {{0.5, 0}, {1, 1}, {0, 1}}};
    case BridgeState::Suspended:
        return {QColor(200, 40, 40), {{0, 0}, {1, 0}, {1, 1}, {0, 1}}};
    case BridgeState::Idle:
        return {QColor(90, 120, 170), {{0.5, 0}, {1, 0.5}, {0.5, 1}, {0, 0.5}}};
    case BridgeState::Off:
        break;
    }
    return {QColor(130, 130, 130), {{0, 0.35}, {1, 0.35}, {1, 0.65}, {0, 0.65}}};
}

QIcon iconOf(BridgeState state, int side, qreal ratio)
{
    QPixmap picture(QSize(side, side) * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const Look look = lookOf(state);
    painter.setBrush(look.color);
    painter.setPen(Qt::NoPen);
    const QRectF area = QRectF(0, 0, side, side).adjusted(2, 2, -2, -2);
    if (look.shape.isEmpty()) {
        painter.drawEllipse(area);
    } else {
        QPolygonF shape;
        for (const QPointF& point : look.shape)
            shape << QPointF(
                area.x() + point.x() * area.width(), area.y() + point.y() * area.height());
        painter.drawPolygon(shape);
    }
    return picture;
}

QString arrowOf(BridgeDirection direction)
{
    switch (direction) {
    case BridgeDirection::AToB:
        return u"→"_s;
    case BridgeDirection::BToA:
        return u"←"_s;
    case BridgeDirection::Both:
        break;
    }
    return u"⇄"_s;
}

QString nameOf(const PortEndpoint* endpoint)
{
    return endpoint ? endpoint->name() : QString();
}

} // namespace

BridgeWindow::BridgeWindow(BridgeManager& manager, QWidget* parent)
    : QDialog(parent)
    , m_manager(manager)
    , m_list(new QTreeWidget(this))
    , m_details(new QLabel(this))
    , m_modbus(new ModbusView(this))
    , m_edit(new QPushButton(tr("&Edit..."), this))
    , m_remove(new QPushButton(tr("Re&move"), this))
    , m_enable(new QPushButton(tr("E&nable"), this))
    , m_resume(new QPushButton(tr("&Resume"), this))
    , m_capture(new QPushButton(tr("Open &Capture"), this))
{
    setWindowTitle(tr("Bridges"));
    build();
    m_timer.setInterval(kRefreshMs);
    connect(&m_timer, &QTimer::timeout, this, &BridgeWindow::refresh);
    connect(&manager, &BridgeManager::changed, this, &BridgeWindow::refresh);
    connect(&manager, &BridgeManager::configsChanged, this, &BridgeWindow::refresh);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &BridgeWindow::refreshDetails);
    connect(m_list, &QTreeWidget::itemActivated, this, &BridgeWindow::edit);
    refresh();
}

BridgeWindow::~BridgeWindow()
{
    m_manager.disconnect(this);
}

void BridgeWindow::build()
{
    m_list->setObjectName("bridges"_L1);
    m_list->setAccessibleName(tr("Bridges"));
    m_list->setRootIsDecorated(false);
    m_list->setUniformRowHeights(true);
    m_list->setAllColumnsShowFocus(true);
    m_list->setHeaderLabels({tr("State"), tr("Name"), tr("Ports"), tr("A to B"), tr("B to A"),
        tr("Missing"), tr("Last two minutes")});
    // Of a digit: the average of a font with Chinese characters is twice as wide.
    const int character = fontMetrics().horizontalAdvance(u'0');
    const std::array widths{13, 14, 0, 10, 10, 10, 20};
    for (std::size_t column = 0; column < widths.size(); ++column)
        m_list->setColumnWidth(int(column), widths[column] * character);
    m_list->header()->setStretchLastSection(false);
    m_list->header()->setSectionResizeMode(Ports, QHeaderView::Stretch);
    m_details->setObjectName("details"_L1);
    m_details->setWordWrap(true);
    m_details->setTextFormat(Qt::PlainText);
    m_details->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_details->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_details->setMinimumHeight(kDetailLines * fontMetrics().lineSpacing());

    auto* add = new QPushButton(tr("&Add..."), this);
    add->setObjectName("add"_L1);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(kGap);
    for (QPushButton* button : {add, m_edit, m_remove, m_enable, m_resume, m_capture}) {
        button->setAutoDefault(false);
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    auto* close = new QDialogButtonBox(QDialogButtonBox::Close, this);
    buttons->addWidget(close);

    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(m_list);
    splitter->addWidget(m_modbus);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 2);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kGap);
    layout->addWidget(splitter, 1);
    layout->addWidget(m_details);
    layout->addLayout(buttons);
    resize(kWidthInDigits * fontMetrics().horizontalAdvance(u'0'), kHeight);

    connect(add, &QPushButton::clicked, this, &BridgeWindow::add);
    connect(m_edit, &QPushButton::clicked, this, &BridgeWindow::edit);
    connect(m_remove, &QPushButton::clicked, this, &BridgeWindow::remove);
    connect(m_enable, &QPushButton::clicked, this, &BridgeWindow::toggleEnabled);
    connect(m_resume, &QPushButton::clicked, this, [this] {
        if (BridgeLink* link = currentLink())
            link->resume();
    });
    connect(m_capture, &QPushButton::clicked, this, &BridgeWindow::openCapture);
    connect(close, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void BridgeWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    refresh();
    m_timer.start();
}

void BridgeWindow::hideEvent(QHideEvent* event)
{
    m_timer.stop();
    QDialog::hideEvent(event);
}

int BridgeWindow::currentIndex() const
{
    return m_list->indexOfTopLevelItem(m_list->currentItem());
}

BridgeLink* BridgeWindow::currentLink() const
{
    return m_manager.linkAt(currentIndex());
}

// Rows are changed in place: what is selected and where the list stands must not jump.
void BridgeWindow::refresh()
{
    while (m_list->topLevelItemCount() > m_manager.linkCount())
        delete m_list->takeTopLevelItem(m_list->topLevelItemCount() - 1);
    for (int row = 0; row < m_manager.linkCount(); ++row) {
        QTreeWidgetItem* item = m_list->topLevelItem(row);
        if (!item) {
            item = new QTreeWidgetItem;
            m_list->addTopLevelItem(item);
            m_list->setItemWidget(item, Picture, new Sparkline(m_list));
        }
        if (const BridgeLink* link = m_manager.linkAt(row))
            refreshRow(*item, *link);
    }
    if (!m_list->currentItem() && m_list->topLevelItemCount() > 0)
        m_list->setCurrentItem(m_list->topLevelItem(0));
    refreshDetails();
}

void BridgeWindow::refreshRow(QTreeWidgetItem& item, const BridgeLink& link)
{
    const BridgeState state = link.state();
    const QString text = BridgeLink::stateText(state);
    if (item.text(State) != text) {
        item.setText(State, text);
        item.setIcon(State, iconOf(state, fontMetrics().height(), devicePixelRatioF()));
    }
    const BridgeConfig& config = link.config();
    const BridgeCounters forth = link.counters(BridgeSide::A);
    const BridgeCounters back = link.counters(BridgeSide::B);
    item.setText(Name, link.displayName());
    item.setText(Ports, u"%1 %2 %3"_s.arg(nameOf(link.endpoint(BridgeSide::A)),
                            arrowOf(config.direction), nameOf(link.endpoint(BridgeSide::B))));
    item.setToolTip(Ports, item.text(Ports));
    item.setText(Forth, BridgeLink::formatBytes(forth.bytesOut));
    item.setText(Back, BridgeLink::formatBytes(back.bytesOut));
    item.setText(Missing, BridgeLink::formatBytes(forth.missing() + back.missing()));
    if (auto* picture = qobject_cast<Sparkline*>(m_list->itemWidget(&item, Picture)))
        picture->show(link.history());
}

QString BridgeWindow::details(const BridgeLink& link) const
{
    QStringList lines;
    if (const QString error = link.errorText(); !error.isEmpty())
        lines.append(u"⚠ "_s + error);
    for (const BridgeSide side : {BridgeSide::A, BridgeSide::B}) {
        const BridgeCounters counters = link.counters(side);
        if (counters.bytesIn == 0)
            continue;
        lines.append(
            (side == BridgeSide::A ? tr("A to B: %1 in, %2 out, %3 waiting, %4 dropped, %5 "
                                        "discarded, %6 not sent")
                                   : tr("B to A: %1 in, %2 out, %3 waiting, %4 dropped, %5 "
                                        "discarded, %6 not sent"))
                .arg(BridgeLink::formatBytes(counters.bytesIn),
                    BridgeLink::formatBytes(counters.bytesOut),
                    BridgeLink::formatBytes(counters.queuedBytes),
                    BridgeLink::formatBytes(counters.droppedBytes),
                    BridgeLink::formatBytes(counters.discardedBytes),
                    BridgeLink::formatBytes(counters.lostBytes)));
    }
    if (lines.isEmpty())
        lines.append(tr("No traffic yet"));
    if (const BridgeRoute::Turns* turns = link.turns()) {
        lines.append(tr("Taking turns: %1 waiting, %2 unanswered, %3 dropped")
                         .arg(turns->waiting.size())
                         .arg(turns->unanswered)
                         .arg(turns->dropped));
        if (!turns->owner.isEmpty()) {
            const qint64 ms = link.nowMs() - turns->sinceMs;
            lines.append(
                tr("%1 has had the turn for %2 s.")
                    .arg(turns->owner, QString::number(double(ms) / kMsPerSecond, 'f', 1)));
        }
        constexpr int kNamed = 5;
        if (!turns->waiting.isEmpty())
            lines.append(tr("Next: %1").arg(turns->waiting.mid(0, kNamed).join(u", "_s)));
    }
    if (const QString warning = m_manager.fanInWarning(link.config(), currentIndex());
        !warning.isEmpty())
        lines.append(u"⚠ "_s + warning);
    return lines.join(u'\n');
}

void BridgeWindow::refreshDetails()
{
    const BridgeLink* link = currentLink();
    for (QPushButton* button : {m_edit, m_remove, m_enable})
        button->setEnabled(link);
    m_resume->setEnabled(link && link->state() == BridgeState::Suspended);
    m_capture->setEnabled(link && link->config().logEnabled);
    m_enable->setText(link && link->config().enabled ? tr("Disa&ble") : tr("E&nable"));
    m_details->setText(
        link ? details(*link)
             : tr("A bridge joins two ports: what one receives is sent at the other."));
    const ModbusStatistics* modbus = link ? link->modbus() : nullptr;
    m_modbus->setVisible(modbus);
    if (modbus && std::exchange(m_modbusLink, link) != link)
        m_modbus->reset();
    if (modbus)
        m_modbus->refresh(*modbus);
}

void BridgeWindow::add()
{
    if (m_manager.portCount() < 2) {
        tell(tr("A bridge joins two ports; add a second port first (Edit > Add Port)."));
        return;
    }
    openDialog(BridgeConfig(), -1);
}

void BridgeWindow::edit()
{
    if (const BridgeLink* link = currentLink())
        openDialog(link->config(), currentIndex());
}

void BridgeWindow::openDialog(const BridgeConfig& config, int index)
{
    auto* dialog = new BridgeDialog(m_manager, config, index, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QDialog::accepted, this, [this, dialog, index] {
        QString error;
        const bool taken = index < 0 ? m_manager.addLink(dialog->config(), &error)
                                     : m_manager.updateLink(index, dialog->config(), &error);
        if (!taken)
            tell(error);
        else if (index < 0)
            m_list->setCurrentItem(m_list->topLevelItem(m_list->topLevelItemCount() - 1));
    });
    dialog->open();
}

void BridgeWindow::remove()
{
    const int index = currentIndex();
    const BridgeLink* link = m_manager.linkAt(index);
    if (!link)
        return;
    auto* box = new QMessageBox(QMessageBox::Question, windowTitle(),
        tr("Remove the bridge %1?").arg(link->displayName()), QMessageBox::Yes | QMessageBox::No,
        this);
    box->setDefaultButton(QMessageBox::No);
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, this, [this, index, link](int answer) {
        // Another bridge may have taken its place meanwhile.
        if (answer == QMessageBox::Yes && m_manager.linkAt(index) == link)
            m_manager.removeLink(index);
    });
    box->open();
}

void BridgeWindow::toggleEnabled()
{
    const BridgeLink* link = currentLink();
    if (!link)
        return;
    BridgeConfig config = link->config();
    config.enabled = !config.enabled;
    QString error;
    if (!m_manager.updateLink(currentIndex(), config, &error))
        tell(error);
}

void BridgeWindow::openCapture()
{
    const BridgeLink* link = currentLink();
    const QString path = link ? link->config().logFilePath : QString();
    if (!QFileInfo::exists(path))
        tell(tr("Nothing has been captured yet."));
    else
        QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void BridgeWindow::tell(const QString& text)
{
    auto* box =
        new QMessageBox(QMessageBox::Information, windowTitle(), text, QMessageBox::Ok, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->open();
}
