#pragma once

#include <QScrollArea>

// The room for the panes: as large as the window leaves, and scrolled when the panes' least sizes
// together are larger than that. Sixteen panes side by side thus never make the window wider than
// the screen.
class PortArea final : public QScrollArea
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PortArea)

public:
    // Takes the content over.
    explicit PortArea(QWidget* content, QWidget* parent = nullptr);
    ~PortArea() override = default;

    // The content's, up to a size that every screen has.
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
