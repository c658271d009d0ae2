#include "transfer/ui/filetransferbar.h"

#include "transfer/porttransfer.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMsPerSecond = 1000;
constexpr int kSecondsPerMinute = 60;
constexpr int kPerMille = 1000;

QString durationText(qint64 seconds)
{
    return u"%1:%2"_s.arg(seconds / kSecondsPerMinute)
        .arg(seconds % kSecondsPerMinute, 2, 10, QLatin1Char('0'));
}

QString sizeText(qint64 bytes)
{
    return QLocale().formattedDataSize(bytes, 1);
}

} // namespace

FileTransferBar::FileTransferBar(QWidget* parent)
    : QFrame(parent)
    , m_title(new QLabel(this))
    , m_figures(new QLabel(this))
    , m_progress(new QProgressBar(this))
    , m_cancel(new QPushButton(tr("Cancel Transfer"), this))
    , m_folder(new QPushButton(tr("Open Folder"), this))
    , m_dismiss(new QToolButton(this))
{
    setObjectName("fileTransferBar"_L1);
    setFrameShape(QFrame::StyledPanel);
    setAccessibleName(tr("File transfer"));
    m_title->setTextFormat(Qt::PlainText);
    m_title->setWordWrap(true);
    m_title->setMinimumWidth(1);
    m_figures->setTextFormat(Qt::PlainText);
    m_figures->setWordWrap(true);
    m_figures->setMinimumWidth(1);
    m_progress->setAccessibleName(tr("Progress of the file transfer"));
    m_progress->setTextVisible(true);
    m_cancel->setObjectName("cancelTransfer"_L1);
    m_folder->setObjectName("openTransferFolder"_L1);
    m_dismiss->setObjectName("dismissTransfer"_L1);
    m_dismiss->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    m_dismiss->setAutoRaise(true);
    m_dismiss->setToolTip(tr("Dismiss"));
    m_dismiss->setAccessibleName(tr("Dismiss the end of the file transfer"));

    auto* top = new QHBoxLayout;
    top->setSpacing(8);
    top->addWidget(m_title, 1);
    top->addWidget(m_folder);
    top->addWidget(m_cancel);
    top->addWidget(m_dismiss, 0, Qt::AlignTop);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 4, 4, 4);
    layout->setSpacing(4);
    layout->addLayout(top);
    layout->addWidget(m_progress);
    layout->addWidget(m_figures);

    m_refresh.setInterval(kRefreshMs);
    connect(&m_refresh, &QTimer::timeout, this, &FileTransferBar::showProgress);
    connect(m_cancel, &QPushButton::clicked, this, &FileTransferBar::cancelRequested);
    connect(m_folder, &QPushButton::clicked, this, &FileTransferBar::openFolder);
    connect(m_dismiss, &QToolButton::clicked, this, &QWidget::hide);
    hide();
}

FileTransferBar::~FileTransferBar() = default;

void FileTransferBar::follow(const PortTransfer& transfer)
{
    m_transfer = &transfer;
    connect(&transfer, &PortTransfer::started, this, &FileTransferBar::showStart);
    connect(&transfer, &PortTransfer::finished, this, &FileTransferBar::showEnd);
}

QString FileTransferBar::text() const
{
    return m_figures->isHidden() ? m_title->text() : m_title->text() + u'\n' + m_figures->text();
}

void FileTransferBar::showStart()
{
    m_samples.clear();
    m_path.clear();
    m_title->setText(m_transfer->session()->startedText());
    m_cancel->setEnabled(true);
    m_cancel->show();
    m_folder->hide();
    m_dismiss->hide();
    m_progress->show();
    m_figures->show();
    m_refresh.start();
    show();
    showProgress();
}

void FileTransferBar::showProgress()
{
    const FileTransferSession* session = m_transfer->session();
    if (!session)
        return;
    const XferProgress progress = session->progress();
    // Of an unknown size there is only that something happens.
    const bool known = progress.bytesTotal > 0;
    m_progress->setRange(0, known ? kPerMille : 0);
    if (known) {
        m_progress->setValue(int(progress.bytesDone * kPerMille / progress.bytesTotal));
        m_progress->setFormat(u"%1 %"_s.arg(progress.bytesDone * 100 / progress.bytesTotal));
    }
    if (session->config().direction == XferReceive && !progress.fileName.isEmpty())
        m_title->setText(tr("Receiving %1 (%2)")
                             .arg(progress.fileName,
                                 FileTransferSession::protocolLabel(session->config().protocol)));
    noteRate(progress.bytesDone);
    m_figures->setText(figures());
}

void FileTransferBar::noteRate(qint64 bytesDone)
{
    m_samples.append({m_transfer->nowMs(), bytesDone});
    if (m_samples.size() > kRateSamples)
        m_samples.removeFirst();
}

QString FileTransferBar::figures()
{
    const FileTransferSession& session = *m_transfer->session();
    const XferProgress progress = session.progress();
    QStringList parts;
    parts += progress.bytesTotal > 0
                 ? tr("%1 of %2").arg(sizeText(progress.bytesDone), sizeText(progress.bytesTotal))
                 : sizeText(progress.bytesDone);
    const qint64 span = m_samples.constLast().first - m_samples.constFirst().first;
    const qint64 bytes = m_samples.constLast().second - m_samples.constFirst().second;
    const qint64 rate = span > 0 ? bytes * kMsPerSecond / span : 0;
    if (session.isOver())
        parts += tr("stopping");
    else if (const qint64 blocked = m_transfer->blockedMs(); blocked > 0)
        parts += tr("waiting for the device, %1").arg(durationText(blocked / kMsPerSecond));
    else
        parts += tr("%1/s").arg(sizeText(rate));
    if (progress.bytesTotal > 0 && rate > 0)
        parts += tr("%1 left").arg(durationText((progress.bytesTotal - progress.bytesDone) / rate));
    if (progress.retries > 0)
        parts += tr("%n retries", nullptr, progress.retries);
    return parts.join(u"  ·  "_s);
}

void FileTransferBar::showEnd(bool complete)
{
    const FileTransferSession& session = *m_transfer->session();
    m_refresh.stop();
    m_path = session.receivedPath();
    m_title->setText(session.summaryText(m_transfer->nowMs()));
    m_figures->setText(complete && !m_path.isEmpty() ? tr("Saved as %1").arg(m_path) : QString());
    m_figures->setVisible(!m_figures->text().isEmpty());
    m_progress->hide();
    m_cancel->hide();
    m_folder->setVisible(!m_path.isEmpty());
    m_dismiss->show();
}

void FileTransferBar::openFolder()
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(m_path).path()));
}

// The focus does not stay in what is gone.
void FileTransferBar::hideEvent(QHideEvent* event)
{
    m_refresh.stop();
    QFrame::hideEvent(event);
}
