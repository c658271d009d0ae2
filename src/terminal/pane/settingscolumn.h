#pragma once

#include <QScrollArea>

// A column of settings that scrolls up and down and never sideways: it asks for the width at which
// labels stand beside their fields, in whatever language and font, and never gets less than its
// widest field needs, so that nothing is cut off. The wheel scrolls it, and turns only the field
// that has the focus.
class SettingsColumn final : public QScrollArea
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsColumn)

public:
    // Takes the content over.
    explicit SettingsColumn(QWidget* content, QWidget* parent = nullptr);
    ~SettingsColumn() override;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] static bool turnsWithTheWheel(const QWidget* field);
};
