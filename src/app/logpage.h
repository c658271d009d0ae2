#pragma once

#include "app/settingspage.h"
#include "log/logwriter.h"
#include "settings/formatsetting.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QSpinBox;
class QTimeEdit;

// The data log of a pane: name pattern, time stamps, rotation. Shows as it is typed which file a
// pattern names now. The clock is that of the log; tests inject it.
class LogPage final : public SettingsPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LogPage)

public:
    explicit LogPage(QWidget* parent = nullptr); // with the system's clock
    explicit LogPage(LogWriter::Clock clock, QWidget* parent = nullptr);
    ~LogPage() override;

    // For the boxes that choose the encoding of a port's data.
    [[nodiscard]] static QString encodingNote();

    void load(const FormatSetting& format);
    void store(FormatSetting& format) const;
    // What "%S" stands for; any characters.
    void setPortName(const QString& portName);

private:
    void describeFields();
    void buildNameRows(QFormLayout* form);
    void buildStampRows(QFormLayout* form);
    void buildRotationRows(QFormLayout* form);
    void connectEdits();
    void onEdited();
    void browse();
    [[nodiscard]] QString expandedName() const;
    [[nodiscard]] QString nameProblem() const;
    [[nodiscard]] FormatSetting edited() const;

    LogWriter::Clock m_clock;
    QString m_portName; // as it stands in file names
    QCheckBox* m_record;
    QLineEdit* m_pattern;
    QLabel* m_namePreview;
    QCheckBox* m_stamped;
    QLineEdit* m_stamp;
    QLabel* m_stampPreview;
    QCheckBox* m_rotateAtSize;
    QSpinBox* m_rotateMb;
    QCheckBox* m_rotateAtTime;
    QTimeEdit* m_rotateTime;
    QCheckBox* m_hourly;
    FormatSetting m_shown; // as the fields showed it after loading
};
