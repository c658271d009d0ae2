#pragma once

#include "connections/serialportcatalog.h"
#include "terminal/pane/hled.h"
#include "terminal/pane/serialportwidget.h"

#include <QAbstractButton>
#include <QFile>
#include <QSignalSpy>

// Ports that exist while their path does.
class PathCatalog final : public SerialPortCatalog
{
public:
    QList<SerialPortDescription> ports() const override { return {}; }
    bool contains(const QString& name) const override { return QFile::exists(name); }
};

// A whole pane on the screen, and what it says in the status line.
struct ShownPane
{
    PathCatalog catalog;
    SerialPortWidget pane{catalog};
    QSignalSpy told{&pane, &SerialPortWidget::statusMessage};

    ShownPane() { pane.show(); }

    [[nodiscard]] const HLed& lamp(const char* name) const
    {
        return *pane.findChild<HLed*>(QLatin1StringView(name));
    }
    [[nodiscard]] QAbstractButton* cell(const char* name) const
    {
        return pane.findChild<QAbstractButton*>(QLatin1StringView(name));
    }
    [[nodiscard]] bool wasTold(const QString& text) const
    {
        return std::ranges::any_of(
            told, [&text](const auto& message) { return message.first().toString() == text; });
    }
};
