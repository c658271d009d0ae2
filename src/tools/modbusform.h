#pragma once

#include "tools/modbusrequest.h"

#include <QWidget>

class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;

// The fields of a Modbus request. Those that its function has are there, and each says by a sign
// and a sentence below it what is wrong with it. What it shows is its request; it keeps no other.
class ModbusForm final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ModbusForm)

public:
    explicit ModbusForm(QWidget* parent = nullptr);
    ~ModbusForm() override;

    // Without a name, which is no field of the wire.
    [[nodiscard]] ModbusRequest request() const;
    void setRequest(const ModbusRequest& request);
    // As which frame the request is to be possible.
    void setFraming(Modbus::Framing framing);
    // In the order of the Tab key.
    [[nodiscard]] QList<QWidget*> fields() const;
    // A row above the others, in line with them.
    void setHead(QLabel* label, QWidget* head);

Q_SIGNALS:
    void changed();

private:
    struct Row
    {
        QWidget* whole = nullptr;
        QWidget* editor = nullptr;
        QLabel* fault = nullptr;
    };

    void addLine(ModbusRequest::Field field, const QString& label, QLineEdit*& editor,
        QWidget* beside = nullptr);
    Row& addRow(ModbusRequest::Field field, const QString& label, QWidget* editor,
        QWidget* beside = nullptr);
    void fillChoices();
    void edited();
    void showRows();
    void showFaults();

    QFormLayout* m_rows;
    QMap<ModbusRequest::Field, Row> m_fields;
    QComboBox* m_function;
    QComboBox* m_base;
    QLabel* m_onWire;
    QLabel* m_limit;
    QComboBox* m_type;
    QComboBox* m_order;
    QWidget* m_kinds; // type and order
    QLineEdit* m_unit = nullptr;
    QLineEdit* m_address = nullptr;
    QLineEdit* m_quantity = nullptr;
    QLineEdit* m_writeAddress = nullptr;
    QLineEdit* m_andMask = nullptr;
    QLineEdit* m_orMask = nullptr;
    QPlainTextEdit* m_values;
    QPlainTextEdit* m_raw;
    Modbus::Framing m_framing = Modbus::Framing::Rtu;
    bool m_setting = false;
};
