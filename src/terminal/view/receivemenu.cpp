#include "terminal/view/receivemenu.h"

#include "terminal/view/receiveview.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>

namespace {

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
    add(*menu, ReceiveView::tr("&Copy"), Qt::CTRL | Qt::SHIFT | Qt::Key_C, view.hasSelection(),
        view, [&view] { view.copy(); });
    if (view.wrapsAtBlanks())
        add(*menu, ReceiveView::tr("Copy as &Bytes"), {}, view.hasSelectedBytes(), view,
            [&view] { view.copyBytes(); });
    add(*menu, ReceiveView::tr("&Paste"), Qt::CTRL | Qt::SHIFT | Qt::Key_V,
        view.isTypingEnabled() && clipboardHasText(), view, [&view] { view.paste(); });
    add(*menu, ReceiveView::tr("Select &All"), Qt::CTRL | Qt::SHIFT | Qt::Key_A, hasText, view,
        [&view] { view.selectAll(); });
    menu->addSeparator();
    add(*menu, ReceiveView::tr("&Find..."), Qt::CTRL | Qt::SHIFT | Qt::Key_F, true, view,
        [&view] { Q_EMIT view.findRequested(); });
    add(*menu, ReceiveView::tr("&Save As..."), {}, hasText, view,
        [&view] { Q_EMIT view.saveRequested(); });
    add(*menu, ReceiveView::tr("C&lear"), Qt::CTRL | Qt::SHIFT | Qt::Key_L, hasText, view,
        [&view] { Q_EMIT view.clearRequested(); });
    menu->addSeparator();
    QAction* wrap = add(*menu, ReceiveView::tr("&Wrap Lines"), {}, true, view,
        [&view](bool on) { view.setLineWrap(on); });
    wrap->setCheckable(true);
    wrap->setChecked(view.lineWrap());
    return menu;
}
