#include "terminal/pane/peerlistmodel.h"

#include <QFont>
#include <QLocale>
#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

// One line, whatever is in it: control characters as C writes them. Their symbols (U+2400 and
// following) are missing from many fonts of the desktop.
QString previewText(const QByteArray& bytes)
{
    const QString text = QString::fromUtf8(bytes);
    QString shown;
    for (const QChar c : text) {
        if (c == u'\\')
            shown += "\\\\"_L1;
        else if (c == u'\n')
            shown += "\\n"_L1;
        else if (c == u'\r')
            shown += "\\r"_L1;
        else if (c == u'\t')
            shown += "\\t"_L1;
        else if (c.category() == QChar::Other_Control)
            shown += u"\\x%1"_s.arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            shown += c;
    }
    return shown;
}

// Numbers end at one edge; the time between numbers and text keeps away from both.
QVariant alignmentOf(int column)
{
    const bool number = column == PeerListModel::Received || column == PeerListModel::Sent;
    const bool time = column == PeerListModel::LastHeard;
    return QVariant(Qt::AlignVCenter
                    | (number  ? Qt::AlignRight
                        : time ? Qt::AlignHCenter
                               : Qt::AlignLeft));
}

} // namespace

PeerListModel::PeerListModel(QObject* parent)
    : PeerListModel([] { return QDateTime::currentDateTime(); }, parent)
{}

PeerListModel::PeerListModel(Clock clock, QObject* parent)
    : QAbstractTableModel(parent)
    , m_clock(std::move(clock))
    , m_refresh(this)
{
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(kRefreshMs);
    connect(&m_refresh, &QTimer::timeout, this, &PeerListModel::tellChanges);
}

PeerListModel::~PeerListModel() = default;

void PeerListModel::setKind(Kind kind)
{
    if (m_kind == kind)
        return;
    m_kind = kind;
    clear();
}

void PeerListModel::addPeer(const QString& key)
{
    if (m_index.contains(key)) {
        touch(key, [](Peer& peer) { peer.gone = false; });
    } else {
        const int row = rowCount();
        beginInsertRows({}, row, row);
        m_index.insert(key, int(m_peers.size()));
        m_peers.append(Peer{key, 0, 0, {}, {}, false, false});
        endInsertRows();
    }
    Q_EMIT peersChanged();
}

void PeerListModel::removePeer(const QString& key)
{
    const int index = m_index.value(key, -1);
    if (index < 0)
        return;
    if (key == m_chosen)
        touch(key, [](Peer& peer) { peer.gone = true; });
    else
        drop(index);
    Q_EMIT peersChanged();
}

void PeerListModel::drop(int index)
{
    const int row = kTargetRows + index;
    beginRemoveRows({}, row, row);
    m_index.remove(m_peers.at(index).key);
    m_peers.removeAt(index);
    for (int later = index; later < m_peers.size(); ++later)
        m_index[m_peers.at(later).key] = later;
    endRemoveRows();
}

void PeerListModel::clear()
{
    beginResetModel();
    m_peers.clear();
    m_index.clear();
    m_total = {};
    m_chosen.clear();
    m_refresh.stop();
    endResetModel();
    Q_EMIT peersChanged();
}

void PeerListModel::touch(const QString& key, const std::function<void(Peer&)>& change)
{
    change(m_total);
    m_total.gone = false;
    if (const int index = m_index.value(key, -1); index >= 0) {
        change(m_peers[index]);
        m_peers[index].changed = true;
    }
    if (!m_refresh.isActive())
        m_refresh.start();
}

void PeerListModel::noteReceived(const QString& key, qint64 bytes)
{
    touch(key, [bytes, now = m_clock().time()](Peer& peer) {
        peer.received += bytes;
        peer.lastHeard = now;
    });
}

void PeerListModel::notePreview(const QString& key, const QByteArray& bytes)
{
    touch(key, [&bytes](Peer& peer) { peer.preview = bytes.left(kPreviewBytes); });
}

void PeerListModel::noteSent(const QString& key, qint64 bytes)
{
    touch(key, [bytes](Peer& peer) { peer.sent += bytes; });
}

void PeerListModel::tellChanges()
{
    int first = rowOf(Target::All);
    int last = first;
    for (int i = 0; i < m_peers.size(); ++i) {
        if (std::exchange(m_peers[i].changed, false))
            last = kTargetRows + i;
    }
    Q_EMIT dataChanged(index(first, 0), index(last, ColumnCount - 1));
}

// Views choose in the middle of a change of their own, so rows go afterwards.
void PeerListModel::setChosenPeer(const QString& key)
{
    m_chosen = key;
    QMetaObject::invokeMethod(this, &PeerListModel::forgetGone, Qt::QueuedConnection);
}

void PeerListModel::forgetGone()
{
    for (int index = int(m_peers.size()) - 1; index >= 0; --index) {
        if (m_peers.at(index).gone && m_peers.at(index).key != m_chosen)
            drop(index);
    }
}

int PeerListModel::peerCount() const
{
    return int(
        std::count_if(m_peers.begin(), m_peers.end(), [](const Peer& peer) { return !peer.gone; }));
}

PeerListModel::Target PeerListModel::targetAt(int row) const
{
    if (row >= kTargetRows)
        return Target::Peer;
    return row == 0 ? Target::Own : Target::All;
}

QString PeerListModel::keyAt(int row) const
{
    const int index = row - kTargetRows;
    return index >= 0 && index < m_peers.size() ? m_peers.at(index).key : QString();
}

bool PeerListModel::isGone(int row) const
{
    const int index = row - kTargetRows;
    return index >= 0 && index < m_peers.size() && m_peers.at(index).gone;
}

int PeerListModel::rowOf(Target target, const QString& key) const
{
    switch (target) {
    case Target::Own:
        return 0;
    case Target::All:
        return kTargetRows - 1;
    case Target::Peer:
        break;
    }
    const int index = m_index.value(key, -1);
    return index < 0 ? -1 : kTargetRows + index;
}

int PeerListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : kTargetRows + int(m_peers.size());
}

int PeerListModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QString PeerListModel::addressText(int row) const
{
    switch (targetAt(row)) {
    case Target::Own:
        return m_kind == Kind::UdpPeers ? tr("Last sender") : tr("The only client");
    case Target::All:
        return m_kind == Kind::UdpPeers ? tr("All peers") : tr("All clients");
    case Target::Peer:
        break;
    }
    return isGone(row) ? tr("%1 (gone)").arg(keyAt(row)) : keyAt(row);
}

QString PeerListModel::text(int row, int column) const
{
    const Target target = targetAt(row);
    if (column == Address || target == Target::Own)
        return column == Address ? addressText(row) : QString();
    const Peer& peer = target == Target::All ? m_total : m_peers.at(row - kTargetRows);
    switch (column) {
    case Received:
        return QLocale().toString(peer.received);
    case Sent:
        return QLocale().toString(peer.sent);
    case LastHeard:
        return peer.lastHeard.toString(QStringLiteral("hh:mm:ss"));
    default:
        return target == Target::All ? QString() : previewText(peer.preview);
    }
}

// A narrow pane has no room for all columns.
QString PeerListModel::rowText(int row) const
{
    QStringList lines;
    for (int column = 0; column < ColumnCount; ++column) {
        const QString value = text(row, column);
        if (!value.isEmpty())
            lines += headerData(column, Qt::Horizontal, Qt::DisplayRole).toString() + u": " + value;
    }
    // Rich text would take a peer's message for markup.
    return u"<p style='white-space:pre'>" + lines.join(u'\n').toHtmlEscaped() + u"</p>";
}

QVariant PeerListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return text(index.row(), index.column());
    case Qt::ToolTipRole:
        return rowText(index.row());
    case Qt::TextAlignmentRole:
        return alignmentOf(index.column());
    case Qt::FontRole:
        if (isGone(index.row())) {
            QFont font;
            font.setItalic(true);
            return font;
        }
        return {};
    default:
        return {};
    }
}

QVariant PeerListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount)
        return {};
    if (role == Qt::TextAlignmentRole)
        return alignmentOf(section);
    if (role != Qt::DisplayRole)
        return {};
    const QStringList titles{
        tr("Address"), tr("Received"), tr("Sent"), tr("Last heard"), tr("Last message")};
    return titles.at(section);
}
