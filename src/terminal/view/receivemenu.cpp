#include "terminal/view/receivemenu.h"

#include "terminal/view/receiveview.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("ReceiveMenu", text);
}

template<typename Receiver>
QAction* add(QMenu& menu, const QString& text, const QKeySequence& shortcut, bool enabled,
    ReceiveView& view, Receiver&& triggered)
{
    QAction* action = menu.addAction(text);
    action->setShortcut(shortcut);
    action->setShortcutContext(Qt::WidgetShortcut);
    action->setShortcutVisibleInContextMenu(true);
    action->setEnabled(enabled);
    QObject::connect(action, &QAction::triggered, &view, std::forward<Receiver>(triggered));
    return action;
}

bool clipboardHasText()
{
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    return data != nullptr && data->hasText();
}

} // namespace

QMenu* makeReceiveMenu(ReceiveView& view)
{
    auto* menu = new QMenu(&view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const bool hasText = view.textLength() > 0;
    add(*menu, tr("&Copy"), Qt::CTRL | Qt::SHIFT | Qt::Key_C, view.hasSelection(), view,
        [&view] { view.copy(); });
    add(*menu, tr("&Paste"), Qt::CTRL | Qt::SHIFT | Qt::Key_V,
        view.isTypingEnabled() && clipboardHasText(), view, [&view] { view.paste(); });
    add(*menu, tr("Select &All"), Qt::CTRL | Qt::SHIFT | Qt::Key_A, hasText, view,
        [&view] { view.selectAll(); });
    menu->addSeparator();
    add(*menu, tr("&Find..."), QKeySequence::Find, true, view,
        [&view] { Q_EMIT view.findRequested(); });
    add(*menu, tr("&Save As..."), {}, hasText, view, [&view] { Q_EMIT view.saveRequested(); });
    add(*menu, tr("C&lear"), {}, hasText, view, [&view] { Q_EMIT view.clearRequested(); });
    menu->addSeparator();
    QAction* wrap = add(*menu, tr("&Wrap Lines"), {}, true, view, [&view](bool on) {
        view.setLineWrap(on);
        Q_EMIT view.lineWrapToggled(on);
    });
    wrap->setCheckable(true);
    wrap->setChecked(view.lineWrap());
    return menu;
}
