#pragma once

#include <QDialog>

class QDialogButtonBox;
class QLabel;
class QLineEdit;
class QSettings;

// Asks once where configuration files are to be kept: before the first main window, when the
// application store names no folder. Accepting creates the folder and stores it; a folder that
// cannot be created is told in the dialog, which stays open.
class SetConfigFilePathDialog final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SetConfigFilePathDialog)

public:
    // The store must outlive the dialog.
    explicit SetConfigFilePathDialog(QSettings& store, QWidget* parent = nullptr);
    ~SetConfigFilePathDialog() override = default;

    // The folder of the store, empty while none has been chosen.
    [[nodiscard]] static QString storedPath(const QSettings& store);
    [[nodiscard]] static QString proposedPath(const QSettings& store);

    void accept() override;

private:
    void browse();
    void showProblem(const QString& text);

    QSettings& m_store;
    QLineEdit* m_path;
    QLabel* m_problem;
    QDialogButtonBox* m_buttons;
};
