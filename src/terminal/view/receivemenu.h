#pragma once

class QMenu;
class ReceiveView;

// The context menu of a receive view; a child of it that is deleted when it closes. The shortcuts
// shown are those that the view or its window handles; the menu itself only names them.
[[nodiscard]] QMenu* makeReceiveMenu(ReceiveView& view);
