#pragma once

#include <QString>
#include <QStringList>

// What the arguments after the program's name ask for. Either a picture of the window is wanted
// or a serial port, or nothing.
struct CommandLine
{
    QString screenshotPath; // "--screenshot PATH"
    QString portName;       // the first argument otherwise; opened in the first pane

    // `arguments` starts with the program's name. "--screenshot" without a path is not an option
    // but the first argument like any other.
    [[nodiscard]] static CommandLine parse(const QStringList& arguments);

    friend bool operator==(const CommandLine&, const CommandLine&) = default;
};
