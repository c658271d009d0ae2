#pragma once

#include <QObject>
#include <QSaveFile>
#include <QString>
#include <QTimer>

class TextSource;

// Writes the text that a source holds at the start to a file: UTF-8, line ends as LF. The file
// appears under its name only when it is complete (QSaveFile). One slice of kSliceCharacters is
// written in each turn of the event loop, so a large text or a slow disk does not freeze the
// window. Text that arrives meanwhile is not saved. Text that is about to be removed and is not
// yet written is kept here first: what is saved is exactly what was there at the start. So memory
// is bounded by that text. Destroying the object abandons the save and leaves an older file as
// it was.
class TextSaver final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TextSaver)

public:
    static constexpr qint64 kSliceCharacters = 262'144;

    // The source must outlive this object.
    TextSaver(const TextSource& source, const QString& path, QObject* parent);
    ~TextSaver() override = default;

    // Opens the file and begins; finished() comes from the event loop, also when this fails.
    void start();

public Q_SLOTS:
    // Must be called before the source removes the text in front of `end`.
    void keepBeforeRemoval(qint64 end);

Q_SIGNALS:
    // An empty error text when ok. Emitted once.
    void finished(bool ok, const QString& errorText);

private:
    void writeSlice();
    [[nodiscard]] QString takeSlice();
    void finish(bool ok);

    const TextSource& m_source;
    QSaveFile m_file;
    QTimer m_timer;
    QString m_kept;           // removed from the source, not yet written
    qsizetype m_keptUsed = 0; // characters of m_kept that are written
    qint64 m_next = 0;        // first position to be read from the source
    qint64 m_end = 0;
};
