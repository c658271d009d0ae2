#include "terminal/pane/modebox.h"

#include "terminal/pane/panelchoices.h"

ModeBox::ModeBox(QWidget* parent)
    : ElidedComboBox(parent)
{
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(10);
    PanelChoices::fillModes(*this);
    m_offered = count();
    // A narrow pane has no room for the longest names.
    setToolTip(currentText());
    connect(this, &QComboBox::currentTextChanged, this, &QWidget::setToolTip);
}

ModeBox::~ModeBox() = default;

void ModeBox::setMode(connectionMode mode)
{
    int index = findData(int(mode));
    if (index < 0) {
        addItem(PanelChoices::modeText(mode), int(mode));
        index = count() - 1;
        setItemData(index, PanelChoices::modeProblem(mode), Qt::ToolTipRole);
    }
    setCurrentIndex(index);
    for (int i = count() - 1; i >= m_offered; --i) {
        if (i != index)
            removeItem(i);
    }
}

connectionMode ModeBox::mode() const
{
    return connectionModeFromInt(currentData().toInt());
}
