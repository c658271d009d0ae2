#pragma once

#include <QWidget>

class FieldNote;
class QListWidget;
class QStackedWidget;
class SettingsPage;

// Settings pages behind a list of their names. Each scrolls when the window is small. Pages that
// cannot be accepted are marked in the list, and a line below names the first of them and what is
// wrong, so that a disabled OK button is never a riddle.
class PageStack final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PageStack)

public:
    // What is wrong on a page is told between its rows: a dialog that is so many lines of text
    // higher than its pages need not scroll for it.
    static constexpr int kSpareRows = 6;

    explicit PageStack(QWidget* parent = nullptr);
    ~PageStack() override;

    // Takes the page over.
    void addPage(SettingsPage* page, const QString& title);
    void showPage(const SettingsPage* page);
    // "Page: what is wrong" of the first page that cannot be accepted, empty when all can.
    [[nodiscard]] QString problem() const;
    // Brings up the first page that cannot be accepted, at the field to put right.
    void showProblem();

Q_SIGNALS:
    // Something on a page changed; problem() is up to date.
    void changed();

private:
    void refresh();

    QListWidget* m_list;
    QStackedWidget* m_stack;
    FieldNote* m_note;
    QList<SettingsPage*> m_pages; // in the order of the list
};
