#pragma once

#include "app/settingspage.h"
#include "settings/formatsetting.h"

class ColorButton;
class QCheckBox;
class QFontComboBox;
class QLabel;
class QSpinBox;

// The looks of a pane: font, colours, how much text the view keeps, lamps. A sample shows font and
// colours as they are chosen.
class DisplayPage final : public SettingsPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DisplayPage)

public:
    explicit DisplayPage(QWidget* parent = nullptr);
    ~DisplayPage() override;

    void load(const FormatSetting& format);
    void store(FormatSetting& format) const;

private:
    void describeFields();
    void buildRows();
    [[nodiscard]] QWidget* makeSample();
    void onEdited();
    [[nodiscard]] QFont chosenFont() const;
    [[nodiscard]] FormatSetting edited() const;

    QFontComboBox* m_family;
    QSpinBox* m_size;
    QCheckBox* m_bold;
    QCheckBox* m_colored;
    ColorButton* m_receiveColor;
    ColorButton* m_sendColor;
    QSpinBox* m_bufferMb;
    QCheckBox* m_lamps;
    QLabel* m_receiveSample;
    QLabel* m_sendSample;
    FormatSetting m_shown; // as the fields showed it after loading
};
