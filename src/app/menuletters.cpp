#include "app/menuletters.h"

#include <QKeyEvent>
#include <QMenu>

MenuLetters::MenuLetters(QObject* parent)
    : QObject(parent)
{}

MenuLetters::~MenuLetters() = default;

bool MenuLetters::eventFilter(QObject* watched, QEvent* event)
{
    auto* menu = qobject_cast<QMenu*>(watched);
    if (!menu || event->type() != QEvent::KeyPress)
        return false;
    const QString typed = static_cast<QKeyEvent*>(event)->text();
    if (typed.size() != 1 || !typed.at(0).isLetter())
        return false;
    const QList<QAction*> entries = menu->actions();
    const qsizetype current = entries.indexOf(menu->activeAction());
    for (qsizetype step = 1; step <= entries.size(); ++step) {
        QAction* entry = entries.at((current + step) % entries.size());
        if (entry->isVisible() && entry->isEnabled()
            && entry->text().startsWith(typed, Qt::CaseInsensitive)) {
            menu->setActiveAction(entry);
            return true;
        }
    }
    return false;
}
