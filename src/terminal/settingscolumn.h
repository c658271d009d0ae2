#pragma once

#include <QScrollArea>

// A column of settings that scrolls up and down and never sideways: it asks for the width that
// its widest row needs, in whatever language and font, so that nothing is cut off.
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
};
