#pragma once

#include "terminal/text/crccalculation.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRadioButton;

// The CRC calculator: input as text or hexadecimal, an algorithm of the catalogue or custom
// parameters, and the result in a base and as the bytes that go on the wire. Everything is worked
// out anew at each edit.
class CrcPanel final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CrcPanel)

public:
    explicit CrcPanel(QWidget* parent = nullptr);
    ~CrcPanel() override;

Q_SIGNALS:
    // The input with its CRC behind it, to be sent.
    void insertRequested(const QByteArray& framed);

private:
    void buildInput();
    void buildCustomFields();
    void buildResult();
    void connectEdits();
    void calculate();
    [[nodiscard]] bool readInput(QByteArray& bytes, QString& error) const;
    [[nodiscard]] bool readParameters(CrcCatalog::Algorithm algorithm,
        CrcCatalog::CustomParameters& parameters, QString& error) const;
    void showError(const QString& error);
    void showResult(const QByteArray& input, const CrcCalculation& result);

    QPlainTextEdit* m_input;
    QRadioButton* m_ascii;
    QRadioButton* m_hex;
    QComboBox* m_algorithm;
    QGroupBox* m_custom;
    QLineEdit* m_width = nullptr;
    QLineEdit* m_polynomial = nullptr;
    QLineEdit* m_initial = nullptr;
    QLineEdit* m_finalXor = nullptr;
    QCheckBox* m_reflectInput = nullptr;
    QCheckBox* m_reflectOutput = nullptr;
    QComboBox* m_base;
    QComboBox* m_byteOrder;
    QLineEdit* m_result;
    QLineEdit* m_wire;
    QLabel* m_status;
    QPushButton* m_insert;
    QByteArray m_framed;
};
