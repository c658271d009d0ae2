#include "tools/modbusform.h"

#include <QComboBox>
#include <QFontDatabase>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;
using Field = ModbusRequest::Field;

namespace {

constexpr int kTextLines = 3;
constexpr int kSpacing = 4;
constexpr int kNumberWidth = 12; // characters
constexpr int kOrderWidth = 20;

QPlainTextEdit* textField(QWidget* parent)
{
    auto* field = new QPlainTextEdit(parent);
    field->setTabChangesFocus(true);
    field->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    field->setFixedHeight(kTextLines * field->fontMetrics().lineSpacing() + 3 * kSpacing);
    return field;
}

// A colour that can be read on the palette's window, light or dark.
QColor faultColor(const QPalette& palette)
{
    return palette.color(QPalette::Window).lightness() < 128 ? QColor(0xFF, 0x8A, 0x80)
                                                             : QColor(0xB0, 0x00, 0x20);
}

} // namespace

ModbusForm::ModbusForm(QWidget* parent)
    : QWidget(parent)
    , m_rows(new QFormLayout(this))
    , m_function(new QComboBox(this))
    , m_base(new QComboBox(this))
    , m_onWire(new QLabel(this))
    , m_limit(new QLabel(this))
    , m_type(new QComboBox(this))
    , m_order(new QComboBox(this))
    , m_kinds(new QWidget(this))
    , m_values(textField(this))
    , m_raw(textField(this))
{
    m_rows->setContentsMargins(0, 0, 0, 0);
    m_rows->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_rows->setLabelAlignment(Qt::AlignLeft | Qt::AlignTop);
    fillChoices();
    auto* function = new QLabel(tr("&Function"), this);
    function->setBuddy(m_function);
    addLine(Field::Unit, tr("&Unit"), m_unit);
    m_rows->addRow(function, m_function);
    auto* counting = new QWidget(this);
    auto* countingLayout = new QHBoxLayout(counting);
    countingLayout->setSpacing(2 * kSpacing);
    countingLayout->setContentsMargins(0, 0, 0, 0);
    countingLayout->addWidget(m_base);
    countingLayout->addWidget(m_onWire, 1);
    addLine(Field::Address, tr("&Address"), m_address, counting);
    addLine(Field::Quantity, tr("Quantit&y"), m_quantity, m_limit);
    addLine(Field::WriteAddress, tr("&Write from"), m_writeAddress);
    auto* kindsLayout = new QHBoxLayout(m_kinds);
    kindsLayout->setContentsMargins(0, 0, 0, 0);
    kindsLayout->addWidget(m_type);
    kindsLayout->addWidget(m_order, 1);
    auto* type = new QLabel(tr("&Type"), this);
    type->setBuddy(m_type);
    m_rows->addRow(type, m_kinds);
    addRow(Field::Values, tr("&Values"), m_values);
    addLine(Field::AndMask, tr("AN&D mask"), m_andMask);
    addLine(Field::OrMask, tr("OR &mask"), m_orMask);
    addRow(Field::Raw, tr("&PDU"), m_raw);
    for (QPlainTextEdit* text : {m_values, m_raw})
        connect(text, &QPlainTextEdit::textChanged, this, &ModbusForm::edited);
    for (QComboBox* choice : {m_function, m_base, m_type, m_order})
        connect(choice, &QComboBox::currentIndexChanged, this, &ModbusForm::edited);
    setRequest({});
}

ModbusForm::~ModbusForm() = default;

void ModbusForm::fillChoices()
{
    for (const int code : {1, 2, 3, 4, 5, 6, 15, 16, 22, 23})
        m_function->addItem(u"%1  %2"_s.arg(code).arg(Modbus::functionName(code)), code);
    m_function->addItem(tr("Custom PDU"), ModbusRequest::kCustom);
    m_base->addItem(tr("counted from 0"));
    m_base->addItem(tr("counted from 1"));
    m_base->setAccessibleName(tr("First address"));
    m_base->setToolTip(
        tr("On the wire addresses begin at 0. Manuals that count from 1 call that one 1."));
    for (const QString& type :
        {tr("16-bit unsigned"), tr("16-bit signed"), tr("16-bit hexadecimal"),
            tr("32-bit unsigned"), tr("32-bit signed"), tr("32-bit float")})
        m_type->addItem(type);
    m_order->addItem(tr("ABCD (big-endian)"));
    m_order->addItem(tr("CDAB (words swapped)"));
    m_order->addItem(tr("BADC (bytes swapped)"));
    m_order->addItem(tr("DCBA (little-endian)"));
    m_order->setAccessibleName(tr("Order of words and bytes"));
    m_order->setToolTip(tr("In which order the bytes of a 32-bit value, A the highest, are sent"));
    m_order->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_order->setMinimumContentsLength(kOrderWidth);
}

void ModbusForm::addLine(Field field, const QString& label, QLineEdit*& editor, QWidget* beside)
{
    editor = new QLineEdit(this);
    editor->setMaximumWidth(kNumberWidth * fontMetrics().averageCharWidth() * 3 / 2);
    connect(editor, &QLineEdit::textChanged, this, &ModbusForm::edited);
    addRow(field, label, editor, beside);
}

ModbusForm::Row& ModbusForm::addRow(
    Field field, const QString& label, QWidget* editor, QWidget* beside)
{
    Row& row = m_fields[field];
    row.whole = new QWidget(this);
    row.editor = editor;
    row.fault = new QLabel(row.whole);
    row.fault->setTextFormat(Qt::PlainText);
    row.fault->setWordWrap(true);
    row.fault->hide();
    auto* line = new QHBoxLayout;
    line->setSpacing(2 * kSpacing);
    line->addWidget(editor, beside == nullptr ? 1 : 0);
    if (beside != nullptr)
        line->addWidget(beside, 1);
    else if (qobject_cast<QLineEdit*>(editor) != nullptr)
        line->addStretch(1);
    auto* layout = new QVBoxLayout(row.whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kSpacing / 2);
    layout->addLayout(line);
    layout->addWidget(row.fault);
    auto* name = new QLabel(label, this);
    name->setBuddy(editor);
    m_rows->addRow(name, row.whole);
    return row;
}

ModbusRequest ModbusForm::request() const
{
    ModbusRequest request;
    request.function = m_function->currentData().toInt();
    request.unit = m_unit->text();
    request.address = m_address->text();
    request.quantity = m_quantity->text();
    request.writeAddress = m_writeAddress->text();
    request.values = m_values->toPlainText();
    request.andMask = m_andMask->text();
    request.orMask = m_orMask->text();
    request.raw = m_raw->toPlainText();
    request.oneBased = m_base->currentIndex() == 1;
    request.type = ModbusValues::Type(m_type->currentIndex());
    request.order = ModbusValues::Order(m_order->currentIndex());
    return request;
}

void ModbusForm::setRequest(const ModbusRequest& request)
{
    m_setting = true;
    m_function->setCurrentIndex(m_function->findData(request.function));
    m_unit->setText(request.unit);
    m_address->setText(request.address);
    m_quantity->setText(request.quantity);
    m_writeAddress->setText(request.writeAddress);
    m_values->setPlainText(request.values);
    m_andMask->setText(request.andMask);
    m_orMask->setText(request.orMask);
    m_raw->setPlainText(request.raw);
    m_base->setCurrentIndex(request.oneBased ? 1 : 0);
    m_type->setCurrentIndex(int(request.type));
    m_order->setCurrentIndex(int(request.order));
    m_setting = false;
    edited();
}

void ModbusForm::setFraming(Modbus::Framing framing)
{
    m_framing = framing;
    edited();
}

QList<QWidget*> ModbusForm::fields() const
{
    return {m_unit, m_function, m_address, m_base, m_quantity, m_writeAddress, m_type, m_order,
        m_values, m_andMask, m_orMask, m_raw};
}

void ModbusForm::setHead(QLabel* label, QWidget* head)
{
    m_rows->insertRow(0, label, head);
}

void ModbusForm::edited()
{
    if (m_setting)
        return;
    showRows();
    showFaults();
    Q_EMIT changed();
}

void ModbusForm::showRows()
{
    const ModbusRequest now = request();
    for (auto row = m_fields.cbegin(); row != m_fields.cend(); ++row)
        m_rows->setRowVisible(row->whole, now.has(row.key()));
    const bool registers = !now.isOfCoils() && (now.has(Field::Quantity) || now.has(Field::Values));
    m_rows->setRowVisible(m_kinds, registers);
    const int most = Modbus::maxQuantity(now.function);
    m_limit->setText(
        now.isOfCoils() ? tr("bits, 1 to %1").arg(most) : tr("registers, 1 to %1").arg(most));
    m_order->setVisible(ModbusValues::registersOf(now.type) == 2);
    m_values->setPlaceholderText(
        now.isOfCoils() ? tr("1 0 1, or on off on") : tr("Numbers, hexadecimal with 0x"));
    m_raw->setPlaceholderText(tr("Function code and data in hexadecimal"));
}

void ModbusForm::showFaults()
{
    const ModbusRequest::Built built = request().build(m_framing);
    for (auto row = m_fields.cbegin(); row != m_fields.cend(); ++row) {
        const QString fault = built.faults.value(row.key());
        QPalette colors = palette();
        colors.setColor(QPalette::WindowText, faultColor(colors));
        row->fault->setPalette(colors);
        row->fault->setText(fault.isEmpty() ? QString() : u"⚠ "_s + fault);
        row->fault->setVisible(!fault.isEmpty());
        row->editor->setAccessibleDescription(fault);
    }
    m_onWire->setText(built.wireAddress < 0
                          ? QString()
                          : tr("on the wire %1").arg(ModbusValues::hexAddress(built.wireAddress)));
}
