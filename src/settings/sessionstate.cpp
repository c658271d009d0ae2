#include "settings/sessionstate.h"

namespace {

// Names the fields that a SessionState shares with the connection record, once for both
// directions of copying.
template<class State, class Record, class Copy>
void forEachConnectionField(State& state, Record& record, Copy copy)
{
    copy(state.connMode, record.connMode);
    copy(state.portName, record.portName);
    copy(state.baudRate, record.baudRate);
    copy(state.dataBits, record.dataBits);
    copy(state.stopBits, record.stopBits);
    copy(state.parity, record.parity);
    copy(state.flowControl, record.flowControl);
    copy(state.dtrOn, record.dtrOn);
    copy(state.rtsOn, record.rtsOn);
    copy(state.targetHost, record.targetHost);
    copy(state.targetHosts, record.targetHosts);
    copy(state.targetPort, record.targetPort);
    copy(state.udpLocalPort, record.udpLocalPort);
    copy(state.udpServerPort, record.udpServerPort);
}

template<class State, class Record, class Copy>
void forEachFormatField(State& state, Record& record, Copy copy)
{
    copy(state.receiveMsgFormat, record.receiveMsgFormat);
    copy(state.sendMsgFormat, record.sendMsgFormat);
    copy(state.receiveEncoding, record.receiveEncoding);
    copy(state.sendEncoding, record.sendEncoding);
    copy(state.sendChecksum, record.sendChecksum);
    copy(state.rxAutoFeedLine, record.rxAutoFeedLine);
    copy(state.rxLineEndingMode, record.rxLineEndingMode);
    copy(state.txAutoFeedLine, record.txAutoFeedLine);
    copy(state.txLineEndingMode, record.txLineEndingMode);
    copy(state.terminalEnterMode, record.terminalEnterMode);
    copy(state.autoFeedInterval, record.autoFeedInterval);
    copy(state.splitterLeft, record.splitterLeft);
    copy(state.splitterRight, record.splitterRight);
    copy(state.displaySendMsg, record.displaySendMsg);
    copy(state.localEcho, record.localEcho);
    copy(state.displayMsgTime, record.displayMsgTime);
    copy(state.rxTimeFormat, record.rxTimeFormat);
    copy(state.txTimeFormat, record.txTimeFormat);
    copy(state.logSaveFlag, record.logSaveFlag);
    copy(state.logFilePath, record.logFilePath);
    copy(state.logFileNamePrefix, record.logFileNamePrefix);
    copy(state.logTimestampEnabled, record.logTimestampEnabled);
    copy(state.logTimestampFormat, record.logTimestampFormat);
    copy(state.currentLogFileName, record.currentLogFileName);
    copy(state.logRotateAtSize, record.logRotateAtSize);
    copy(state.logRotateSize, record.logRotateSize);
    copy(state.logRotateAtTime, record.logRotateAtTime);
    copy(state.logRotateTime, record.logRotateTime);
    copy(state.needHourTimeStamp, record.needHourTimeStamp);
    copy(state.displayBufferSize, record.displayBufferSize);
    copy(state.displayFont, record.displayFont);
    copy(state.formatDisplayColor, record.formatDisplayColor);
    copy(state.sendTextColor, record.sendTextColor);
    copy(state.receiveTextColor, record.receiveTextColor);
    copy(state.showControlLineLeds, record.showControlLineLeds);
    copy(state.sendList, record.sendList);
}

constexpr auto kStateToRecord = [](const auto& state, auto& record) { record = state; };
constexpr auto kRecordToState = [](auto& state, const auto& record) { state = record; };

} // namespace

void SessionState::applyTo(Settings& settings) const
{
    forEachConnectionField(*this, settings, kStateToRecord);
    settings.refreshTexts();
}

void SessionState::applyTo(FormatSetting& format) const
{
    forEachFormatField(*this, format, kStateToRecord);
}

void SessionState::takeFrom(const Settings& settings, const FormatSetting& format)
{
    forEachConnectionField(*this, settings, kRecordToState);
    forEachFormatField(*this, format, kRecordToState);
}

QuickSettingsGroups SessionState::quickSettingsGroups() const
{
    return {
        showConnectionGroup, showReceiveGroup, showSendGroup, groupOrder, fieldOrder, hiddenFields};
}

void SessionState::setQuickSettingsGroups(const QuickSettingsGroups& groups)
{
    showConnectionGroup = groups.showConnectionGroup;
    showReceiveGroup = groups.showReceiveGroup;
    showSendGroup = groups.showSendGroup;
    groupOrder = groups.groupOrder;
    fieldOrder = groups.fieldOrder;
    hiddenFields = groups.hiddenFields;
}
