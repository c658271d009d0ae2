#pragma once

#include "settings/settings.h"

#include <QStringList>

class QSerialPort;

enum class SerialParameters { All, Changed };

// Gives an open port the line parameters of the settings, which are sanitized: all of them, or
// those that differ. What the driver did not accept, each with the reason in words; the rest is in
// force.
QStringList applySerialParameters(
    QSerialPort& port, const Settings& settings, SerialParameters which);
