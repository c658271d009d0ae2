#pragma once

#include "settings/connectionmode.h"

#include <QString>

class QComboBox;
class QSpinBox;

// The lists that connection, receive and send options are chosen from, the same wherever they are
// shown. Each entry carries the code that the settings records store as its item data.
namespace PanelChoices {

// The connection types that this program can open.
void fillModes(QComboBox& box);
// What a connection type is called, also one that fillModes() leaves out.
[[nodiscard]] QString modeText(connectionMode mode);
// Why a connection of that type cannot be opened, for people; empty when it can.
[[nodiscard]] QString modeProblem(connectionMode mode);

// Makes the box editable: the usual rates, and any other can be typed. Bits per second.
void fillBaudRates(QComboBox& box);
void fillDataBits(QComboBox& box);
void fillParities(QComboBox& box);     // QSerialPort::Parity
void fillStopBits(QComboBox& box);     // QSerialPort::StopBits
void fillFlowControls(QComboBox& box); // QSerialPort::FlowControl
// The names of the encodings, which are their texts.
void fillEncodings(QComboBox& box);
void fillLineEndings(QComboBox& box);    // LineEndingMode, what is appended to a send
void fillTerminalEnters(QComboBox& box); // LineEndingMode without None, what Enter sends
void fillChecksums(QComboBox& box);      // ChecksumMode
void fillTimeUnits(QComboBox& box);      // milliseconds per unit

// Shows the entry of that code, the first one when there is none.
void choose(QComboBox& box, int code);
// Shows the encoding that text of that name is read with.
void chooseEncoding(QComboBox& box, const QString& name);

// The number to store for what a field shows. A stored number that the field cannot show, such as
// one outside its range, stays until somebody edits the field.
[[nodiscard]] int edited(const QComboBox& box, int stored);
[[nodiscard]] int edited(const QSpinBox& box, int stored);
// The same for an encoding, whose stored name may be an alias.
[[nodiscard]] QString editedEncoding(const QComboBox& box, const QString& stored);

} // namespace PanelChoices
