#include "settings/storewriter.h"

#include "settings/wholewrite.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryFile>

using namespace Qt::Literals::StringLiterals;

namespace {

// Beyond twice what the store takes now: a history of messages and a file that locks the store.
constexpr qint64 kSpareBytes = qint64{64} * 1024;

// Whether the store could be written once more beside itself; else `reason` says why not.
bool hasRoom(const QSettings& store, QString& reason)
{
    const QFileInfo file(store.fileName());
    // None yet, or no file at all.
    if (!file.dir().exists())
        return true;
    QTemporaryFile probe(file.absolutePath() + "/probe-XXXXXX"_L1);
    const QByteArray bytes(2 * file.size() + kSpareBytes, 'x');
    if (probe.open() && writeWhole(probe, bytes))
        return true;
    reason = probe.errorString();
    return false;
}

} // namespace

bool StoreWriter::write(QSettings& store, const std::function<void()>& change, QString& reason)
{
    QString detail;
    bool written = hasRoom(store, detail);
    if (written) {
        change();
        // A store never forgets that it failed once; another one of the same file has its own mind.
        QSettings fresh(store.fileName(), store.format());
        fresh.sync();
        written = fresh.status() != QSettings::AccessError;
    }
    if (written)
        return true;
    const QString name = QDir::toNativeSeparators(store.fileName());
    reason = detail.isEmpty() ? tr("%1 cannot be written.").arg(name)
                              : tr("%1 cannot be written: %2.").arg(name, detail);
    qWarning().noquote() << reason;
    return false;
}
