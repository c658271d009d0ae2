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

constexpr int kMargin = 4;
constexpr int kTextColumns = 24;
constexpr int kResultIntervalMs = 50;
constexpr double kFailureTint = 0.3;
// Marks drawn at once: every second character of a large screen of small letters.
constexpr int kMaximumMarks = 20'000;
// A longer selection is no search text.
constexpr qint64 kLongestSelection = 1024;

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
    , m_view(view)
    , m_find(view)
{
    build();
    m_markTimer.setSingleShot(true);
    m_markTimer.setInterval(0);
    connect(&m_markTimer, &QTimer::timeout, this, &FindBar::markVisibleMatches);
    m_resultTimer.setSingleShot(true);
    m_resultTimer.setInterval(kResultIntervalMs);
    connect(&m_resultTimer, &QTimer::timeout, this, &FindBar::showResult);
    connect(&view, &ReceiveView::textAppended, &m_find, &TextFind::sourceChanged);
    connect(&view, &ReceiveView::frontRemoved, &m_find, &TextFind::sourceChanged);
    connect(&view, &ReceiveView::visibleRangeChanged, this, &FindBar::scheduleMarks);
    connect(&m_find, &TextFind::changed, this, [this] {
        if (!m_resultTimer.isActive())
            m_resultTimer.start();
    });
    connect(&m_find, &TextFind::currentMoved, this, &FindBar::showCurrent);
    connect(m_text, &QLineEdit::textChanged, this, &FindBar::restartSearch);
    connect(m_matchCase, &QToolButton::toggled, this, &FindBar::restartSearch);
    connect(m_expression, &QToolButton::toggled, this, &FindBar::restartSearch);
    connect(m_next, &QToolButton::clicked, this, &FindBar::findNext);
    connect(m_previous, &QToolButton::clicked, this, &FindBar::findPrevious);
    connect(m_close, &QToolButton::clicked, this, &FindBar::dismiss);
    hide();
}

void FindBar::build()
{
    m_text = new QLineEdit(this);
    m_text->setPlaceholderText(tr("Find in received data"));
    m_text->setAccessibleName(tr("Find in received data"));
    m_text->setClearButtonEnabled(true);
    m_text->setMinimumWidth(fontMetrics().averageCharWidth() * kTextColumns);
    m_result = new QLabel(this);
    m_result->setMinimumWidth(fontMetrics().horizontalAdvance(tr("%1 of %2").arg(0).arg(100'000)));
    m_previous = makeButton(this, {}, tr("Previous match (Shift+Enter)"), tr("Previous match"));
    m_previous->setArrowType(Qt::UpArrow);
    m_next = makeButton(this, {}, tr("Next match (Enter)"), tr("Next match"));
    m_next->setArrowType(Qt::DownArrow);
    m_matchCase = makeButton(this, u"Aa"_s, tr("Match case"), tr("Match case"));
    m_matchCase->setObjectName(u"matchCase"_s);
    m_matchCase->setCheckable(true);
    m_expression = makeButton(this, u".*"_s, tr("Regular expression"), tr("Regular expression"));
    m_expression->setObjectName(u"expression"_s);
    m_expression->setCheckable(true);
    m_close = makeButton(this, {}, tr("Close (Esc)"), tr("Close find bar"));
    m_close->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->setSpacing(kMargin);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_matchCase);
    layout->addWidget(m_expression);
    layout->addWidget(m_previous);
    layout->addWidget(m_next);
    layout->addWidget(m_result, 1);
    layout->addWidget(m_close);
}

void FindBar::open()
{
    const bool fits = m_view.selectionLength() <= kLongestSelection;
    const QString selection = fits ? m_view.selectedText() : QString();
    show();
    if (!selection.isEmpty() && !selection.contains(u'\n')) {
        const QSignalBlocker quiet(m_text);
        m_text->setText(selection);
        m_expression->setChecked(false);
    }
    m_text->setFocus(Qt::ShortcutFocusReason);
    m_text->selectAll();
    restartSearch();
}

void FindBar::dismiss()
{
    const bool hadFocus = isAncestorOf(focusWidget()) || hasFocus();
    hide();
    m_find.setPattern({}, 0);
    m_view.setHighlights({});
    if (hadFocus)
        m_view.setFocus(Qt::OtherFocusReason);
    Q_EMIT closed();
}

void FindBar::findNext()
{
    m_find.next();
}

void FindBar::findPrevious()
{
    m_find.previous();
}

void FindBar::restartSearch()
{
    if (!isOpen())
        return;
    // Typing on keeps the match that is being looked at, as long as it matches.
    const int current = m_find.currentIndex();
    const qint64 from =
        current >= 0 ? m_find.matchAt(current).position : m_view.visibleRange().first;
    m_find.setPattern({m_text->text(), m_matchCase->isChecked(), m_expression->isChecked()}, from);
    showResult();
}

void FindBar::showCurrent()
{
    const TextMatch match = m_find.matchAt(m_find.currentIndex());
    m_view.showPosition(match.position, match.length);
    showResult();
}

void FindBar::showResult()
{
    m_result->setText(resultText());
    m_result->setToolTip(m_find.errorText());
    const bool found = m_find.matchCount() > 0;
    m_next->setEnabled(found);
    m_previous->setEnabled(found);
    const bool failed = !m_text->text().isEmpty() && !found && !m_find.isSearching();
    if (failed != m_failed) {
        m_failed = failed;
        tint();
    }
    scheduleMarks();
}

void FindBar::tint()
{
    QPalette palette; // the window's again
    if (m_failed) {
        const QColor base = this->palette().color(QPalette::Base);
        palette.setColor(QPalette::Base, blended(base, Qt::red, kFailureTint));
    }
    m_text->setPalette(palette);
}

QString FindBar::resultText() const
{
    if (m_text->text().isEmpty())
        return {};
    if (!m_find.errorText().isEmpty())
        return m_find.errorText();
    const int count = m_find.matchCount();
    if (count == 0)
        return m_find.isSearching() ? tr("Searching...") : tr("No matches");
    QString total = locale().toString(count);
    if (m_find.isLimited())
        total = tr("more than %1").arg(total);
    else if (m_find.isSearching())
        total += u'\u2026';
    const int current = m_find.currentIndex();
    if (current >= 0)
        return tr("%1 of %2").arg(locale().toString(current + 1), total);
    return count == 1 ? tr("1 match") : tr("%1 matches").arg(total);
}

void FindBar::scheduleMarks()
{
    if (isOpen() && !m_markTimer.isActive())
        m_markTimer.start();
}

void FindBar::markVisibleMatches()
{
    if (!isOpen())
        return;
    QList<ReceiveView::Highlight> marks;
    const int current = m_find.currentIndex();
    int index = 0;
    for (const auto& [from, to] : m_view.visibleSpans()) {
        // A match that began in the row before is marked already.
        for (index = std::max(index, m_find.firstMatchAfter(from));
             index < m_find.matchCount() && marks.size() < kMaximumMarks; ++index) {
            const TextMatch match = m_find.matchAt(index);
            if (match.position >= to)
                break;
            marks.append({match.position, match.length, index == current});
        }
    }
    m_view.setHighlights(marks);
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
    if (event->type() == QEvent::PaletteChange && m_failed)
        tint();
}
