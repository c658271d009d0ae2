#pragma once

class QString;
class QWidget;

// Gives every label with a buddy and every button below `root` that has no mnemonic one of its
// own, other than those that are taken. For pages whose fields are shared with places that cannot
// have mnemonics (sixteen panes beside a menu bar), and in whatever language: a text without a
// free Latin letter gets one in parentheses behind it. To be called once per page, before the page
// is shown; `taken` holds letters that belong to the dialog around it.
void assignMnemonics(QWidget& root, const QString& taken);
