#include "tools/calculatorpanel.h"

#include "tools/expression.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpressionValidator>

#include <cmath>

namespace {

QLineEdit* resultField(const QString& name, QWidget* parent)
{
    auto* field = new QLineEdit(parent);
    field->setReadOnly(true);
    field->setAccessibleName(name);
    field->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return field;
}

constexpr int kFloatDigits = 8;
constexpr int kDoubleDigits = 16;

QString hexOf(quint64 bits, int digits)
{
    return QString::number(bits, 16).toUpper().rightJustified(digits, u'0');
}

} // namespace

CalculatorPanel::CalculatorPanel(QWidget* parent)
    : QWidget(parent)
    , m_expression(new QLineEdit(this))
    , m_width(new QComboBox(this))
    , m_signed(new QCheckBox(tr("Signed"), this))
    , m_status(new QLabel(this))
    , m_decimal(resultField(tr("Decimal"), this))
    , m_otherDecimal(resultField(tr("Decimal with the other sign"), this))
    , m_hexadecimal(resultField(tr("Hexadecimal"), this))
    , m_octal(resultField(tr("Octal"), this))
    , m_binary(resultField(tr("Binary"), this))
    , m_swapped(resultField(tr("Bytes swapped"), this))
    , m_floatBits(resultField(tr("As float"), this))
    , m_doubleBits(resultField(tr("As double"), this))
    , m_ieeeHex(new QLineEdit(this))
    , m_ieeeValue(resultField(tr("Number"), this))
    , m_otherDecimalLabel(new QLabel(this))
{
    auto* form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    buildInput(form);
    buildResults(form);
    buildIeee(form);
    calculate();
    showIeee();
    setFocusProxy(m_expression);
}

CalculatorPanel::~CalculatorPanel() = default;

void CalculatorPanel::buildInput(QFormLayout* form)
{
    m_expression->setPlaceholderText(tr("For example (0x3F << 4) | 0b101"));
    m_expression->setMaxLength(int(Expression::kLongestText));
    m_expression->setToolTip(
        tr("Operators: | ^ & << >> + - * / % ** ~\nNumbers: 42, 0x2A, 0b101010, 0o52, 1.5e3, "
           "'*'\nFunctions: %1")
            .arg(Expression::functionNames().join(QStringLiteral(", "))));
    for (const int width : {8, 16, 32, 64})
        m_width->addItem(tr("%1 bits").arg(width), width);
    m_width->setCurrentIndex(2);
    m_width->setAccessibleName(tr("Width of integers"));
    m_signed->setChecked(true);
    m_status->setWordWrap(true);
    m_status->setTextFormat(Qt::PlainText);

    auto* kinds = new QHBoxLayout;
    kinds->addWidget(m_width);
    kinds->addWidget(m_signed);
    kinds->addStretch();
    form->addRow(tr("Expression"), m_expression);
    form->addRow(tr("Integers"), kinds);
    form->addRow(m_status);
    connect(m_expression, &QLineEdit::textChanged, this, &CalculatorPanel::calculate);
    connect(m_width, &QComboBox::currentIndexChanged, this, &CalculatorPanel::calculate);
    connect(m_signed, &QCheckBox::toggled, this, &CalculatorPanel::calculate);
}

void CalculatorPanel::buildResults(QFormLayout* form)
{
    form->addRow(tr("Decimal"), m_decimal);
    form->addRow(m_otherDecimalLabel, m_otherDecimal);
    form->addRow(tr("Hexadecimal"), m_hexadecimal);
    form->addRow(tr("Octal"), m_octal);
    form->addRow(tr("Binary"), m_binary);
    form->addRow(tr("Bytes swapped"), m_swapped);
    form->addRow(tr("As float"), m_floatBits);
    form->addRow(tr("As double"), m_doubleBits);
    m_floatBits->setToolTip(tr("The result as the bits of an IEEE 754 binary32 number"));
    m_doubleBits->setToolTip(tr("The result as the bits of an IEEE 754 binary64 number"));
    // Wide enough for 64 binary digits in groups of four.
    const int digitWidth = m_binary->fontMetrics().horizontalAdvance(u'0');
    m_binary->setMinimumWidth(digitWidth * 82);
}

void CalculatorPanel::buildIeee(QFormLayout* form)
{
    static const QRegularExpression digits(QStringLiteral("[0-9A-Fa-f ]*"));
    m_ieeeHex->setValidator(new QRegularExpressionValidator(digits, m_ieeeHex));
    m_ieeeHex->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_ieeeHex->setPlaceholderText(tr("8 or 16 hexadecimal digits, for example 3F800000"));
    form->addRow(tr("IEEE 754 bits"), m_ieeeHex);
    form->addRow(tr("Number"), m_ieeeValue);
    connect(m_ieeeHex, &QLineEdit::textChanged, this, &CalculatorPanel::showIeee);
}

IntegerKind CalculatorPanel::kind() const
{
    return {m_width->currentData().toInt(), m_signed->isChecked()};
}

void CalculatorPanel::calculate()
{
    m_otherDecimalLabel->setText(m_signed->isChecked() ? tr("Unsigned") : tr("Signed"));
    const QString text = m_expression->text();
    const bool empty = text.trimmed().isEmpty();
    const Expression::Result result = Expression::evaluate(text, kind());
    if (empty || !result.ok) {
        for (QLineEdit* field : {m_decimal, m_otherDecimal, m_hexadecimal, m_octal, m_binary,
                 m_swapped, m_floatBits, m_doubleBits})
            field->clear();
        m_status->setText(
            empty ? QString()
                  : tr("%1 (position %2)").arg(result.error).arg(result.errorPosition + 1));
        return;
    }
    m_status->setText(
        result.wrapped
            ? tr("A step did not fit %1 bits; its upper bits are lost.").arg(kind().width)
            : QString());
    showValue(result.value);
}

void CalculatorPanel::showValue(const CalcValue& value)
{
    const IntegerKind integers = kind();
    const double number = value.isReal ? value.real : integers.toReal(value.bits);
    m_floatBits->setText(hexOf(Ieee754::bitsOfFloat(float(number)), kFloatDigits));
    m_doubleBits->setText(hexOf(Ieee754::bitsOfDouble(number), kDoubleDigits));
    if (value.isReal) {
        m_decimal->setText(realText(value.real));
        for (QLineEdit* field : {m_otherDecimal, m_hexadecimal, m_octal, m_binary, m_swapped})
            field->clear();
        return;
    }
    const QString asSigned = IntegerText::signedDecimal(value.bits, integers);
    const QString asUnsigned = IntegerText::unsignedDecimal(value.bits, integers);
    m_decimal->setText(integers.isSigned ? asSigned : asUnsigned);
    m_otherDecimal->setText(integers.isSigned ? asUnsigned : asSigned);
    m_hexadecimal->setText(IntegerText::hexadecimal(value.bits, integers));
    m_octal->setText(IntegerText::octal(value.bits, integers));
    m_binary->setText(IntegerText::binary(value.bits, integers));
    m_binary->setCursorPosition(0);
    m_swapped->setText(
        IntegerText::hexadecimal(IntegerText::swapBytes(value.bits, integers), integers));
}

void CalculatorPanel::showIeee()
{
    QString digits = m_ieeeHex->text();
    digits.remove(u' ');
    const quint64 bits = digits.toULongLong(nullptr, 16);
    if (digits.size() == kFloatDigits)
        m_ieeeValue->setText(tr("float %1").arg(realText(Ieee754::floatOfBits(quint32(bits)))));
    else if (digits.size() == kDoubleDigits)
        m_ieeeValue->setText(tr("double %1").arg(realText(Ieee754::doubleOfBits(bits))));
    else
        m_ieeeValue->clear();
}
