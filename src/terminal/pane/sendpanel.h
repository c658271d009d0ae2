#pragma once

#include "settings/formatsetting.h"
#include "terminal/pane/panelform.h"

#include <QGroupBox>

class FormatRow;
class QCheckBox;
class QComboBox;
class QSpinBox;

// The send group of a pane: how what is typed becomes bytes. Edits a FormatSetting record and
// decides nothing. Line by line is a way of repeating, not a persisted option.
class SendPanel final : public QGroupBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SendPanel)

public:
    explicit SendPanel(QWidget* parent = nullptr);
    ~SendPanel() override;

    void load(const FormatSetting& format);
    void store(FormatSetting& format) const;
    [[nodiscard]] bool lineByLine() const;
    [[nodiscard]] PanelForm& form() { return m_form; }

Q_SIGNALS:
    void edited();
    // No record has this option.
    void lineByLineEdited(bool on);

private:
    void nameFields();
    void describeFields();
    void fillLists();
    void buildRows();
    void connectEdits();
    void syncEnabled();
    void showUnit(int unit);
    void onUnitEdited();
    [[nodiscard]] QWidget* makePeriodField();

    PanelForm m_form;
    FormatRow* m_format;
    QComboBox* m_encoding;
    QCheckBox* m_normaliseHex;
    QCheckBox* m_loop;
    QSpinBox* m_interval; // in units of m_unit
    QComboBox* m_unit;    // milliseconds
    QCheckBox* m_lineByLine;
    QComboBox* m_lineEnding;
    QComboBox* m_checksum;
    QComboBox* m_enterSends;
    QCheckBox* m_displaySend;
    QCheckBox* m_localEcho;
    int m_offeredUnits = 0;
    int m_shownUnit = 1;
    bool m_loading = false;
};
