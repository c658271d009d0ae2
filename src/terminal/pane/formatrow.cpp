#include "terminal/pane/formatrow.h"

#include "terminal/format/sendmodes.h"

#include <QHBoxLayout>
#include <QRadioButton>

FormatRow::FormatRow(const QString& textToolTip, const QString& hexToolTip, QWidget* parent)
    : QWidget(parent)
    , m_text(new QRadioButton(tr("Text"), this))
    , m_hex(new QRadioButton(tr("Hex"), this))
{
    m_text->setToolTip(textToolTip);
    m_hex->setToolTip(hexToolTip);
    m_text->setAccessibleDescription(textToolTip);
    m_hex->setAccessibleDescription(hexToolTip);
    setFocusProxy(m_text);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(m_text);
    row->addWidget(m_hex);
    row->addStretch();
    connect(m_text, &QRadioButton::clicked, this, &FormatRow::edited);
    connect(m_hex, &QRadioButton::clicked, this, &FormatRow::edited);
}

FormatRow::~FormatRow() = default;

bool FormatRow::isHex() const
{
    return m_hex->isChecked();
}

void FormatRow::setFormat(int code)
{
    const bool hex = code == int(MessageFormat::Hexadecimal);
    (hex ? m_hex : m_text)->setChecked(true);
    setFocusProxy(hex ? m_hex : m_text);
}

int FormatRow::format(int stored) const
{
    const bool storedAsHex = stored == int(MessageFormat::Hexadecimal);
    if (storedAsHex == isHex())
        return stored;
    return int(isHex() ? MessageFormat::Hexadecimal : MessageFormat::Text);
}
