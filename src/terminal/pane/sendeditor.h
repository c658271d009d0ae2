#pragma once

#include "settings/formatsetting.h"
#include "terminal/port/sendhistory.h"

#include <QTimer>
#include <QWidget>

class HexMarks;
class QComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;

// Where a message is typed: the editor, the list of what was sent before and the send button.
// Ctrl+Enter sends from the keyboard; Enter alone starts a new line, because a message may have
// several. Beside the button stands how many bytes the message is on the wire; a long one is
// counted when the typing pauses.
class SendEditor final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendEditor)

public:
    explicit SendEditor(QWidget* parent = nullptr);
    ~SendEditor() override;

    [[nodiscard]] QString text() const;
    void setText(const QString& text);
    void insertText(const QString& text);
    void setDisplayFont(const QFont& font);
    // How a message becomes bytes, for their number and for the marks on what is no digit.
    void setFormat(const FormatSetting& format);
    // Lists the messages sent before, newest first, with the first one selected. While the list is
    // open it stands still under the hand of who is choosing, and the new one follows when it
    // shuts.
    void setHistory(const SendHistory& history);
    void focusEditor();

    // Without the label of the history, which gives way in a narrow pane.
    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    void sendRequested();
    void clearHistoryRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    [[nodiscard]] int labelWidth() const;
    void buildLayout();
    void fitBar();
    void keepLines();
    void showHistory();
    void countSoon();
    void showCount();

    SendHistory m_sent;   // as it was handed in last
    SendHistory m_listed; // as the list shows it
    FormatSetting m_format;
    QTimer m_countTimer;
    QPlainTextEdit* m_editor;
    HexMarks* m_marks;
    QLabel* m_historyLabel;
    QComboBox* m_history;
    QPushButton* m_clearHistory;
    QLabel* m_count;
    QPushButton* m_send;
};
