#include "terminal/pane/noticebar.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QStyle>
#include <QToolButton>

namespace {

constexpr int kAmberPercent = 20;

// Amber laid thinly over what the views stand on, so that the text of the palette can be read on it
// in the light and in the dark.
QColor amberOn(const QColor& ground)
{
    static constexpr QColor kAmber(255, 193, 7);
    const auto mixed = [](int below, int above) {
        return (below * (100 - kAmberPercent) + above * kAmberPercent) / 100;
    };
    return {mixed(ground.red(), kAmber.red()), mixed(ground.green(), kAmber.green()),
        mixed(ground.blue(), kAmber.blue())};
}

} // namespace

NoticeBar::NoticeBar(QWidget* parent)
    : QFrame(parent)
    , m_icon(new QLabel(this))
    , m_text(new QLabel(this))
    , m_close(new QToolButton(this))
{
    setFrameShape(QFrame::StyledPanel);
    setAccessibleName(tr("Error message"));

    const int iconSize = style()->pixelMetric(QStyle::PM_SmallIconSize);
    m_icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(iconSize));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_text->setMinimumWidth(1); // the path of a device is one word, which must not widen the pane
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_close->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    m_close->setAutoRaise(true);
    m_close->setToolTip(tr("Dismiss"));
    m_close->setAccessibleName(tr("Dismiss the error message"));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 4, 4, 4);
    layout->setSpacing(8);
    layout->addWidget(m_icon, 0, Qt::AlignTop);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_close, 0, Qt::AlignTop);
    connect(m_close, &QToolButton::clicked, this, &QWidget::hide);
    hide();
}

NoticeBar::~NoticeBar() = default;

void NoticeBar::showError(const QString& text)
{
    m_text->setText(text);
    m_text->setToolTip(text);
    show();
}

void NoticeBar::clearError(const QString& text)
{
    if (m_text->text() == text)
        hide();
}

QString NoticeBar::text() const
{
    return m_text->text();
}

void NoticeBar::paintEvent(QPaintEvent* event)
{
    QPainter(this).fillRect(rect(), amberOn(palette().color(QPalette::Base)));
    QFrame::paintEvent(event);
}
