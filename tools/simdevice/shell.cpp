#include "simdevice/shell.h"

#include "simdevice/texts.h"

#include <QStringBuilder>

#include <algorithm>
#include <optional>

namespace simdevice {

namespace {

constexpr qint64 kMaxDump = 1'048'576;
constexpr qint64 kMaxFloodRate = 10'000'000;
constexpr qint64 kMaxFloodSeconds = 3600;
constexpr qint64 kMinGapMs = 1;
constexpr qint64 kMaxGapMs = 60'000;
constexpr qint64 kMaxSink = 1'073'741'824;

/// The decimal number at `index`, when it is there and in range.
std::optional<qint64> number(const QList<QByteArray>& arguments, int index, qint64 low, qint64 high)
{
    bool ok = false;
    const auto value = arguments.value(index).trimmed().toLongLong(&ok);
    return ok && value >= low && value <= high ? std::optional(value) : std::nullopt;
}

std::optional<XferProtocol> protocolIn(const QList<QByteArray>& arguments)
{
    const auto name = arguments.value(0).trimmed().toLower();
    if (arguments.size() != 1 || (name != "xmodem" && name != "ymodem")) {
        return std::nullopt;
    }
    return name == "xmodem" ? XferProtocol::Xmodem1K : XferProtocol::Ymodem;
}

Shell::Options sanitized(Shell::Options options)
{
    options.sensorIntervalMs = std::clamp(
        options.sensorIntervalMs, Shell::kMinSensorIntervalMs, Shell::kMaxSensorIntervalMs);
    return options;
}

} // namespace

struct Shell::Command
{
    const char* name;
    bool (Shell::*run)(const Arguments&, qint64);
    const char* usage; ///< of the arguments; empty when there are none
    const char* meaning;
};

// clang-format off
constinit const std::array<Shell::Command, 16> Shell::kCommands{{
    {"AT",        &Shell::attention, "",            "are you there?"},
    {"ATI",       &Shell::identify,  "",            "who are you?"},
    {"ATE0",      &Shell::echoOff,   "",            "echo off"},
    {"ATE1",      &Shell::echoOn,    "",            "echo on"},
    {"ATZ",       &Shell::restart,   "",            "restart, as after power-on"},
    {"AT+HELP",   &Shell::help,      "",            "this list"},
    {"AT+ECHO",   &Shell::echoText,  "=text",       "say something"},
    {"AT+SENSOR", &Shell::sensor,    "=0|1[,ms]",   "sensor lines off or on, every 10 to 60000 ms"},
    {"AT+DUMP",   &Shell::dump,      "=n",          "n bytes of all values, 1 to 1048576"},
    {"AT+FLOOD",  &Shell::flood,     "=rate,s",     "text at 1 to 10000000 bytes/s for 1 to 3600 s"},
    {"AT+STOP",   &Shell::stop,      "",            "end a flood"},
    {"AT+GAP",    &Shell::gap,       "=ms",         "pause of 1 to 60000 ms in mid line"},
    {"AT+SINK",   &Shell::sink,      "=n",          "swallow n bytes, report number and CRC-32"},
    {"AT+UTF8",   &Shell::utf8,      "",            "text in many scripts"},
    {"AT+BOOT",   &Shell::boot,      "=xmodem|ymodem", "take a file, report length and CRC-32"},
    {"AT+READ",   &Shell::readImage, "=xmodem|ymodem", "give that file back"},
}};
// clang-format on

Shell::Shell(Options options)
    : m_initial(sanitized(options))
    , m_options(m_initial)
{}

Shell::~Shell() = default;

void Shell::reset(qint64 nowMs)
{
    m_options = m_initial;
    m_editor.clear();
    m_editor.setEcho(true);
    m_job.reset();
    m_bootMs = nowMs;
    m_nextSensorMs = nowMs + m_options.sensorIntervalMs;
    m_samples = 0;
    m_output.append(bootBanner());
}

qsizetype Shell::feed(QByteArrayView bytes, qint64 nowMs)
{
    qsizetype taken = 0;
    while (taken < bytes.size() && hasRoomForReply()) {
        if (m_job != nullptr && m_job->swallows()) {
            // The LF of the command's own CR LF is no payload, even when it arrives later.
            const bool ownLineFeed = m_editor.expectsLineFeed() && bytes[taken] == '\n';
            m_editor.lineFeedSkipped();
            taken += ownLineFeed ? 1 : m_job->swallow(bytes.sliced(taken), nowMs);
            finishJob();
        } else if (m_job == nullptr || m_job->listens()) {
            feedLine(bytes[taken++], nowMs);
        } else {
            break;
        }
    }
    return taken;
}

void Shell::feedLine(char byte, qint64 nowMs)
{
    m_lastInputMs = nowMs;
    // Echo would tear the lines of a flood apart.
    QByteArray unwanted;
    switch (m_editor.feed(byte, m_job == nullptr ? &m_output : &unwanted)) {
    case LineEditor::Result::None:
        break;
    case LineEditor::Result::Line:
        execute(m_editor.takeLine().trimmed(), nowMs);
        break;
    case LineEditor::Result::TooLong:
        m_editor.clear();
        reply("+CME ERROR: line longer than " + QByteArray::number(LineEditor::kMaxLength)
              + " bytes");
        break;
    }
}

void Shell::execute(const QByteArray& line, qint64 nowMs)
{
    if (line.isEmpty()) {
        return;
    }
    const auto equals = line.indexOf('=');
    const auto name = (equals < 0 ? line : line.left(equals)).trimmed().toUpper();
    const auto command = std::find_if(kCommands.begin(), kCommands.end(),
        [&name](const Command& candidate) { return name == candidate.name; });
    if (command == kCommands.end()) {
        reply("ERROR");
        return;
    }
    if (m_job != nullptr && command->run != &Shell::stop) {
        reply("+CME ERROR: busy, AT+STOP ends it");
        return;
    }
    const auto text = equals < 0 ? QByteArray() : line.mid(equals + 1);
    const bool wantsText = *command->usage != '\0';
    if (wantsText == text.isEmpty() || !(this->*command->run)(text.split(','), nowMs)) {
        const auto meaning = wantsText ? QByteArray(" (") + command->meaning + ')' : QByteArray();
        reply(QByteArray("+CME ERROR: use ") + command->name + command->usage + meaning);
    }
}

void Shell::reply(const QByteArray& text)
{
    m_output.append(text).append("\r\n");
}

void Shell::advance(qint64 nowMs, qsizetype unread)
{
    if (m_job == nullptr) {
        advanceSensor(nowMs, unread);
    } else if (hasRoomForJob()) {
        m_job->produce(&m_output, roomForData(), nowMs);
        finishJob();
    }
}

void Shell::finishJob()
{
    if (!m_job->done()) {
        return;
    }
    if (const auto summary = m_job->summary(); !summary.isEmpty()) {
        reply(summary);
    }
    reply("OK");
    m_job.reset();
}

void Shell::advanceSensor(qint64 nowMs, qsizetype unread)
{
    if (!m_options.sensor || nowMs < m_nextSensorMs) {
        return;
    }
    m_nextSensorMs += m_options.sensorIntervalMs;
    if (m_nextSensorMs <= nowMs) {
        m_nextSensorMs = nowMs + m_options.sensorIntervalMs;
    }
    const bool typing = !m_editor.isEmpty() && nowMs - m_lastInputMs < kTypingPauseMs;
    // The sample is taken later rather than dropped: a hole in "count" means a lost line.
    if (typing || unread + m_output.size() > kSensorBacklog) {
        return;
    }
    if (!m_editor.isEmpty() && m_editor.echo()) {
        m_output.append("\r\n");
    }
    reply(sensorLine(nowMs - m_bootMs, m_samples++));
}

qint64 Shell::nextTimeoutMs(qint64 nowMs) const
{
    if (m_job != nullptr) {
        return hasRoomForJob() ? m_job->nextTimeoutMs(nowMs) : -1;
    }
    return m_options.sensor ? std::max<qint64>(0, m_nextSensorMs - nowMs) : -1;
}

bool Shell::attention(const Arguments& /*arguments*/, qint64 /*nowMs*/)
{
    reply("OK");
    return true;
}

bool Shell::identify(const Arguments& /*arguments*/, qint64 /*nowMs*/)
{
    reply(identity() + "OK");
    return true;
}

bool Shell::echoOff(const Arguments& /*arguments*/, qint64 /*nowMs*/)
{
    m_editor.setEcho(false);
    reply("OK");
    return true;
}

bool Shell::echoOn(const Arguments& /*arguments*/, qint64 /*nowMs*/)
{
    m_editor.setEcho(true);
    reply("OK");
    return true;
}

bool Shell::restart(const Arguments& /*arguments*/, qint64 nowMs)
{
    reply("OK");
    reset(nowMs);
    return true;
}

bool Shell::help(const Arguments& /*arguments*/, qint64 /*nowMs*/)
{
    for (const Command& command : kCommands) {
        const QByteArray usage = QByteArray(command.name) + command.usage;
        reply("  \x1b[1m" + usage.leftJustified(21) + "\x1b[0m" + command.meaning);
    }
    reply("OK");
    return true;
}

bool Shell::echoText(const Arguments& arguments, qint64 /*nowMs*/)
{
    reply("+ECHO: " + arguments.join(','));
    reply("OK");
    return true;
}

bool Shell::sensor(const Arguments& arguments, qint64 nowMs)
{
    const auto on = number(arguments, 0, 0, 1);
    const auto interval = arguments.size() == 1
                              ? std::optional<qint64>(m_options.sensorIntervalMs)
                              : number(arguments, 1, kMinSensorIntervalMs, kMaxSensorIntervalMs);
    if (!on || !interval || arguments.size() > 2) {
        return false;
    }
    m_options = {*on == 1, static_cast<int>(*interval)};
    m_nextSensorMs = nowMs + *interval;
    reply("OK");
    return true;
}

bool Shell::dump(const Arguments& arguments, qint64 /*nowMs*/)
{
    const auto count = number(arguments, 0, 1, kMaxDump);
    if (!count || arguments.size() != 1) {
        return false;
    }
    reply("+DUMP: " + QByteArray::number(*count));
    m_job = std::make_unique<DumpJob>(*count);
    return true;
}

bool Shell::flood(const Arguments& arguments, qint64 nowMs)
{
    const auto rate = number(arguments, 0, 1, kMaxFloodRate);
    const auto seconds = number(arguments, 1, 1, kMaxFloodSeconds);
    if (!rate || !seconds || arguments.size() != 2) {
        return false;
    }
    reply("+FLOOD: " + QByteArray::number(*rate * *seconds));
    m_job = std::make_unique<FloodJob>(*rate, *seconds, nowMs);
    return true;
}

bool Shell::stop(const Arguments& /*arguments*/, qint64 /*nowMs*/)
{
    if (m_job != nullptr) {
        reply(m_job->summary());
        m_job.reset();
    }
    reply("OK");
    return true;
}

bool Shell::gap(const Arguments& arguments, qint64 nowMs)
{
    const auto pause = number(arguments, 0, kMinGapMs, kMaxGapMs);
    if (!pause || arguments.size() != 1) {
        return false;
    }
    m_job = std::make_unique<GapJob>(*pause, nowMs);
    return true;
}

bool Shell::sink(const Arguments& arguments, qint64 nowMs)
{
    const auto count = number(arguments, 0, 1, kMaxSink);
    if (!count || arguments.size() != 1) {
        return false;
    }
    reply("+SINK: ready");
    m_job = std::make_unique<SinkJob>(*count, nowMs);
    return true;
}

bool Shell::utf8(const Arguments& /*arguments*/, qint64 /*nowMs*/)
{
    reply(utf8Sample() + "OK");
    return true;
}

bool Shell::boot(const Arguments& arguments, qint64 nowMs)
{
    const auto protocol = protocolIn(arguments);
    if (protocol) {
        reply("+BOOT: send the file");
        m_job = std::make_unique<BootJob>(BootJob::Direction::Receive, *protocol, m_image, nowMs);
    }
    return protocol.has_value();
}

bool Shell::readImage(const Arguments& arguments, qint64 nowMs)
{
    const auto protocol = protocolIn(arguments);
    if (protocol) {
        if (m_image.size() == 0) {
            m_image.setBytes(identity().repeated(100));
        }
        reply("+READ: receive the file");
        m_job = std::make_unique<BootJob>(BootJob::Direction::Send, *protocol, m_image, nowMs);
    }
    return protocol.has_value();
}

} // namespace simdevice
