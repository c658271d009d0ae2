#pragma once

#include "terminal/port/repeatsender.h"

#include <QObject>
#include <functional>

class SendEditor;
class SendPipeline;
struct FormatSetting;

// Joins the send editor with the send pipeline: what is typed, chosen from the history, inserted by
// a tool window or repeated on one side, what was sent and how the pipeline rewrites it on the
// other. Owned
// by the pane; editor, pipeline and record outlive it.
class SendDesk final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendDesk)

public:
    // `isOpen` tells whether the connection stands; only then is anything repeated.
    SendDesk(SendEditor& editor, SendPipeline& pipeline, FormatSetting& format,
        std::function<bool()> isOpen);
    ~SendDesk() override;

    // Puts the sanitized record into force; line by line is a way of repeating that no record has.
    void applyFormat(const FormatSetting& format, bool lineByLine);
    // To be told of the pane's starts and stops.
    [[nodiscard]] RepeatSender& repeat() { return m_repeat; }

    void sendEditorText();
    // Puts it into the history only: there is nothing to send it over.
    void keepEditorText();
    // The history of the record becomes the one that is offered.
    void loadHistory();
    // Empties editor and history.
    void clear();
    // Puts bytes into the editor, see SendInsertion. Emits inputModeChanged() when the editor is to
    // be read as hexadecimal from now on; the record says so already.
    void insert(const QByteArray& bytes);

Q_SIGNALS:
    void inputModeChanged();
    void statusMessage(const QString& text, int timeoutMs);

private:
    SendEditor& m_editor;
    SendPipeline& m_pipeline;
    FormatSetting& m_format;
    bool m_lineByLine = false;
    RepeatSender m_repeat;
};
