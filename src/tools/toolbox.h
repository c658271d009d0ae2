#pragma once

#include <QDialog>

// The tool box: a calculator and a CRC calculator side by side in tabs. A window of its own that
// stays open beside the panes; nothing in it blocks them.
class ToolBox final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ToolBox)

public:
    explicit ToolBox(QWidget* parent = nullptr);
    ~ToolBox() override;

Q_SIGNALS:
    // Bytes to put into a send editor.
    void insertRequested(const QByteArray& bytes);
};
