#pragma once

#include <QString>

class QWidget;

// Boxes that tell something and need no answer are shown, not waited for: traffic goes on behind
// them. Each deletes itself when closed.
namespace MessageBoxes {

// Titled "Velmora". `reason` says more than `text`, or is empty.
void showWarning(QWidget* parent, const QString& text, const QString& reason);
void showInformation(QWidget* parent, const QString& text);
void showAbout(QWidget* parent);

// The same as showWarning(), waited for: the window is about to go.
void tellWarning(QWidget* parent, const QString& text, const QString& reason);
// Whether something may be lost for good; the answer that keeps it is the one that Enter gives.
[[nodiscard]] bool mayDiscard(QWidget* parent, const QString& text, const QString& reason);

} // namespace MessageBoxes
