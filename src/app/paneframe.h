#pragma once

#include <QWidget>

class ElidedLabel;
class QLabel;
class QToolButton;
class SerialPortWidget;
class SettingsColumn;

// What stands around a pane when several share the window: a caption that says which port it is and
// opens and closes it, and a frame. The current pane is told by the caption's bold text and mark
// and by a frame of double width in the highlight colour. A pane that is alone has neither.
//
// A pane with neighbours can be made so narrow that settings and terminal do not fit beside each
// other; the settings give way until there is room again. Owns the pane as its child.
class PaneFrame final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneFrame)

public:
    // Takes the pane over.
    explicit PaneFrame(SerialPortWidget* pane, QWidget* parent = nullptr);
    ~PaneFrame() override = default;

    [[nodiscard]] SerialPortWidget* pane() const { return m_pane; }

    // More than one pane is in the window.
    void setShared(bool shared);
    void setCurrent(bool current);
    // Shown as far as the width allows.
    void setQuickSettingsWanted(bool wanted);
    // `number` counts from 1. Touches nothing that did not change.
    void setCaption(int number, const QString& title);
    // What the pane's bridges are, in a few characters; empty for none.
    void setBadge(const QString& text);
    // Puts the keyboard focus where it was last in this pane.
    void takeFocus();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void showRunButton();
    void updateQuickSettings();
    void updateLimits();

    SerialPortWidget* m_pane;
    const SettingsColumn* m_column; // the pane's
    QWidget* m_header;
    ElidedLabel* m_caption;
    QLabel* m_badge;
    QToolButton* m_run;
    bool m_shared = false;
    bool m_current = false;
    bool m_settingsWanted = true;
    bool m_settingsShown = true;
};
