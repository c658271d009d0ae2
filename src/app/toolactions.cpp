#include "app/toolactions.h"

#include "app/mainactions.h"
#include "app/paneset.h"
#include "terminal/pane/serialportwidget.h"
#include "tools/asciitable.h"
#include "tools/modbusbuilder.h"
#include "tools/toolbox.h"

#include <QAction>
#include <QPointer>

using namespace Qt::Literals::StringLiterals;

namespace {

// The window of an action is made when it is asked for, and comes to the front when it is asked for
// again.
template<class Window, class Make>
void onAction(const MainActions& actions, QLatin1StringView name, QWidget* owner, Make make)
{
    QObject::connect(actions.action(name), &QAction::triggered, owner,
        [make, window = QPointer<Window>()]() mutable {
            if (!window)
                window = make();
            window->show();
            window->raise();
            window->activateWindow();
        });
}

} // namespace

void ToolActions::connectTo(const MainActions& actions, PaneSet& panes, QWidget* window)
{
    const auto insert = [&panes](
                            const QByteArray& bytes) { panes.current().insertSendBytes(bytes); };
    onAction<ToolBox>(actions, "acToolCalc"_L1, window, [=] {
        auto* const tools = new ToolBox(window);
        QObject::connect(tools, &ToolBox::insertRequested, window, insert);
        return tools;
    });
    onAction<AsciiTable>(actions, "acToolsAscii"_L1, window, [=, &panes] {
        auto* const table = new AsciiTable(window);
        QObject::connect(table, &AsciiTable::insertRequested, window, insert);
        QObject::connect(table, &AsciiTable::sendRequested, window,
            [&panes](const QByteArray& bytes) { panes.current().sendBytes(bytes); });
        return table;
    });
    onAction<ModbusBuilder>(actions, "acToolsModbus"_L1, window, [=, &panes] {
        auto* const builder = new ModbusBuilder(window);
        builder->setPort(&panes.current().port());
        QObject::connect(builder, &ModbusBuilder::insertRequested, window, insert);
        QObject::connect(&panes, &PaneSet::currentChanged, builder,
            [&panes, builder] { builder->setPort(&panes.current().port()); });
        return builder;
    });
}
