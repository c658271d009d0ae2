#pragma once

#include <QMessageBox>
#include <functional>

class QWidget;

// Boxes are opened, not waited for: traffic goes on behind them, and the program can end. Titled
// "Velmora"; each deletes itself when closed.
namespace MessageBoxes {

// `reason` says more than `text`, or is empty.
void showWarning(QWidget* parent, const QString& text, const QString& reason);
void showInformation(QWidget* parent, const QString& text);
void showAbout(QWidget* parent);

// A question. `then` gets the answer when the box is left, NoButton or the button that Escape
// stands for included; not when the parent goes first. The box can be closed, or let go, before.
QMessageBox* ask(QWidget* parent, const QString& text, const QString& reason,
    QMessageBox::StandardButtons buttons, QMessageBox::StandardButton preset,
    std::function<void(QMessageBox::StandardButton)> then);

} // namespace MessageBoxes
