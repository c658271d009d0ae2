#include "app/panecloser.h"

#include "app/messageboxes.h"
#include "log/logfilename.h"
#include "settings/config.h"
#include "terminal/pane/serialportwidget.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kBarUnit = 1024;

QString sizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes);
}

// Before the first text there is a pattern only.
QString fileOf(const SerialPortWidget& pane)
{
    const QString name = pane.currentLogFile();
    return QDir::toNativeSeparators(
        logFileNameResolved(name) ? name : pane.formatSetting().logFilePath);
}

} // namespace

PaneCloser::PaneCloser(Panes all, QWidget* window, int momentMs)
    : QObject(window)
    , m_all(std::move(all))
    , m_window(window)
    , m_momentMs(momentMs)
{
    m_moment.setSingleShot(true);
    connect(&m_moment, &QTimer::timeout, this, [this] { m_asks ? showProgress() : closeAnyway(); });
    connect(&m_progress, &QTimer::timeout, this, &PaneCloser::updateProgress);
}

PaneCloser::~PaneCloser() = default;

void PaneCloser::close(const QList<SerialPortWidget*>& panes, Then then)
{
    begin(panes, std::move(then), 0);
}

void PaneCloser::closeUnasked(const QList<SerialPortWidget*>& panes, int limitMs, Then then)
{
    begin(panes, std::move(then), limitMs);
}

// Without a limit there is somebody to ask.
void PaneCloser::begin(const QList<SerialPortWidget*>& panes, Then then, int limitMs)
{
    keep();
    m_then = std::move(then);
    m_asks = limitMs == 0;
    m_stopped = false;
    for (SerialPortWidget* pane : panes) {
        m_endings.append({pane});
        connect(pane, &SerialPortWidget::logFinished, this,
            [this, pane](
                bool complete, const QString& error) { onLogFinished(pane, complete, error); });
        connect(pane, &QObject::destroyed, this, &PaneCloser::conclude, Qt::QueuedConnection);
    }
    const bool transferring = std::ranges::any_of(
        panes, [](const SerialPortWidget* pane) { return pane->transfer().isActive(); });
    if (transferring && m_asks) {
        askForTransfers();
        return;
    }
    m_moment.start(m_asks ? m_momentMs : limitMs);
    writeLogs();
}

void PaneCloser::askForTransfers()
{
    const auto onAnswer = [this](QMessageBox::StandardButton answer) {
        m_dialog = nullptr;
        if (answer != QMessageBox::Discard)
            return keep();
        m_moment.start(m_momentMs);
        writeLogs();
    };
    m_dialog = MessageBoxes::ask(m_window, tr("A file transfer is running. Closing ends it."),
        tr("If it updates the firmware of a device, the device may be left with an incomplete "
           "image."),
        QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Cancel, onAnswer);
}

// A log may end before finishLog() returns, and the last one to end goes on from there.
void PaneCloser::writeLogs()
{
    for (Ending& ending : m_endings) {
        ending.ended = !ending.pane || ending.pane->unloggedBytes() == 0;
        ending.error.clear();
    }
    const QList<SerialPortWidget*> panes = livePanes();
    const bool idle =
        std::ranges::all_of(m_endings, [](const Ending& ending) { return ending.ended; });
    if (idle)
        return conclude();
    for (SerialPortWidget* pane : panes) {
        if (const Ending* ending = endingOf(pane); ending != nullptr && !ending->ended)
            pane->finishLog();
    }
}

PaneCloser::Ending* PaneCloser::endingOf(const SerialPortWidget* pane)
{
    const auto ending = std::ranges::find_if(
        m_endings, [pane](const Ending& each) { return each.pane.data() == pane; });
    return ending != m_endings.end() ? &*ending : nullptr;
}

void PaneCloser::onLogFinished(const SerialPortWidget* pane, bool complete, const QString& error)
{
    Ending* ending = endingOf(pane);
    if (ending == nullptr || ending->ended)
        return;
    ending->ended = true;
    ending->error = complete ? QString() : error;
    conclude();
}

void PaneCloser::conclude()
{
    if (!m_then || !std::ranges::all_of(m_endings, [](const Ending& ending) {
            return ending.ended || !ending.pane;
        }))
        return;
    const bool failed = std::ranges::any_of(
        m_endings, [](const Ending& ending) { return ending.pane && !ending.error.isEmpty(); });
    if (failed && m_asks)
        ask();
    else if (failed || std::exchange(m_stopped, true))
        closeAnyway();
    else {
        // The last bytes of a connection may come with its end.
        stopPanes();
        writeLogs();
    }
}

void PaneCloser::stopPanes()
{
    for (SerialPortWidget* pane : livePanes()) {
        if (pane->isActive())
            pane->stop();
    }
}

void PaneCloser::closeAnyway()
{
    const Then then = std::exchange(m_then, nullptr);
    stopPanes();
    keep();
    then();
}

void PaneCloser::keep()
{
    m_moment.stop();
    m_then = nullptr;
    for (const SerialPortWidget* pane : livePanes())
        pane->disconnect(this);
    m_endings.clear();
    leaveDialog();
}

void PaneCloser::leaveDialog()
{
    m_progress.stop();
    if (QDialog* dialog = std::exchange(m_dialog, nullptr)) {
        dialog->disconnect();
        dialog->close();
    }
}

QList<SerialPortWidget*> PaneCloser::livePanes() const
{
    QList<SerialPortWidget*> panes;
    for (const Ending& ending : m_endings) {
        if (ending.pane)
            panes.append(ending.pane);
    }
    return panes;
}

void PaneCloser::showProgress()
{
    auto* dialog = new QDialog(m_window);
    dialog->setObjectName("logProgress"_L1);
    dialog->setWindowTitle(Config::applicationName());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    m_left = new QLabel(dialog);
    m_bar = new QProgressBar(dialog);
    m_bar->setRange(0, std::max(1, int(unloggedBytes() / kBarUnit)));
    m_bar->setTextVisible(false);
    m_bar->setAccessibleName(tr("Writing the data log"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, dialog);
    QPushButton* anyway =
        buttons->addButton(tr("Close &anyway"), QDialogButtonBox::DestructiveRole);
    anyway->setAutoDefault(false);
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    layout->addWidget(new QLabel(tr("The data log is being written."), dialog));
    layout->addWidget(m_left);
    layout->addWidget(m_bar);
    layout->addWidget(buttons);
    connect(anyway, &QPushButton::clicked, this, &PaneCloser::closeAnyway);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    connect(dialog, &QDialog::rejected, this, &PaneCloser::keep);
    m_dialog = dialog;
    updateProgress();
    m_progress.start(kProgressMs);
    dialog->open();
}

void PaneCloser::updateProgress()
{
    if (!m_dialog)
        return;
    const qint64 bytes = unloggedBytes();
    m_left->setText(tr("%1 are left. Closing anyway leaves them out.").arg(sizeText(bytes)));
    m_bar->setValue(std::max(0, m_bar->maximum() - int(bytes / kBarUnit)));
}

qint64 PaneCloser::unloggedBytes() const
{
    qint64 bytes = 0;
    for (const SerialPortWidget* pane : livePanes())
        bytes += pane->unloggedBytes();
    return bytes;
}

QString PaneCloser::lossText(const Ending& ending) const
{
    SerialPortWidget* pane = ending.pane;
    return tr("Port %1, %2: %3 would be missing in %4. %5")
        .arg(QString::number(m_all().indexOf(pane) + 1), pane->connectionSummary(),
            sizeText(pane->unloggedBytes()), fileOf(*pane), ending.error);
}

void PaneCloser::ask()
{
    m_moment.stop();
    leaveDialog();
    QStringList losses;
    for (const Ending& ending : std::as_const(m_endings)) {
        if (ending.pane && !ending.error.isEmpty())
            losses.append(lossText(ending));
    }
    const auto onAnswer = [this](QMessageBox::StandardButton answer) {
        if (answer == QMessageBox::Discard)
            closeAnyway();
        else if (answer == QMessageBox::Retry)
            close(livePanes(), std::exchange(m_then, nullptr));
        else
            keep();
    };
    m_dialog = MessageBoxes::ask(m_window,
        tr("The data log could not be written. What it still has to write is lost when the port "
           "is closed here."),
        losses.join(u'\n'), QMessageBox::Discard | QMessageBox::Retry | QMessageBox::Cancel,
        QMessageBox::Cancel, onAnswer);
}
