#pragma once

#include <QLatin1StringView>

class QWidget;

// Of OK, Cancel and Apply, whichever of them a style gives a mnemonic.
inline constexpr QLatin1StringView dialogLetters{"OCA"};

// Gives every label with a buddy and every button below `root` that has no mnemonic one of its
// own, other than those that are taken. For pages whose fields are shared with places that cannot
// have mnemonics (sixteen panes beside a menu bar), and in whatever language: a text without a
// free Latin letter gets one in parentheses behind it. To be called once per page, before the page
// is shown; `taken` holds the capital letters that belong to the dialog around it.
void assignMnemonics(QWidget& root, QLatin1StringView taken);
