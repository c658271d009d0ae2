#pragma once

#include <QObject>
#include <functional>

class QAction;
class QWidget;

// How many panes stand side by side, and the four actions of the View menu that say so: all of
// them, one, two, or a number that is asked for. Owned by the main window, which is the parent of
// the question.
class ViewModes final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ViewModes)

public:
    struct Actions
    {
        QAction* horizontal;
        QAction* vertical;
        QAction* grid;
        QAction* custom;
    };

    ViewModes(const Actions& actions, std::function<int()> paneCount, QWidget* window);
    ~ViewModes() override = default;

    // Panes per row as they were asked for, 1 to 16; there may be fewer panes.
    [[nodiscard]] int columnCount() const;
    // As a session says; checks the action that gives this number. Tells nothing.
    void setColumnCount(int columns);
    // All panes side by side. Tells nothing.
    void selectHorizontal();

Q_SIGNALS:
    // Chosen by the person.
    void chosen();

private:
    void choose(QAction* mode, int columns);
    void askColumnCount();

    Actions m_actions;
    std::function<int()> m_paneCount;
    QWidget* m_window;
    int m_columnCount = 1;
    QAction* m_mode;
};
