#include "app/pagestack.h"

#include "app/settingspage.h"
#include "terminal/pane/settingscolumn.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QShortcut>
#include <QStackedWidget>
#include <QStyle>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kRowPadding = 8;

} // namespace

PageStack::PageStack(QWidget* parent)
    : QWidget(parent)
    , m_list(new QListWidget(this))
    , m_stack(new QStackedWidget(this))
    , m_note(new FieldNote(this))
{
    m_list->setObjectName("settingsPageList"_L1);
    m_list->setAccessibleName(tr("Pages"));
    const int icon = style()->pixelMetric(QStyle::PM_SmallIconSize);
    m_list->setIconSize({icon, icon});
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_note->setObjectName("settingsProblem"_L1);
    m_note->setContentsMargins(kRowPadding, 0, 0, 0);

    auto* right = new QVBoxLayout;
    right->setSpacing(8);
    right->addWidget(m_stack, 1);
    right->addWidget(m_note);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_list);
    layout->addLayout(right, 1);

    connect(m_list, &QListWidget::currentRowChanged, m_stack, &QStackedWidget::setCurrentIndex);
    const auto addStep = [this](const QKeySequence& key, int step) {
        auto* shortcut = new QShortcut(key, this);
        connect(shortcut, &QShortcut::activated, this, [this, step] {
            const int rows = m_list->count();
            m_list->setCurrentRow((m_list->currentRow() + step + rows) % rows);
        });
    };
    addStep(Qt::CTRL | Qt::Key_PageDown, 1);
    addStep(Qt::CTRL | Qt::Key_PageUp, -1);
}

PageStack::~PageStack() = default;

void PageStack::addPage(SettingsPage* page, const QString& title)
{
    auto* column = new SettingsColumn(page);
    m_stack->addWidget(column);
    m_pages.append(page);
    auto* item = new QListWidgetItem(title, m_list);
    const QFontMetrics metrics(m_list->font());
    // With room for the mark of a page that cannot be accepted, so that a mark moves nothing.
    const int icon = m_list->iconSize().width();
    item->setSizeHint({metrics.horizontalAdvance(title) + icon + 3 * kRowPadding,
        std::max(metrics.height(), icon) + kRowPadding});
    m_list->setFixedWidth(m_list->sizeHintForColumn(0) + 2 * m_list->frameWidth() + kRowPadding);
    if (m_list->currentRow() < 0)
        m_list->setCurrentRow(0);
    refresh();
    connect(page, &SettingsPage::changed, this, &PageStack::refresh);
}

void PageStack::showPage(const SettingsPage* page)
{
    m_list->setCurrentRow(int(m_pages.indexOf(page)));
}

QString PageStack::problem() const
{
    for (qsizetype i = 0; i < m_pages.size(); ++i) {
        if (const QString& text = m_pages.at(i)->problem(); !text.isEmpty())
            return tr("%1: %2").arg(m_list->item(int(i))->text(), text);
    }
    return {};
}

void PageStack::showProblem()
{
    for (SettingsPage* page : std::as_const(m_pages)) {
        if (QWidget* field = page->problemField()) {
            showPage(page);
            field->setFocus();
            return;
        }
    }
}

void PageStack::refresh()
{
    const QIcon mark = style()->standardIcon(QStyle::SP_MessageBoxWarning);
    for (qsizetype i = 0; i < m_pages.size(); ++i) {
        const QString& text = m_pages.at(i)->problem();
        QListWidgetItem* item = m_list->item(int(i));
        item->setIcon(text.isEmpty() ? QIcon() : mark);
        item->setToolTip(text);
        item->setData(Qt::AccessibleDescriptionRole, text);
    }
    m_note->setText(problem());
    // Pages that are not shown tell nobody that they need more room.
    int width = 0;
    for (int i = 0; i < m_stack->count(); ++i)
        width = std::max(width, m_stack->widget(i)->minimumSizeHint().width());
    m_stack->setMinimumWidth(width);
    Q_EMIT changed();
}
