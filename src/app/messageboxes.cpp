#include "app/messageboxes.h"

#include "settings/config.h"

#include <QCoreApplication>
#include <QIcon>

using namespace Qt::Literals::StringLiterals;

namespace MessageBoxes {

namespace {

QMessageBox* makeBox(QWidget* parent, QMessageBox::Icon icon, const QString& text)
{
    auto* box = new QMessageBox(icon, Config::applicationName(), text, QMessageBox::Ok, parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return box;
}

} // namespace

void showWarning(QWidget* parent, const QString& text, const QString& reason)
{
    QMessageBox* box = makeBox(parent, QMessageBox::Warning, text);
    box->setInformativeText(reason);
    box->open();
}

void showInformation(QWidget* parent, const QString& text)
{
    makeBox(parent, QMessageBox::Information, text)->open();
}

void showAbout(QWidget* parent)
{
    const QString version = QCoreApplication::applicationVersion();
    QMessageBox* box =
        makeBox(parent, QMessageBox::NoIcon, u"%1 %2"_s.arg(Config::applicationName(), version));
    box->setIconPixmap(QIcon(u":/icons/velmora.svg"_s).pixmap(64, 64));
    box->setInformativeText(QCoreApplication::translate("MainWindow",
        "A terminal for serial ports and network byte streams.\n\nBuilt with Qt %1. Icons: "
        "Breeze, GNU LGPL version 3 or later.")
                                .arg(QLatin1StringView(qVersion())));
    box->open();
}

QMessageBox* ask(QWidget* parent, const QString& text, const QString& reason,
    QMessageBox::StandardButtons buttons, QMessageBox::StandardButton preset,
    std::function<void(QMessageBox::StandardButton)> then)
{
    QMessageBox* box = makeBox(parent, QMessageBox::Warning, text);
    box->setInformativeText(reason);
    box->setStandardButtons(buttons);
    box->setDefaultButton(preset);
    QObject::connect(box, &QDialog::finished, parent,
        [box, then = std::move(then)] { then(box->standardButton(box->clickedButton())); });
    box->open();
    return box;
}

} // namespace MessageBoxes
