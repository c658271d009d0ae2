#pragma once

#include <QString>
#include <QStringList>

// What the arguments after the program's name ask for: a picture of the window, or a serial port,
// or nothing; a session can be named in each case.
struct CommandLine
{
    QString screenshotPath; // "--screenshot PATH"
    QString sessionFile;    // absolute path, a first argument that is there and ends in ".vmr"
    QString portName;       // any other first argument; opened in the first pane

    // `arguments` starts with the program's name. "--screenshot" without a path is not an option
    // but the first argument like any other. Looks whether a session file is there.
    [[nodiscard]] static CommandLine parse(const QStringList& arguments);

    friend bool operator==(const CommandLine&, const CommandLine&) = default;
};
