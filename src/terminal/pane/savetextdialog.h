#pragma once

#include <functional>

class QWidget;
class ReceiveView;

// Asks for a file name, without blocking, and saves the view's text there. `busy` is called when
// an earlier save is still running.
void openSaveTextDialog(QWidget* parent, ReceiveView& view, std::function<void()> busy);
