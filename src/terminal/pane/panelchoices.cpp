#include "terminal/pane/panelchoices.h"

#include "connections/connectioncontroller.h"
#include "terminal/format/sendmodes.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QIntValidator>
#include <QSerialPort>
#include <QSpinBox>

#include <algorithm>
#include <array>

namespace {

struct Choice
{
    int code;
    const char* text;
};

struct ModeChoice
{
    connectionMode mode;
    const char* text;
};

constexpr std::array kModeChoices{
    ModeChoice{connectionMode::SerialPort, QT_TRANSLATE_NOOP("PanelChoices", "Serial Port")},
    ModeChoice{connectionMode::TcpServer, QT_TRANSLATE_NOOP("PanelChoices", "TCP Server")},
    ModeChoice{connectionMode::TcpClient, QT_TRANSLATE_NOOP("PanelChoices", "TCP Client")},
    ModeChoice{connectionMode::UdpServer, QT_TRANSLATE_NOOP("PanelChoices", "UDP Server")},
    ModeChoice{connectionMode::UdpClient, QT_TRANSLATE_NOOP("PanelChoices", "UDP Client")},
    ModeChoice{connectionMode::RemoteSerialRfc2217,
        QT_TRANSLATE_NOOP("PanelChoices", "Remote Serial (RFC 2217)")},
    ModeChoice{connectionMode::RemoteSerialCloudRelay,
        QT_TRANSLATE_NOOP("PanelChoices", "Remote Serial (Cloud Relay)")},
};

constexpr std::array kParityChoices{
    Choice{QSerialPort::NoParity, QT_TRANSLATE_NOOP("PanelChoices", "None")},
    Choice{QSerialPort::EvenParity, QT_TRANSLATE_NOOP("PanelChoices", "Even")},
    Choice{QSerialPort::OddParity, QT_TRANSLATE_NOOP("PanelChoices", "Odd")},
    Choice{QSerialPort::MarkParity, QT_TRANSLATE_NOOP("PanelChoices", "Mark")},
    Choice{QSerialPort::SpaceParity, QT_TRANSLATE_NOOP("PanelChoices", "Space")},
};

constexpr std::array kFlowControlChoices{
    Choice{QSerialPort::NoFlowControl, QT_TRANSLATE_NOOP("PanelChoices", "None")},
    Choice{QSerialPort::HardwareControl, QT_TRANSLATE_NOOP("PanelChoices", "RTS/CTS")},
    Choice{QSerialPort::SoftwareControl, QT_TRANSLATE_NOOP("PanelChoices", "XON/XOFF")},
};

constexpr std::array kStopBitsChoices{
    Choice{QSerialPort::OneStop, "1"},
    Choice{QSerialPort::OneAndHalfStop, "1.5"},
    Choice{QSerialPort::TwoStop, "2"},
};

constexpr std::array kDataBitsChoices{
    Choice{QSerialPort::Data8, "8"},
    Choice{QSerialPort::Data7, "7"},
    Choice{QSerialPort::Data6, "6"},
    Choice{QSerialPort::Data5, "5"},
};

constexpr std::array kTimeUnitChoices{
    Choice{1, QT_TRANSLATE_NOOP("PanelChoices", "ms")},
    Choice{1000, QT_TRANSLATE_NOOP("PanelChoices", "s")},
    Choice{60000, QT_TRANSLATE_NOOP("PanelChoices", "min")},
};

// The rates that UARTs and USB adapters commonly offer.
constexpr std::array kBaudRates{300, 600, 1200, 2400, 4800, 9600, 14400, 19200, 38400, 57600, 74880,
    115200, 230400, 250000, 460800, 500000, 576000, 921600, 1000000, 1500000, 2000000, 3000000,
    4000000};
constexpr int kMaxBaudRate = 100'000'000;

QString translated(const char* text)
{
    return QCoreApplication::translate("PanelChoices", text);
}

template<typename Choices>
void fill(QComboBox& box, const Choices& choices)
{
    for (const Choice& choice : choices)
        box.addItem(translated(choice.text), choice.code);
}

template<typename Texts>
void fillSendModes(QComboBox& box, const Texts& texts)
{
    for (const auto& entry : texts)
        box.addItem(QCoreApplication::translate("SendModes", entry.text), int(entry.mode));
}

} // namespace

void PanelChoices::fillModes(QComboBox& box)
{
    for (const ModeChoice& choice : kModeChoices) {
        if (ConnectionController::carries(choice.mode))
            box.addItem(translated(choice.text), int(choice.mode));
    }
}

QString PanelChoices::modeText(connectionMode mode)
{
    const auto* choice = std::ranges::find(kModeChoices, mode, &ModeChoice::mode);
    if (choice != kModeChoices.end())
        return translated(choice->text);
    return connectionModeIsUdp(mode)
               ? translated(QT_TRANSLATE_NOOP("PanelChoices", "UDP Client (Type 6)"))
               : translated(QT_TRANSLATE_NOOP("PanelChoices", "No Transport"));
}

QString PanelChoices::modeProblem(connectionMode mode)
{
    if (ConnectionController::carries(mode))
        return {};
    return mode == connectionMode::NoTransport
               ? translated(QT_TRANSLATE_NOOP(
                   "PanelChoices", "These settings name no transport. Choose a type to connect."))
               : translated(QT_TRANSLATE_NOOP("PanelChoices",
                   "This program cannot open connections of this type. The settings are kept as "
                   "they are; choose another type to connect."));
}

void PanelChoices::fillBaudRates(QComboBox& box)
{
    box.setEditable(true);
    box.setInsertPolicy(QComboBox::NoInsert);
    box.setValidator(new QIntValidator(1, kMaxBaudRate, &box));
    for (const int rate : kBaudRates)
        box.addItem(QString::number(rate), rate);
}

void PanelChoices::fillDataBits(QComboBox& box)
{
    fill(box, kDataBitsChoices);
}

void PanelChoices::fillParities(QComboBox& box)
{
    fill(box, kParityChoices);
}

void PanelChoices::fillStopBits(QComboBox& box)
{
    fill(box, kStopBitsChoices);
}

void PanelChoices::fillFlowControls(QComboBox& box)
{
    fill(box, kFlowControlChoices);
}

void PanelChoices::fillEncodings(QComboBox& box)
{
    box.addItems(WireTextCodecRegistry::supportedEncodings());
}

void PanelChoices::fillLineEndings(QComboBox& box)
{
    fillSendModes(box, kLineEndingTexts);
}

void PanelChoices::fillTerminalEnters(QComboBox& box)
{
    fillSendModes(box, kTerminalEnterTexts);
}

void PanelChoices::fillChecksums(QComboBox& box)
{
    fillSendModes(box, kChecksumTexts);
}

void PanelChoices::fillTimeUnits(QComboBox& box)
{
    fill(box, kTimeUnitChoices);
}

void PanelChoices::choose(QComboBox& box, int code)
{
    box.setCurrentIndex(std::max(box.findData(code), 0));
}

void PanelChoices::chooseEncoding(QComboBox& box, const QString& name)
{
    box.setCurrentIndex(std::max(box.findText(WireTextCodecRegistry::normalizeName(name)), 0));
}

int PanelChoices::edited(const QComboBox& box, int stored)
{
    const bool shownAsFirst = box.findData(stored) < 0 && box.currentIndex() == 0;
    return shownAsFirst ? stored : box.currentData().toInt();
}

int PanelChoices::edited(const QSpinBox& box, int stored)
{
    const int shown = std::clamp(stored, box.minimum(), box.maximum());
    return shown == box.value() ? stored : box.value();
}

QString PanelChoices::editedEncoding(const QComboBox& box, const QString& stored)
{
    const bool same = WireTextCodecRegistry::normalizeName(stored) == box.currentText();
    return same ? stored : box.currentText();
}
