#pragma once

#include "tools/calcvalue.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;

// A calculator for people who read registers: an expression, and its result in every base at
// once, signed and unsigned, with swapped bytes and as IEEE 754 bits; and IEEE 754 bits typed as
// hexadecimal back to numbers.
class CalculatorPanel final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CalculatorPanel)

public:
    explicit CalculatorPanel(QWidget* parent = nullptr);
    ~CalculatorPanel() override;

private:
    void buildInput(QFormLayout* form);
    void buildResults(QFormLayout* form);
    void buildIeee(QFormLayout* form);
    [[nodiscard]] IntegerKind kind() const;
    void calculate();
    void showValue(const CalcValue& value);
    void showIeee();

    QLineEdit* m_expression;
    QComboBox* m_width;
    QCheckBox* m_signed;
    QLabel* m_status;
    QLineEdit* m_decimal;
    QLineEdit* m_otherDecimal;
    QLineEdit* m_hexadecimal;
    QLineEdit* m_octal;
    QLineEdit* m_binary;
    QLineEdit* m_swapped;
    QLineEdit* m_floatBits;
    QLineEdit* m_doubleBits;
    QLineEdit* m_ieeeHex;
    QLineEdit* m_ieeeValue;
    QLabel* m_otherDecimalLabel;
};
