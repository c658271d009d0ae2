#include "terminal/pane/sendeditor.h"

#include "terminal/format/messagecodec.h"
#include "terminal/format/sendmodes.h"
#include "terminal/pane/elidedcombobox.h"
#include "terminal/pane/hexmarks.h"

#include <QAbstractItemView>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QtMath>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kBarSpacing = 8;
constexpr int kLeastHistory = 8; // characters
// Two lines of the message are seen at least; of one that is magnified for a room to read no more
// than these lines of the interface, or one.
constexpr int kLeastLines = 6;
// Messages up to this many characters are counted with every key, longer ones after a pause.
constexpr int kCountedAtOnce = 16 * 1024;
constexpr int kCountPauseMs = 250;

// A style makes buttons wider than their text needs, which a narrow pane has no room for.
void letShrink(QPushButton& button)
{
    const int text = button.fontMetrics().size(Qt::TextShowMnemonic, button.text()).width();
    button.setMinimumWidth(text + 2 * kBarSpacing);
}

} // namespace

SendEditor::SendEditor(QWidget* parent)
    : QWidget(parent)
    , m_editor(new QPlainTextEdit(this))
    , m_marks(new HexMarks(m_editor))
    , m_historyLabel(new QLabel(tr("H&istory"), this))
    , m_history(new ElidedComboBox(this))
    , m_clearHistory(new QPushButton(tr("Clear History"), this))
    , m_count(new QLabel(this))
    , m_send(new QPushButton(tr("&Send"), this))
{
    m_editor->setPlaceholderText(tr("Type a message; Ctrl+Enter sends it"));
    m_editor->setAccessibleName(tr("Message to send"));
    m_editor->setTabChangesFocus(true);
    m_editor->installEventFilter(this);
    m_history->setAccessibleName(tr("Messages sent before"));
    m_history->setToolTip(tr("Messages sent before, newest first"));
    m_history->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_history->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_history->setPlaceholderText(tr("Nothing sent yet"));
    m_history->setMinimumContentsLength(kLeastHistory);
    m_clearHistory->setToolTip(tr("Empty the message and the list of messages sent before"));
    m_count->setObjectName("sendCount"_L1);
    m_count->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_count->setAccessibleName(tr("Bytes to send"));
    m_send->setToolTip(tr("Send the message (Ctrl+Enter)"));
    buildLayout();

    m_countTimer.setSingleShot(true);
    connect(&m_countTimer, &QTimer::timeout, this, &SendEditor::showCount);
    connect(m_editor, &QPlainTextEdit::textChanged, this, &SendEditor::countSoon);
    m_history->view()->installEventFilter(this);
    connect(m_history, &QComboBox::activated, this,
        [this](int index) { setText(m_listed.entryAt(index)); });
    connect(m_clearHistory, &QPushButton::clicked, this, &SendEditor::clearHistoryRequested);
    connect(m_send, &QPushButton::clicked, this, &SendEditor::sendRequested);
    showHistory();
}

SendEditor::~SendEditor() = default;

void SendEditor::buildLayout()
{
    auto* bar = new QHBoxLayout;
    bar->setSpacing(kBarSpacing);
    m_historyLabel->setBuddy(m_history);
    bar->addWidget(m_historyLabel);
    bar->addWidget(m_history, 1);
    bar->addWidget(m_clearHistory);
    bar->addWidget(m_count);
    bar->addWidget(m_send);
    fitBar();

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_editor, 1);
    layout->addLayout(bar);
    setTabOrder(m_editor, m_send);
    setTabOrder(m_send, m_history);
    setTabOrder(m_history, m_clearHistory);
    keepLines();
}

void SendEditor::fitBar()
{
    // Its placeholder would ask for all of its length.
    m_history->setMinimumWidth(kLeastHistory * fontMetrics().horizontalAdvance(u'0'));
    letShrink(*m_clearHistory);
    letShrink(*m_send);
    // The button stays where it is while a message of usual length is typed.
    m_count->setMinimumWidth(m_count->fontMetrics().horizontalAdvance(tr("%1 B").arg(999)));
}

void SendEditor::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        fitBar();
}

int SendEditor::labelWidth() const
{
    return m_historyLabel->sizeHint().width() + kBarSpacing;
}

QSize SendEditor::minimumSizeHint() const
{
    const QSize all = QWidget::minimumSizeHint();
    return m_historyLabel->isHidden() ? all : QSize(all.width() - labelWidth(), all.height());
}

void SendEditor::resizeEvent(QResizeEvent* event)
{
    m_historyLabel->setVisible(width() >= minimumSizeHint().width() + labelWidth());
    QWidget::resizeEvent(event);
}

bool SendEditor::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_editor && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool enter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        if (enter && (key->modifiers() & Qt::ControlModifier)) {
            Q_EMIT sendRequested();
            return true;
        }
    }
    // The choice is told after the list has shut, and means what was listed then.
    if (watched == m_history->view() && event->type() == QEvent::Hide)
        QMetaObject::invokeMethod(
            this, [this] { setHistory(m_sent); }, Qt::QueuedConnection);
    return QWidget::eventFilter(watched, event);
}

QString SendEditor::text() const
{
    return m_editor->toPlainText();
}

void SendEditor::setText(const QString& text)
{
    if (m_editor->toPlainText() == text)
        return;
    // As an edit, so that Undo brings back what stood there.
    QTextCursor cursor(m_editor->document());
    cursor.select(QTextCursor::Document);
    cursor.insertText(text);
    m_editor->setTextCursor(cursor);
}

void SendEditor::insertText(const QString& text)
{
    m_editor->insertPlainText(text);
}

void SendEditor::setDisplayFont(const QFont& font)
{
    m_editor->setFont(font);
    keepLines();
}

void SendEditor::keepLines()
{
    const int line = m_editor->fontMetrics().lineSpacing();
    const int lines = std::max(line, std::min(2 * line, kLeastLines * fontMetrics().lineSpacing()));
    const int edges = m_editor->frameWidth() + qCeil(m_editor->document()->documentMargin());
    m_editor->setMinimumHeight(lines + 2 * edges);
}

void SendEditor::setHistory(const SendHistory& history)
{
    m_sent = history;
    // A repeated message is the first one already: what a person has selected stays selected.
    if (!m_history->view()->isVisible() && m_sent.entries() != m_listed.entries())
        showHistory();
}

void SendEditor::showHistory()
{
    m_listed = m_sent;
    const bool some = !m_listed.entries().isEmpty();
    const QSignalBlocker blocker(m_history);
    m_history->clear();
    m_history->addItems(m_listed.labels());
    m_history->setCurrentIndex(some ? 0 : -1);
    m_history->setEnabled(some);
    m_clearHistory->setEnabled(some);
}

void SendEditor::focusEditor()
{
    m_editor->setFocus();
}

void SendEditor::setFormat(const FormatSetting& format)
{
    m_format = format;
    const bool hexadecimal = format.sendMsgFormat == int(MessageFormat::Hexadecimal);
    QTextDocument* marked = hexadecimal ? m_editor->document() : nullptr;
    if (m_marks->document() != marked)
        m_marks->setDocument(marked);
    m_editor->setToolTip(
        hexadecimal
            ? tr("What is marked is no hexadecimal digit: it is sent as 0 or, at the end, dropped")
            : QString());
    countSoon();
}

void SendEditor::countSoon()
{
    const int characters = m_editor->document()->characterCount();
    if (characters <= kCountedAtOnce) {
        m_countTimer.stop();
        showCount();
        return;
    }
    m_count->setText(u"\u2026"_s);
    m_count->setToolTip({});
    m_countTimer.start(kCountPauseMs);
}

// The very bytes that would be sent, so that the number cannot differ from what goes out.
void SendEditor::showCount()
{
    const bool hexadecimal = m_format.sendMsgFormat == int(MessageFormat::Hexadecimal);
    const EncodeSendResult message = MessageCodec::encodeSend(text(), hexadecimal, m_format);
    const QString number = locale().toString(message.bytes.size());
    m_count->setText(tr("%1 B").arg(number));
    const QString told =
        message.ok
            ? tr("Bytes that go out with Send, line ending and checksum included: %1").arg(number)
            : message.error;
    m_count->setToolTip(told);
    m_count->setAccessibleDescription(told);
}
