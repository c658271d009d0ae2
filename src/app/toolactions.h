#pragma once

class MainActions;
class PaneSet;
class QWidget;

namespace ToolActions {

// Opens the windows of the tools menu: the calculator, the table of characters and the Modbus
// request builder. There is one of each; what it offers goes to the pane that has the keyboard
// then. The window owns them, and outlives neither the actions nor the panes.
void connectTo(const MainActions& actions, PaneSet& panes, QWidget* window);

} // namespace ToolActions
