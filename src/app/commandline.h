#pragma once

#include <QCoreApplication>

// What the arguments after the program's name ask for: a picture of the window, or a serial port,
// or nothing; a session can be named in each case. Or a text, and no window.
struct CommandLine
{
    Q_DECLARE_TR_FUNCTIONS(CommandLine)

public:
    QString screenshotPath = {}; // "--screenshot FILE"
    QString sessionFile = {};    // absolute path, a first argument that is there and ends in ".vmr"
    QString portName = {};       // any other first argument; opened in the first pane
    QString answer = {};         // to "--help" and "--version", for the standard output
    QString fault = {};          // an option that there is not, for the standard error

    // `arguments` starts with the program's name. "--screenshot" without a path is not an option
    // but the first argument like any other. Looks whether a session file is there.
    [[nodiscard]] static CommandLine parse(QStringList arguments);

    friend bool operator==(const CommandLine&, const CommandLine&) = default;
};
