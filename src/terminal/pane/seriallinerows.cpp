#include "terminal/pane/seriallinerows.h"

#include "settings/settings.h"
#include "terminal/pane/panelchoices.h"
#include "terminal/pane/panelform.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSerialPort>

using namespace Qt::Literals::StringLiterals;

SerialLineRows::SerialLineRows(PanelForm& form, QWidget* panel)
    : QObject(panel)
    , m_form(form)
    , m_baudRate(new QComboBox(panel))
    , m_baudRateProblem(new QLabel(panel))
    , m_dataBits(new QComboBox(panel))
    , m_flowControl(new QComboBox(panel))
    , m_stopBits(new QComboBox(panel))
    , m_parity(new QComboBox(panel))
    , m_outputs(new QWidget(panel))
    , m_dtr(new QCheckBox(tr("DTR"), m_outputs))
    , m_rts(new QCheckBox(tr("RTS"), m_outputs))
{
    PanelChoices::fillBaudRates(*m_baudRate);
    PanelChoices::fillDataBits(*m_dataBits);
    PanelChoices::fillFlowControls(*m_flowControl);
    PanelChoices::fillStopBits(*m_stopBits);
    PanelChoices::fillParities(*m_parity);
    m_baudRate->setObjectName("baudRate"_L1);
    m_baudRateProblem->setObjectName("baudRateProblem"_L1);
    m_baudRateProblem->setTextFormat(Qt::PlainText);
    m_baudRateProblem->setWordWrap(true);
    m_dataBits->setObjectName("dataBits"_L1);
    m_flowControl->setObjectName("flowControl"_L1);
    m_stopBits->setObjectName("stopBits"_L1);
    m_parity->setObjectName("parity"_L1);
    m_dtr->setObjectName("dtrOn"_L1);
    m_rts->setObjectName("rtsOn"_L1);
    m_baudRate->setToolTip(tr("Bits per second; a rate that is not in the list can be typed"));
    m_dtr->setToolTip(tr("Set the DTR output now, or apply it when the port opens"));
    m_rts->setToolTip(tr("Set the RTS output now, or apply it when the port opens"));
    addRows();
    connectEdits();
}

SerialLineRows::~SerialLineRows() = default;

void SerialLineRows::addRows()
{
    for (QComboBox* box : {m_baudRate, m_dataBits, m_flowControl, m_stopBits, m_parity}) {
        box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
        box->setMinimumContentsLength(8);
    }
    auto* outputs = new QHBoxLayout(m_outputs);
    outputs->setContentsMargins(0, 0, 0, 0);
    outputs->setSpacing(8);
    outputs->addWidget(m_dtr);
    outputs->addWidget(m_rts);
    outputs->addStretch();
    m_outputs->setFocusProxy(m_dtr);

    m_form.addRow(u"baudRate"_s, tr("Baudrate"), m_baudRate);
    m_form.addRow(u"baudRate"_s, m_baudRateProblem);
    m_form.addRow(u"dataBits"_s, tr("Data Bits"), m_dataBits);
    m_form.addRow(u"flowControl"_s, tr("Flow Type"), m_flowControl);
    m_form.addRow(u"stopBits"_s, tr("Stop Bits"), m_stopBits);
    m_form.addRow(u"parity"_s, tr("Parity"), m_parity);
    // The lamps below show what becomes of the two levels.
    m_form.addRow(u"indicatorLights"_s, tr("Outputs"), m_outputs);
}

void SerialLineRows::connectEdits()
{
    connect(m_baudRate, &QComboBox::activated, this, &SerialLineRows::edited);
    connect(m_baudRate->lineEdit(), &QLineEdit::editingFinished, this, &SerialLineRows::edited);
    connect(m_baudRate, &QComboBox::currentTextChanged, this, &SerialLineRows::showProblem);
    for (QComboBox* box : {m_dataBits, m_flowControl, m_stopBits, m_parity})
        connect(box, &QComboBox::activated, this, &SerialLineRows::edited);
    connect(m_flowControl, &QComboBox::currentIndexChanged, this, &SerialLineRows::syncEnabled);
    for (QCheckBox* box : {m_dtr, m_rts})
        connect(box, &QCheckBox::clicked, this, &SerialLineRows::edited);
}

void SerialLineRows::syncEnabled()
{
    // Under RTS/CTS flow control the driver moves RTS.
    m_rts->setEnabled(m_flowControl->currentData().toInt() != QSerialPort::HardwareControl);
}

void SerialLineRows::showProblem()
{
    const bool told = m_used && !m_baudRate->lineEdit()->hasAcceptableInput();
    m_baudRateProblem->setText(
        told ? tr("The rate stays at %1. Enter a number from 1 to 100000000.").arg(m_rateInForce)
             : QString());
    m_baudRate->setAccessibleDescription(m_baudRateProblem->text());
    m_form.setUsed(m_baudRateProblem, told);
}

void SerialLineRows::load(const Settings& settings)
{
    m_rateInForce = settings.baudRate;
    const QString rate = QString::number(settings.baudRate);
    if (m_baudRate->currentText() != rate) {
        m_baudRate->setCurrentIndex(m_baudRate->findText(rate));
        m_baudRate->setEditText(rate);
    }
    PanelChoices::choose(*m_dataBits, settings.dataBits);
    PanelChoices::choose(*m_flowControl, settings.flowControl);
    PanelChoices::choose(*m_stopBits, settings.stopBits);
    PanelChoices::choose(*m_parity, settings.parity);
    m_dtr->setChecked(settings.dtrOn);
    m_rts->setChecked(settings.rtsOn);
    syncEnabled();
    showProblem();
}

void SerialLineRows::store(Settings& settings) const
{
    // A rate that is empty or cannot be is still being typed: the line keeps the one it has.
    if (m_baudRate->lineEdit()->hasAcceptableInput())
        settings.baudRate = m_baudRate->currentText().toInt();
    settings.dataBits = PanelChoices::edited(*m_dataBits, settings.dataBits);
    settings.flowControl = PanelChoices::edited(*m_flowControl, settings.flowControl);
    settings.stopBits = PanelChoices::edited(*m_stopBits, settings.stopBits);
    settings.parity = PanelChoices::edited(*m_parity, settings.parity);
    settings.refreshTexts();
    settings.dtrOn = m_dtr->isChecked();
    settings.rtsOn = m_rts->isChecked();
}

void SerialLineRows::setUsed(bool used)
{
    for (QWidget* field : {static_cast<QWidget*>(m_baudRate), static_cast<QWidget*>(m_dataBits),
             static_cast<QWidget*>(m_flowControl), static_cast<QWidget*>(m_stopBits),
             static_cast<QWidget*>(m_parity), m_outputs})
        m_form.setUsed(field, used);
    m_used = used;
    showProblem();
}
