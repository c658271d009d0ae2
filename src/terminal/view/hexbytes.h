#pragma once

#include <QByteArray>
#include <QString>

// The bytes that a text of the hexadecimal display stands for: each group of exactly two digits
// between blanks or line ends is one. Other groups (time stamps) are left out.
[[nodiscard]] QByteArray bytesOfHexText(QStringView text);
