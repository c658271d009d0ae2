#include "settings/settings.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

struct CodeText
{
    qint32 code = 0;
    QLatin1StringView text;
};

// Codes of QSerialPort's enumerations; the first row is what an unknown code falls back to.
constexpr std::array kParityTexts{CodeText{0, "None"_L1}, CodeText{2, "Even"_L1},
    CodeText{3, "Odd"_L1}, CodeText{4, "Space"_L1}, CodeText{5, "Mark"_L1}};
constexpr std::array kStopBitsTexts{
    CodeText{1, "1"_L1}, CodeText{3, "1.5"_L1}, CodeText{2, "2"_L1}};
constexpr std::array kFlowControlTexts{
    CodeText{0, "None"_L1}, CodeText{1, "RTS/CTS"_L1}, CodeText{2, "XON/XOFF"_L1}};

template<std::size_t N>
const CodeText& rowOf(const std::array<CodeText, N>& rows, qint32 code)
{
    const auto row = std::ranges::find(rows, code, &CodeText::code);
    return row == rows.end() ? rows.front() : *row;
}

} // namespace

void Settings::useTargetHost(const QString& host)
{
    if (host.isEmpty())
        return;
    targetHost = host;
    targetHosts.removeAll(host);
    targetHosts.prepend(host);
    if (targetHosts.size() > kMaxTargetHosts)
        targetHosts.resize(kMaxTargetHosts);
}

void Settings::refreshTexts()
{
    stringBaudRate = QString::number(baudRate);
    stringParity = rowOf(kParityTexts, parity).text;
    stringStopBits = rowOf(kStopBitsTexts, stopBits).text;
    stringFlowControl = rowOf(kFlowControlTexts, flowControl).text;
}

Settings Settings::sanitized() const
{
    Settings copy = *this;
    copy.baudRate = std::max(baudRate, 1);
    copy.dataBits = std::clamp(dataBits, 5, 8);
    copy.parity = rowOf(kParityTexts, parity).code;
    copy.stopBits = rowOf(kStopBitsTexts, stopBits).code;
    copy.flowControl = rowOf(kFlowControlTexts, flowControl).code;
    copy.targetPort = std::clamp(targetPort, 0, 65535);
    copy.refreshTexts();
    return copy;
}
