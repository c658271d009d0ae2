#include "tools/crcpanel.h"

#include "terminal/text/hexparser.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpressionValidator>

namespace {

QLineEdit* resultField(QWidget* parent)
{
    auto* field = new QLineEdit(parent);
    field->setReadOnly(true);
    field->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return field;
}

QLineEdit* hexField(const QString& value, QWidget* parent)
{
    static const QRegularExpression digits(QStringLiteral("[0-9A-Fa-f]{1,16}"));
    auto* field = new QLineEdit(value, parent);
    field->setValidator(new QRegularExpressionValidator(digits, field));
    field->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return field;
}

QString hexText(quint64 value)
{
    return QString::number(value, 16).toUpper();
}

} // namespace

CrcPanel::CrcPanel(QWidget* parent)
    : QWidget(parent)
    , m_input(new QPlainTextEdit(QStringLiteral("123456789"), this))
    , m_ascii(new QRadioButton(tr("AS&CII"), this))
    , m_hex(new QRadioButton(tr("&Hex"), this))
    , m_algorithm(new QComboBox(this))
    , m_custom(new QGroupBox(tr("Custom parameters"), this))
    , m_base(new QComboBox(this))
    , m_byteOrder(new QComboBox(this))
    , m_result(resultField(this))
    , m_wire(resultField(this))
    , m_status(new QLabel(this))
    , m_insert(new QPushButton(tr("Insert into &Send Editor"), this))
{
    auto* form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    buildInput();
    buildCustomFields();
    buildResult();
    connectEdits();
    calculate();
}

CrcPanel::~CrcPanel() = default;

void CrcPanel::buildInput()
{
    auto* form = static_cast<QFormLayout*>(layout());
    m_input->setAccessibleName(tr("Input"));
    m_input->setTabChangesFocus(true);
    m_ascii->setChecked(true);
    auto* kinds = new QHBoxLayout;
    kinds->addWidget(m_ascii);
    kinds->addWidget(m_hex);
    kinds->addStretch();
    for (const CrcCatalog::Definition& entry : CrcCatalog::definitions())
        m_algorithm->addItem(entry.name, int(entry.algorithm));
    m_algorithm->setCurrentIndex(m_algorithm->findData(int(CrcCatalog::Algorithm::Crc16Modbus)));
    form->addRow(tr("&Input"), m_input);
    form->addRow(tr("Read as"), kinds);
    form->addRow(tr("Al&gorithm"), m_algorithm);
}

void CrcPanel::buildCustomFields()
{
    const CrcCatalog::CustomParameters defaults =
        CrcCatalog::definition(CrcCatalog::Algorithm::Custom)->parameters;
    m_width = new QLineEdit(QString::number(defaults.width), m_custom);
    m_polynomial = hexField(hexText(defaults.polynomial), m_custom);
    m_initial = hexField(hexText(defaults.initialValue), m_custom);
    m_finalXor = hexField(hexText(defaults.finalXor), m_custom);
    m_reflectInput = new QCheckBox(tr("R&eflect input"), m_custom);
    m_reflectOutput = new QCheckBox(tr("Reflect &output"), m_custom);

    auto* fields = new QFormLayout(m_custom);
    fields->addRow(tr("Wi&dth"), m_width);
    fields->addRow(tr("&Polynomial"), m_polynomial);
    fields->addRow(tr("I&nitial value"), m_initial);
    fields->addRow(tr("&Final XOR"), m_finalXor);
    auto* reflections = new QHBoxLayout;
    reflections->addWidget(m_reflectInput);
    reflections->addWidget(m_reflectOutput);
    reflections->addStretch();
    fields->addRow(reflections);
    static_cast<QFormLayout*>(layout())->addRow(m_custom);
}

void CrcPanel::buildResult()
{
    auto* form = static_cast<QFormLayout*>(layout());
    m_base->addItem(tr("Binary"), int(CrcCalculation::Base::Binary));
    m_base->addItem(tr("Octal"), int(CrcCalculation::Base::Octal));
    m_base->addItem(tr("Hexadecimal"), int(CrcCalculation::Base::Hexadecimal));
    m_base->setCurrentIndex(2);
    m_byteOrder->addItem(
        tr("Most significant byte first"), int(CrcCalculation::ByteOrder::MostSignificantFirst));
    m_byteOrder->addItem(
        tr("Least significant byte first"), int(CrcCalculation::ByteOrder::LeastSignificantFirst));
    m_status->setWordWrap(true);
    m_status->setTextFormat(Qt::PlainText);
    // What the window has to spare goes to the input.
    m_status->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    form->addRow(tr("&Base"), m_base);
    form->addRow(tr("Resul&t"), m_result);
    form->addRow(tr("B&yte order"), m_byteOrder);
    form->addRow(tr("&Wire bytes"), m_wire);
    form->addRow(m_status);
    form->addRow(m_insert);
}

void CrcPanel::connectEdits()
{
    auto* kinds = new QButtonGroup(this);
    kinds->addButton(m_ascii);
    kinds->addButton(m_hex);
    connect(kinds, &QButtonGroup::buttonToggled, this, &CrcPanel::calculate);
    connect(m_input, &QPlainTextEdit::textChanged, this, &CrcPanel::calculate);
    for (QComboBox* box : {m_algorithm, m_base, m_byteOrder})
        connect(box, &QComboBox::currentIndexChanged, this, &CrcPanel::calculate);
    for (QLineEdit* field : {m_width, m_polynomial, m_initial, m_finalXor})
        connect(field, &QLineEdit::textChanged, this, &CrcPanel::calculate);
    for (QCheckBox* box : {m_reflectInput, m_reflectOutput})
        connect(box, &QCheckBox::toggled, this, &CrcPanel::calculate);
    connect(m_insert, &QPushButton::clicked, this, [this] { Q_EMIT insertRequested(m_framed); });
}

void CrcPanel::calculate()
{
    const auto algorithm = CrcCatalog::Algorithm(m_algorithm->currentData().toInt());
    const bool custom = algorithm == CrcCatalog::Algorithm::Custom;
    m_custom->setVisible(custom);
    QByteArray input;
    CrcCatalog::CustomParameters parameters;
    QString error;
    if (!readInput(input, error) || !readParameters(algorithm, parameters, error))
        return showError(error);
    const quint64 crc = custom ? CrcCatalog::calculateCustom(input, parameters)
                               : CrcCatalog::calculate(algorithm, input);
    showResult(input, CrcCalculation(crc, parameters.width));
}

bool CrcPanel::readInput(QByteArray& bytes, QString& error) const
{
    const QString text = m_input->toPlainText();
    if (m_ascii->isChecked()) {
        bytes = text.toUtf8();
        return true;
    }
    const HexParseResult parsed = parseHex(text);
    bytes = parsed.bytes;
    error = hexErrorMessage(parsed);
    return parsed.ok;
}

bool CrcPanel::readParameters(
    CrcCatalog::Algorithm algorithm, CrcCatalog::CustomParameters& parameters, QString& error) const
{
    if (algorithm != CrcCatalog::Algorithm::Custom) {
        parameters = CrcCatalog::definition(algorithm)->parameters;
        return true;
    }
    const CrcCalculation::CustomResult read = CrcCalculation::readCustomParameters(
        {m_width->text(), m_polynomial->text(), m_initial->text(), m_finalXor->text(),
            m_reflectInput->isChecked(), m_reflectOutput->isChecked()});
    parameters = read.parameters;
    error = read.error;
    return error.isEmpty();
}

void CrcPanel::showError(const QString& error)
{
    m_status->setText(error);
    m_result->clear();
    m_wire->clear();
    m_insert->setEnabled(false);
}

void CrcPanel::showResult(const QByteArray& input, const CrcCalculation& result)
{
    const auto order = CrcCalculation::ByteOrder(m_byteOrder->currentData().toInt());
    m_result->setText(result.text(CrcCalculation::Base(m_base->currentData().toInt())));
    m_wire->setText(result.wireText(order));
    m_framed = input + result.wireBytes(order);
    m_status->setText(tr("%n input byte(s)", nullptr, int(input.size())));
    m_insert->setEnabled(true);
}
