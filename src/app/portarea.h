#pragma once

#include <QPointer>
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

    // Scrolls to the pane now, and again whenever the panes are arranged anew: a pane that was just
    // added has no place yet.
    void follow(QWidget* pane);

    // The content's, up to a size that every screen has.
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showFollowed();

    QPointer<QWidget> m_followed;
};
