#pragma once

#include <QObject>

// Lets a letter lead to the next entry of a menu that begins with it, for menus whose entries have
// no mnemonics. Installed as the event filter of each menu; Enter triggers, as ever.
class MenuLetters final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MenuLetters)

public:
    explicit MenuLetters(QObject* parent);
    ~MenuLetters() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
