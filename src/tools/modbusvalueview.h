#pragma once

#include <QTableView>

// A table of what Modbus requests bring: rows to select, and Ctrl+C copies the selected ones as
// lines of columns with tabs between them, which a spreadsheet takes.
class ModbusValueView final : public QTableView
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ModbusValueView)

public:
    explicit ModbusValueView(QWidget* parent = nullptr);
    ~ModbusValueView() override;

    // How all tables of the window look.
    static void setUp(QTableView& table);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    [[nodiscard]] QString selectedText() const;
};
