#pragma once

#include <QString>

// Something that a person is to hear about one port. A plain value, carried by one signal from
// where it happened to where it is shown.
struct Notice
{
    enum class Gravity {
        Info,    // went as it was asked for
        Warning, // something was refused or is missing; the connection goes on
        Error,   // what was asked for did not happen, or bytes are lost
    };

    // How long a status line shows a text.
    static constexpr int kSuccessMs = 1000;
    static constexpr int kHintMs = 3000;
    static constexpr int kFailureMs = 5000;

    QString text;   // what happened
    QString advice; // what to do next, in a sentence or two; often empty
    QString port;   // which port, as a person knows it
    Gravity gravity = Gravity::Info;
    int shownMs = kHintMs; // 0: until it is dismissed

    [[nodiscard]] static Notice info(const QString& text, int shownMs = kHintMs);
    [[nodiscard]] static Notice warning(const QString& text, int shownMs = kFailureMs);
    [[nodiscard]] static Notice error(
        const QString& text, const QString& advice = {}, int shownMs = kFailureMs);

    // The text, and the advice on lines of its own.
    [[nodiscard]] QString fullText() const;

    friend bool operator==(const Notice&, const Notice&) = default;
};
