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
    void showFields(const BridgeConfig& config);
    void explain(const BridgeConfig& config);
    void showRow(QWidget* field, bool shown);
    void setExplanation(QWidget* field, const QString& text);
    // True when there is a fault; it is shown below the field.
    bool fault(QWidget* field, const QString& text);
    void markPages();
    [[nodiscard]] bool hasFaults(const BridgeConfig& config);
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
    QTabWidget* m_tabs;
    QDialogButtonBox* m_buttons;
    QLabel* m_warning;
    QLineEdit* m_name;
    QComboBox* m_portA;
    QComboBox* m_portB;
    QComboBox* m_direction;
    QComboBox* m_protocol;
    QCheckBox* m_enabled;
    QCheckBox* m_autoOpen;
    QCheckBox* m_show;
    QSpinBox* m_muteRate;
    QComboBox* m_framing;
    QSpinBox* m_idleGap;
    QLineEdit* m_delimiter;
    QSpinBox* m_fixedLength;
    QSpinBox* m_maxFrame;
    QSpinBox* m_maxHold;
    QComboBox* m_overflow;
    QSpinBox* m_capacity;
    QSpinBox* m_highWater;
    QSpinBox* m_lowWater;
    QSpinBox* m_sinkCeiling;
    QCheckBox* m_guard;
    QSpinBox* m_floodRate;
    QSpinBox* m_floodWindow;
    QComboBox* m_fanout;
    QComboBox* m_udpTarget;
    QSpinBox* m_responseTimeout;
    QSpinBox* m_queuedRequests;
    QSpinBox* m_transactionTimeout;
    QCheckBox* m_exceptions;
    QPlainTextEdit* m_allowed;
    QCheckBox* m_log;
    QWidget* m_pathRow;
    QLineEdit* m_path;
    QComboBox* m_logFormat;
    QSpinBox* m_rotate;
};
