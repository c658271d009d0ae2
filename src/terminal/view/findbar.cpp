#include "terminal/view/findbar.h"

#include "terminal/view/receiveview.h"
#include "terminal/view/textcontrast.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QStyle>
#include <QToolButton>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int margin = 4;
constexpr int textColumns = 24;
constexpr int resultIntervalMs = 50;
constexpr double failureTint = 0.3;
// Marks drawn at once: every second character of a large screen of small letters.
constexpr int maximumMarks = 20'000;
// A longer selection is no search text.
constexpr qint64 longestSelection = 1024;

QToolButton* makeButton(
    QWidget* parent, const QString& text, const QString& toolTip, const QString& accessibleName)
{
    auto* button = new QToolButton(parent);
    button->setText(text);
    button->setToolTip(toolTip);
    button->setAccessibleName(accessibleName);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

} // namespace

FindBar::FindBar(ReceiveView& view, QWidget* parent)
    : QWidget(parent)
    , view_(view)
    , find_(view)
{
    build();
    markTimer_.setSingleShot(true);
    markTimer_.setInterval(0);
    connect(&markTimer_, &QTimer::timeout, this, &FindBar::markVisibleMatches);
    resultTimer_.setSingleShot(true);
    resultTimer_.setInterval(resultIntervalMs);
    connect(&resultTimer_, &QTimer::timeout, this, &FindBar::showResult);
    connect(&view, &ReceiveView::textAppended, &find_, &TextFind::sourceChanged);
    connect(&view, &ReceiveView::frontRemoved, &find_, &TextFind::sourceChanged);
    connect(&view, &ReceiveView::visibleRangeChanged, this, &FindBar::scheduleMarks);
    connect(&find_, &TextFind::changed, this, [this] {
        if (!resultTimer_.isActive())
            resultTimer_.start();
    });
    connect(&find_, &TextFind::currentMoved, this, &FindBar::showCurrent);
    connect(text_, &QLineEdit::textChanged, this, &FindBar::restartSearch);
    connect(matchCase_, &QToolButton::toggled, this, &FindBar::restartSearch);
    connect(expression_, &QToolButton::toggled, this, &FindBar::restartSearch);
    connect(next_, &QToolButton::clicked, this, &FindBar::findNext);
    connect(previous_, &QToolButton::clicked, this, &FindBar::findPrevious);
    connect(close_, &QToolButton::clicked, this, &FindBar::dismiss);
    hide();
}

void FindBar::build()
{
    text_ = new QLineEdit(this);
    text_->setPlaceholderText(tr("Find in received data"));
    text_->setAccessibleName(tr("Find in received data"));
    text_->setClearButtonEnabled(true);
    text_->setMinimumWidth(fontMetrics().averageCharWidth() * textColumns);
    result_ = new QLabel(this);
    result_->setMinimumWidth(fontMetrics().horizontalAdvance(tr("%1 of %2").arg(0).arg(100'000)));
    previous_ = makeButton(this, {}, tr("Previous match (Shift+Enter)"), tr("Previous match"));
    previous_->setArrowType(Qt::UpArrow);
    next_ = makeButton(this, {}, tr("Next match (Enter)"), tr("Next match"));
    next_->setArrowType(Qt::DownArrow);
    matchCase_ = makeButton(this, u"Aa"_s, tr("Match case"), tr("Match case"));
    matchCase_->setObjectName(u"matchCase"_s);
    matchCase_->setCheckable(true);
    expression_ = makeButton(this, u".*"_s, tr("Regular expression"), tr("Regular expression"));
    expression_->setObjectName(u"expression"_s);
    expression_->setCheckable(true);
    close_ = makeButton(this, {}, tr("Close (Esc)"), tr("Close find bar"));
    close_->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(margin);
    layout->addWidget(text_, 1);
    layout->addWidget(matchCase_);
    layout->addWidget(expression_);
    layout->addWidget(previous_);
    layout->addWidget(next_);
    layout->addWidget(result_, 1);
    layout->addWidget(close_);
}

void FindBar::open()
{
    const bool fits = view_.selectionLength() <= longestSelection;
    const QString selection = fits ? view_.selectedText() : QString();
    show();
    if (!selection.isEmpty() && !selection.contains(u'\n')) {
        const QSignalBlocker quiet(text_);
        text_->setText(selection);
        expression_->setChecked(false);
    }
    text_->setFocus(Qt::ShortcutFocusReason);
    text_->selectAll();
    restartSearch();
}

void FindBar::dismiss()
{
    const bool hadFocus = isAncestorOf(focusWidget()) || hasFocus();
    hide();
    find_.setPattern({}, 0);
    view_.setHighlights({});
    if (hadFocus)
        view_.setFocus(Qt::OtherFocusReason);
    Q_EMIT closed();
}

void FindBar::findNext()
{
    find_.next();
}

void FindBar::findPrevious()
{
    find_.previous();
}

void FindBar::restartSearch()
{
    if (!isOpen())
        return;
    // Typing on keeps the match that is being looked at, as long as it matches.
    const int current = find_.currentIndex();
    const qint64 from = current >= 0 ? find_.matchAt(current).position : view_.visibleRange().first;
    find_.setPattern({text_->text(), matchCase_->isChecked(), expression_->isChecked()}, from);
    showResult();
}

void FindBar::showCurrent()
{
    const TextMatch match = find_.matchAt(find_.currentIndex());
    view_.showPosition(match.position, match.length);
    showResult();
}

void FindBar::showResult()
{
    result_->setText(resultText());
    result_->setToolTip(find_.errorText());
    const bool found = find_.matchCount() > 0;
    next_->setEnabled(found);
    previous_->setEnabled(found);
    const bool failed = !text_->text().isEmpty() && !found && !find_.isSearching();
    if (failed != failed_) {
        failed_ = failed;
        tint();
    }
    scheduleMarks();
}

void FindBar::tint()
{
    QPalette palette; // the window's again
    if (failed_) {
        const QColor base = this->palette().color(QPalette::Base);
        palette.setColor(QPalette::Base, blended(base, Qt::red, failureTint));
    }
    text_->setPalette(palette);
}

QString FindBar::resultText() const
{
    if (text_->text().isEmpty())
        return {};
    if (!find_.errorText().isEmpty())
        return find_.errorText();
    const int count = find_.matchCount();
    if (count == 0)
        return find_.isSearching() ? tr("Searching...") : tr("No matches");
    QString total = locale().toString(count);
    if (find_.isLimited())
        total = tr("more than %1").arg(total);
    else if (find_.isSearching())
        total += u'\u2026';
    const int current = find_.currentIndex();
    if (current >= 0)
        return tr("%1 of %2").arg(locale().toString(current + 1), total);
    return count == 1 ? tr("1 match") : tr("%1 matches").arg(total);
}

void FindBar::scheduleMarks()
{
    if (isOpen() && !markTimer_.isActive())
        markTimer_.start();
}

void FindBar::markVisibleMatches()
{
    if (!isOpen())
        return;
    QList<ReceiveView::Highlight> marks;
    const int current = find_.currentIndex();
    int index = 0;
    for (const auto& [from, to] : view_.visibleSpans()) {
        // A match that began in the row before is marked already.
        for (index = std::max(index, find_.firstMatchAfter(from));
             index < find_.matchCount() && marks.size() < maximumMarks; ++index) {
            const TextMatch match = find_.matchAt(index);
            if (match.position >= to)
                break;
            marks.append({match.position, match.length, index == current});
        }
    }
    view_.setHighlights(marks);
}

void FindBar::keyPressEvent(QKeyEvent* event)
{
    const bool back = event->modifiers().testFlag(Qt::ShiftModifier);
    switch (event->key()) {
    case Qt::Key_Escape:
        dismiss();
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_F3:
        back ? findPrevious() : findNext();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void FindBar::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && failed_)
        tint();
}
