#pragma once

#include "settings/sessioncontents.h"

#include <QList>
#include <QObject>
#include <QPointer>

class PaneFrame;
class QWidget;
class PortLines;
class SerialPortCatalog;
class SerialPortWidget;

// The panes of the window, one to kMaxPanes, in slot order: makes and removes them, and knows which
// one is current, which is the one that had the keyboard focus last. Clicking anywhere in a pane
// makes it current. Where the panes stand is not known here. Owned by the main window.
class PaneSet final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PaneSet)

public:
    static constexpr int kMaxPanes = SessionContents::kMaxPanes;

    // The frames become children of `place`. The catalog must outlive the set, which starts with
    // one pane.
    PaneSet(SerialPortCatalog& catalog, QWidget* place, QObject* parent = nullptr);
    ~PaneSet() override;

    [[nodiscard]] int count() const { return int(m_panes.size()); }
    [[nodiscard]] const QList<SerialPortWidget*>& panes() const { return m_panes; }
    [[nodiscard]] QList<QWidget*> frames() const;
    [[nodiscard]] SerialPortWidget& first() const { return *m_panes.constFirst(); }
    // The pane that has the keyboard focus in its window, or null.
    [[nodiscard]] SerialPortWidget* focused() const;
    // The pane that had the focus last.
    [[nodiscard]] SerialPortWidget& current() const;
    [[nodiscard]] int currentIndex() const;

    // Adds a pane behind the others; there must be fewer than kMaxPanes.
    SerialPortWidget* append();
    // Closes and deletes the last pane; there must be more than one.
    void removeLast();
    // Closes and deletes all panes and makes `count` new ones (1 to kMaxPanes).
    void renew(int count);

    // Moves the keyboard focus to the pane so many places further, round and round.
    void focusNext(int step);
    void focusPane(int index);
    void setQuickSettingsVisible(bool visible);
    void showCaptions();
    // What stands beside the captions, by index; empty for nothing.
    void showBadges(const QStringList& badges);

Q_SIGNALS:
    // A persisted option of a pane was changed by the person at the desk.
    void edited();
    // Opened, closed, paused, resumed, lost or regained.
    void stateChanged();
    // Something that a status line or a menu shows of a pane is another.
    void moved();
    // A message of the first pane.
    void firstPaneMessage(const QString& text, int timeoutMs);
    void currentChanged(QWidget* frame);
    // A pane that is about to be among them.
    void made(SerialPortWidget* pane);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    PaneFrame* makeFrame();
    static void drop(PaneFrame* frame);
    void adopt(QList<PaneFrame*> frames);
    void setCurrent(PaneFrame* frame);
    void watchLinesOfFirst();
    [[nodiscard]] PaneFrame* frameOf(const QWidget* widget) const;

    SerialPortCatalog& m_catalog;
    QWidget* m_place;
    QList<PaneFrame*> m_frames;
    QList<SerialPortWidget*> m_panes; // those of the frames
    QPointer<PortLines> m_watched;    // the lines of the first pane, shown in the status bar
    QPointer<PaneFrame> m_current;
    bool m_quickSettingsVisible = true;
};
