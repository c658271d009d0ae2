#pragma once

#include <QMetaType>
#include <QString>

// Something that a person is to hear: what happened, to which port, how grave it is, and how long
// it is shown. A plain value, carried by one signal from where it happened to where it is shown.
struct Notice
{
    enum class Gravity : quint8 {
        Info,    // went as it was asked for
        Warning, // something was refused or is missing; the connection goes on
        Error,   // what was asked for did not happen, or bytes are lost
    };

    // How long a text is shown, in milliseconds.
    static constexpr int kUntilDismissed = 0;
    static constexpr int kSuccessMs = 1000;
    static constexpr int kHintMs = 3000;
    static constexpr int kFailureMs = 5000;

    QString text;
    QString advice; // what to do next, in a sentence or two; often empty
    QString port;   // how the port is called; empty when the text names it or there is none
    Gravity gravity = Gravity::Info;
    int shownMs = kHintMs;
    bool isDetail = false; // for the debug log: nothing that a person has to act on

    [[nodiscard]] static Notice info(const QString& text, int shownMs = kHintMs);
    [[nodiscard]] static Notice warning(const QString& text, int shownMs = kFailureMs);
    [[nodiscard]] static Notice error(
        const QString& text, const QString& advice = {}, int shownMs = kFailureMs);

    // The text, and the advice on lines of its own.
    [[nodiscard]] QString fullText() const;

    friend bool operator==(const Notice&, const Notice&) = default;
};

Q_DECLARE_METATYPE(Notice)
