#pragma once

#include <QMetaType>
#include <QString>

// Something that a person is to hear: what happened, to which port, how grave it is, and how long
// it is shown.
struct Notice
{
    enum class Gravity : quint8 { Info, Warning, Error };

    static constexpr int kUntilDismissed = 0;

    QString text;
    QString port; // how the port is called; empty when the text names it or there is none
    Gravity gravity = Gravity::Info;
    int shownMs = 3000; // milliseconds, or kUntilDismissed

    friend bool operator==(const Notice&, const Notice&) = default;
};

Q_DECLARE_METATYPE(Notice)
