#pragma once

#include "bridge/bridgemanager.h"

#include <QDialog>
#include <QHash>
#include <QSet>

class QCheckBox;
class QComboBox;
class QDialogButtonBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QSpinBox;
class QTabWidget;
class QVBoxLayout;

// Edits one bridge. It offers what fits the two ends that are chosen, explains each choice in the
// line below it, and says there what is wrong; while something is, the bridge cannot be taken over.
// The owner opens it, and takes config() when it is accepted. The manager outlives it.
class BridgeDialog final : public QDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BridgeDialog)

public:
    // `index` is the bridge that is edited, -1 for a new one.
    BridgeDialog(
        const BridgeManager& manager, const BridgeConfig& config, int index, QWidget* parent);
    ~BridgeDialog() override;

    // As it stands in the fields.
    [[nodiscard]] BridgeConfig config() const;

private:
    // A field, and the line below it.
    struct Row
    {
        QFormLayout* form = nullptr;
        QLabel* note = nullptr;
        QString explanation;
    };

    void buildEnds();
    void buildFraming();
    void buildFlow();
    void buildClients();
    void buildCapture();
    QFormLayout* addPage(const QString& title);
    void addRow(QFormLayout* form, const QString& label, QWidget* field, const QString& name,
        const QString& explanation = {});
    QComboBox* choice(const QStringList& texts);
    QSpinBox* number(int min, int max, const QString& suffix = {});
    QCheckBox* option(const QString& text);
    void fill(const BridgeConfig& config);
    void refresh();
    void offerProtocols();
    void showFields(const BridgeConfig& now);
    void explain(const BridgeConfig& now);
    void showRow(QWidget* field, bool shown);
    void setExplanation(QWidget* field, const QString& text);
    // True when there is a fault; it is shown below the field.
    bool fault(QWidget* field, const QString& text);
    void markPages();
    [[nodiscard]] bool hasFaults(const BridgeConfig& now);
    [[nodiscard]] QString addressFault() const;
    [[nodiscard]] QString captureFault() const;
    [[nodiscard]] QString protocolRefusal(ProtocolMode protocol) const;
    [[nodiscard]] bool anyEnd(bool (*is)(connectionMode)) const;
    [[nodiscard]] connectionMode modeOf(int port) const;
    void browse();

    const BridgeManager& m_manager;
    const int m_index;
    const BridgeConfig m_original;
    QHash<QWidget*, Row> m_rows;
    QSet<const QFormLayout*> m_faultyForms;
    QTabWidget* m_tabs = nullptr;
    QDialogButtonBox* m_buttons = nullptr;
    QLabel* m_warning = nullptr;
    QLineEdit* m_name = nullptr;
    QComboBox* m_portA = nullptr;
    QComboBox* m_portB = nullptr;
    QComboBox* m_direction = nullptr;
    QComboBox* m_protocol = nullptr;
    QCheckBox* m_enabled = nullptr;
    QCheckBox* m_autoOpen = nullptr;
    QCheckBox* m_show = nullptr;
    QSpinBox* m_muteRate = nullptr;
    QComboBox* m_framing = nullptr;
    QSpinBox* m_idleGap = nullptr;
    QLineEdit* m_delimiter = nullptr;
    QSpinBox* m_fixedLength = nullptr;
    QSpinBox* m_maxFrame = nullptr;
    QSpinBox* m_maxHold = nullptr;
    QComboBox* m_overflow = nullptr;
    QSpinBox* m_capacity = nullptr;
    QSpinBox* m_highWater = nullptr;
    QSpinBox* m_lowWater = nullptr;
    QSpinBox* m_sinkCeiling = nullptr;
    QCheckBox* m_guard = nullptr;
    QSpinBox* m_floodRate = nullptr;
    QSpinBox* m_floodWindow = nullptr;
    QComboBox* m_fanout = nullptr;
    QComboBox* m_udpTarget = nullptr;
    QSpinBox* m_responseTimeout = nullptr;
    QSpinBox* m_queuedRequests = nullptr;
    QSpinBox* m_transactionTimeout = nullptr;
    QCheckBox* m_exceptions = nullptr;
    QPlainTextEdit* m_allowed = nullptr;
    QCheckBox* m_log = nullptr;
    QWidget* m_pathRow = nullptr;
    QLineEdit* m_path = nullptr;
    QComboBox* m_logFormat = nullptr;
    QSpinBox* m_rotate = nullptr;
};
