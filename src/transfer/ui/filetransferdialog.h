#pragma once

#include "settings/settings.h"
#include "transfer/engine/xferconfig.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QDialogButtonBox;
class QLabel;
class QSettings;
class QSpinBox;

// What a person chooses for one transfer: protocol, block size, limit, file or folder, and the
// client where there are several. Every choice is explained in a line; what cannot work is said
// here and not after the start. The last choices are proposed again, kept in the program's own
// settings.
class FileTransferDialog final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileTransferDialog)

public:
    // Places that are proposed, the last one first.
    static constexpr int kRecentPlaces = 8;

    // `settings` are those of the connection that is open; `clients` are empty where there is one
    // other end only. `path` is a file to send or a folder to receive into, or empty.
    FileTransferDialog(XferDirection direction, const Settings& settings,
        const QStringList& clients, const QString& path, QSettings& store,
        QWidget* parent = nullptr);
    ~FileTransferDialog() override;

    [[nodiscard]] XferConfig config() const;
    // The file to send; a folder, or for XMODEM the file, to receive.
    [[nodiscard]] QString path() const;
    [[nodiscard]] QString peer() const;
    [[nodiscard]] bool keepOpenAfterwards() const;
    // What the protocol means for this file and connection; empty when there is nothing to say.
    [[nodiscard]] QString protocolHint() const;
    // Shows why the transfer could not start.
    void showProblem(const QString& text);

Q_SIGNALS:
    // The person wants it so. The dialog stays until it is accepted or closed by who started it.
    void startRequested();

private:
    void build(const QStringList& clients);
    void addPlaceRow(class QFormLayout& form);
    void restore(const QString& path);
    void remember();
    void browse();
    void refresh();
    [[nodiscard]] QString problem() const;
    [[nodiscard]] XferProtocol protocol() const;
    [[nodiscard]] bool needsName() const;
    [[nodiscard]] QString keyFor(QLatin1StringView name) const;

    const XferDirection m_direction;
    const bool m_hardwareFlowControl;
    QSettings& m_store;
    QComboBox* m_protocol;
    QLabel* m_explanation;
    QComboBox* m_blockSize;
    QSpinBox* m_limit;
    QComboBox* m_place;
    QComboBox* m_name;
    QComboBox* m_client;
    QCheckBox* m_keepOpen;
    QLabel* m_hint;
    QDialogButtonBox* m_buttons;
};
