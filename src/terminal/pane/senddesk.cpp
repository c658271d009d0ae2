#include "terminal/pane/senddesk.h"

#include "settings/formatsetting.h"
#include "terminal/format/sendinsertion.h"
#include "terminal/format/sendmodes.h"
#include "terminal/pane/sendeditor.h"
#include "terminal/port/sendpipeline.h"

#include <utility>

SendDesk::SendDesk(
    SendEditor& editor, SendPipeline& pipeline, FormatSetting& format, std::function<bool()> isOpen)
    : m_editor(editor)
    , m_pipeline(pipeline)
    , m_format(format)
    , m_repeat({std::move(isOpen), [this] { return m_editor.text(); },
          [this](const QString& text) {
              m_pipeline.sendText(
                  text, m_lineByLine ? SendPipeline::Editor::Keep : SendPipeline::Editor::Rewrite);
          }})
{
    connect(&editor, &SendEditor::historyChosen, this,
        [this](int index) { m_editor.setText(m_pipeline.history().entryAt(index)); });
    connect(&pipeline, &SendPipeline::historyChanged, this, [this] {
        m_format.sendList = m_pipeline.history().entries();
        m_editor.setHistory(m_pipeline.history().labels());
    });
    connect(&pipeline, &SendPipeline::editorTextReplaced, &editor, &SendEditor::setText);
    connect(&pipeline, &SendPipeline::editorFocusRequested, &editor, &SendEditor::focusEditor);
}

SendDesk::~SendDesk() = default;

void SendDesk::applyFormat(const FormatSetting& format, bool lineByLine)
{
    m_editor.setDisplayFont(format.displayFont);
    m_lineByLine = lineByLine;
    m_repeat.setInterval(format.sendInterval, format.sendTimeUnit);
    m_repeat.setLineByLine(lineByLine);
    m_repeat.setEnabled(format.autoSend);
}

void SendDesk::sendEditorText()
{
    m_pipeline.sendText(m_editor.text());
}

void SendDesk::keepEditorText()
{
    m_pipeline.encodeSendData(m_editor.text());
}

void SendDesk::loadHistory()
{
    m_pipeline.setHistory(m_format.sendList);
}

void SendDesk::clear()
{
    m_editor.setText({});
    m_pipeline.clearHistory();
}

void SendDesk::insert(const QByteArray& bytes)
{
    const bool hexadecimal = m_format.sendMsgFormat == int(MessageFormat::Hexadecimal);
    const SendInsertion result =
        SendInsertion::append(m_editor.text(), hexadecimal, m_format, bytes);
    if (!result.error.isEmpty()) {
        Q_EMIT statusMessage(result.error, SendPipeline::kEncodingErrorMs);
        return;
    }
    m_editor.setText(result.text);
    if (result.hexadecimal == hexadecimal)
        return;
    m_format.sendMsgFormat = int(MessageFormat::Hexadecimal);
    Q_EMIT inputModeChanged();
}
