#include "terminal/pane/elidedcombobox.h"

#include <QStyleOptionComboBox>
#include <QStylePainter>

ElidedComboBox::ElidedComboBox(QWidget* parent)
    : QComboBox(parent)
{}

ElidedComboBox::~ElidedComboBox() = default;

void ElidedComboBox::paintEvent(QPaintEvent* /*event*/)
{
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    if (currentIndex() < 0) {
        option.palette.setBrush(QPalette::ButtonText, option.palette.placeholderText());
        option.currentText = placeholderText();
    }
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    // Styles keep a pixel free at either side of the text.
    option.currentText =
        fontMetrics().elidedText(option.currentText, Qt::ElideRight, field.width() - 2);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
