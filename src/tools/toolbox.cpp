#include "tools/toolbox.h"

#include "tools/calculatorpanel.h"
#include "tools/crcpanel.h"

#include <QTabWidget>
#include <QVBoxLayout>

ToolBox::ToolBox(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Toolbox"));
    auto* crc = new CrcPanel;
    auto* tabs = new QTabWidget(this);
    auto* calculator = new CalculatorPanel;
    tabs->addTab(calculator, tr("C&alculator"));
    tabs->addTab(crc, tr("C&RC"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    calculator->setFocus();
    connect(crc, &CrcPanel::insertRequested, this, &ToolBox::insertRequested);
}

ToolBox::~ToolBox() = default;
