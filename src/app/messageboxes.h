#pragma once

#include <QString>

class QWidget;

// Boxes that tell something and need no answer. They are shown, not waited for: traffic goes on
// behind them. Each deletes itself when closed.
namespace MessageBoxes {

// Titled "Velmora". `reason` says more than `text`, or is empty.
void showWarning(QWidget* parent, const QString& text, const QString& reason);
void showInformation(QWidget* parent, const QString& text);
void showAbout(QWidget* parent);

} // namespace MessageBoxes
