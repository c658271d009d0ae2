#include "terminal/pane/savetextdialog.h"

#include "terminal/view/receiveview.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <utility>

void openSaveTextDialog(QWidget* parent, ReceiveView& view, std::function<void()> busy)
{
    const auto translated = [](const char* text) {
        return QCoreApplication::translate("SerialPortWidget", text);
    };
    auto* dialog =
        new QFileDialog(parent, translated(QT_TRANSLATE_NOOP("SerialPortWidget", "Save As")));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("txt"));
    dialog->setNameFilters(
        {translated(QT_TRANSLATE_NOOP("SerialPortWidget", "Text files (*.txt *.log)")),
            translated(QT_TRANSLATE_NOOP("SerialPortWidget", "All files (*)"))});
    QObject::connect(dialog, &QFileDialog::fileSelected, &view,
        [&view, busy = std::move(busy)](const QString& path) {
            if (!view.saveTextAs(path))
                busy();
        });
    dialog->open();
}
