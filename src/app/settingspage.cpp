#include "app/settingspage.h"

#include "terminal/pane/rowvisibility.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QResizeEvent>
#include <QSpinBox>
#include <QStyle>

FieldNote::FieldNote(QWidget* parent)
    : QWidget(parent)
    , m_icon(new QLabel(this))
    , m_text(new WrappedLabel({}, this))
{
    const int iconSize = style()->pixelMetric(QStyle::PM_SmallIconSize);
    m_icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(iconSize));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    layout->addWidget(m_icon, 0, Qt::AlignTop);
    layout->addWidget(m_text, 1);
}

FieldNote::~FieldNote() = default;

void FieldNote::setText(const QString& text)
{
    m_icon->setVisible(!text.isEmpty());
    m_text->setText(text);
}

QString FieldNote::text() const
{
    return m_text->text();
}

WrappedLabel::WrappedLabel(const QString& text, QWidget* parent)
    : QLabel(text, parent)
{
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
}

WrappedLabel::~WrappedLabel() = default;

QSize WrappedLabel::sizeHint() const
{
    return {kLeastWidth, heightForWidth(m_width)};
}

void WrappedLabel::resizeEvent(QResizeEvent* event)
{
    QLabel::resizeEvent(event);
    if (event->size().width() == m_width)
        return;
    m_width = event->size().width();
    updateGeometry();
}

namespace {

void collectTabStops(const QLayout& layout, QWidgetList& stops);

void collectTabStops(QLayoutItem* item, QWidgetList& stops)
{
    if (item == nullptr)
        return;
    const QLayout* layout = item->layout();
    if (QWidget* widget = item->widget()) {
        if ((widget->focusPolicy() & Qt::TabFocus) != 0)
            stops.append(widget);
        else
            layout = widget->layout();
    }
    if (layout != nullptr)
        collectTabStops(*layout, stops);
}

// In the order in which they are read: row by row, from left to right.
void collectTabStops(const QLayout& layout, QWidgetList& stops)
{
    if (const auto* form = qobject_cast<const QFormLayout*>(&layout)) {
        for (int row = 0; row < form->rowCount(); ++row) {
            for (const auto role :
                {QFormLayout::LabelRole, QFormLayout::FieldRole, QFormLayout::SpanningRole})
                collectTabStops(form->itemAt(row, role), stops);
        }
        return;
    }
    for (int i = 0; i < layout.count(); ++i)
        collectTabStops(layout.itemAt(i), stops);
}

constexpr int kLeastCharacters = 56; // so that hints are sentences, not columns of words

} // namespace

SettingsPage::SettingsPage(QWidget* parent)
    : QWidget(parent)
{}

SettingsPage::~SettingsPage() = default;

QSize SettingsPage::minimumSizeHint() const
{
    const int width = kLeastCharacters * fontMetrics().averageCharWidth();
    return QWidget::minimumSizeHint().expandedTo({width, 0});
}

QFormLayout* SettingsPage::makeForm()
{
    auto* form = new QFormLayout(this);
    form->setContentsMargins(8, 8, 8, 8);
    form->setHorizontalSpacing(8);
    form->setVerticalSpacing(8);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    return form;
}

QFormLayout* SettingsPage::takePanel(QGroupBox& panel)
{
    panel.setAccessibleName(panel.title());
    panel.setTitle({});
    panel.installEventFilter(this);
    // Beside the field an Apply button waits for the first edit.
    for (QSpinBox* box : panel.findChildren<QSpinBox*>())
        box->setKeyboardTracking(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(&panel);
    layout->addStretch();
    auto* form = qobject_cast<QFormLayout*>(panel.layout());
    Q_ASSERT(form);
    // The group keeps room for the frame that it does not draw.
    form->setContentsMargins(QMargins(8, 8, 8, 8) - panel.contentsMargins());
    form->setVerticalSpacing(8);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    return form;
}

// The frame of a group would part the page from itself.
bool SettingsPage::eventFilter(QObject* watched, QEvent* event)
{
    return event->type() == QEvent::Paint || QWidget::eventFilter(watched, event);
}

void SettingsPage::extendToolTip(QLatin1StringView field, const QString& line)
{
    auto* widget = findChild<QWidget*>(field);
    Q_ASSERT(widget);
    widget->setToolTip(widget->toolTip() + u'\n' + line);
}

void SettingsPage::watchFields(QWidget& root)
{
    for (const QLineEdit* edit : root.findChildren<QLineEdit*>()) {
        // A number that is half typed is not read: reading it would complete it.
        if (!qobject_cast<QAbstractSpinBox*>(edit->parentWidget()))
            connect(edit, &QLineEdit::textChanged, this, &SettingsPage::revalidate);
    }
    for (const QComboBox* box : root.findChildren<QComboBox*>())
        connect(box, &QComboBox::currentIndexChanged, this, &SettingsPage::revalidate);
    for (const QAbstractButton* button : root.findChildren<QAbstractButton*>())
        connect(button, &QAbstractButton::toggled, this, &SettingsPage::revalidate);
    for (const QSpinBox* box : root.findChildren<QSpinBox*>())
        connect(box, &QSpinBox::valueChanged, this, &SettingsPage::revalidate);
}

void SettingsPage::followWithTab()
{
    QWidgetList stops;
    collectTabStops(*layout(), stops);
    for (qsizetype i = 1; i < stops.size(); ++i)
        setTabOrder(stops.at(i - 1), stops.at(i));
}

void SettingsPage::addUntoldCheck(QFormLayout* form, QWidget* field, Check check)
{
    m_rules.push_back({form, field, nullptr, std::move(check)});
}

void SettingsPage::addCheck(QFormLayout* form, QWidget* field, Check check)
{
    auto* note = new FieldNote(this);
    int row = -1;
    QFormLayout::ItemRole role = QFormLayout::FieldRole;
    form->getWidgetPosition(field, &row, &role);
    // A field that shares its row with a button has no position of its own.
    form->insertRow(row < 0 ? form->rowCount() : row + 1, QString(), note);
    setFormRowShown(*form, note, false);
    m_rules.push_back({form, field, note, std::move(check)});
}

QLabel* SettingsPage::addHint(QFormLayout* form, const QString& text)
{
    auto* hint = new WrappedLabel(text);
    form->addRow(QString(), hint);
    return hint;
}

void SettingsPage::revalidate()
{
    m_problem.clear();
    m_problemField = nullptr;
    for (const Rule& rule : m_rules) {
        // What the page does not show now is not asked for.
        const QString text = rule.field->isVisibleTo(this) ? rule.check() : QString();
        if (rule.note != nullptr) {
            rule.note->setText(text);
            setFormRowShown(*rule.form, rule.note, !text.isEmpty());
            rule.field->setAccessibleDescription(text);
        }
        if (!text.isEmpty() && m_problem.isEmpty()) {
            m_problem = text;
            m_problemField = rule.field;
        }
    }
    Q_EMIT changed();
}
