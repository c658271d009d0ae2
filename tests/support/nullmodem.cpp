#include "support/nullmodem.h"

#include "support/nullmodemlines.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 kNanosecondsPerMillisecond = 1'000'000;

struct Baud
{
    speed_t code;
    int rate;
};
constexpr std::array kBauds{Baud{B300, 300}, Baud{B1200, 1200}, Baud{B2400, 2400},
    Baud{B4800, 4800}, Baud{B9600, 9600}, Baud{B19200, 19'200}, Baud{B38400, 38'400},
    Baud{B57600, 57'600}, Baud{B115200, 115'200}, Baud{B230400, 230'400}};

int baudRate(speed_t code)
{
    const auto* const found = std::ranges::find(kBauds, code, &Baud::code);
    return found == kBauds.end() ? -1 : found->rate;
}

char parityLetter(tcflag_t control)
{
    if ((control & PARENB) == 0) {
        return 'N';
    }
    const bool odd = (control & PARODD) != 0;
    if ((control & CMSPAR) != 0) {
        return odd ? 'M' : 'S';
    }
    return odd ? 'O' : 'E';
}

} // namespace

NullModem::NullModem(QObject* parent)
    : QObject(parent)
    , m_cable(nullmodem_cable_new())
{
    for (const End end : {End::A, End::B}) {
        auto& terminal = side(end).terminal;
        connect(&terminal, &simdevice::PseudoTerminal::readable, this, [this, end] { pump(end); });
        connect(&terminal, &simdevice::PseudoTerminal::writable, this,
            [this, end] { pump(other(end)); });
        if (m_error.isEmpty()) {
            plugBack(end);
        }
    }
}

NullModem::~NullModem()
{
    unplug(End::A);
    unplug(End::B);
    if (m_cable >= 0) {
        nullmodem_cable_free(m_cable);
    }
}

QString NullModem::port(End end) const
{
    return m_folder.filePath(end == End::A ? u"portA"_s : u"portB"_s);
}

void NullModem::unplug(End end, Vanishing how)
{
    nullmodem_plain_hangup(how == Vanishing::EndOfFile ? 1 : 0);
    Side& own = side(end);
    own.link.remove();
    if (m_cable >= 0) {
        nullmodem_plug(m_cable, static_cast<int>(end), 0);
    }
    own.terminal.close();
    own.toOther.clear();
    side(other(end)).toOther.clear();
    pump(other(end));
}

bool NullModem::plugBack(End end)
{
    Side& own = side(end);
    m_error.clear();
    if (m_cable < 0) {
        m_error = u"no table for the modem lines"_s;
    } else if (own.terminal.open(&m_error)
               && own.link.set(port(end), own.terminal.slavePath(), &m_error)) {
        nullmodem_plug(m_cable, static_cast<int>(end), own.terminal.slaveDevice());
        own.terminal.setReading(m_flowing);
    }
    return m_error.isEmpty();
}

bool NullModem::dtr(End end) const
{
    return (nullmodem_outputs(m_cable, static_cast<int>(end)) & TIOCM_DTR) != 0;
}

bool NullModem::rts(End end) const
{
    return (nullmodem_outputs(m_cable, static_cast<int>(end)) & TIOCM_RTS) != 0;
}

QByteArray NullModem::lineSettings(End end) const
{
    const int port = ::open(qPrintable(this->port(end)), O_RDWR | O_NOCTTY | O_NONBLOCK);
    termios line{};
    const bool read = port >= 0 && ::tcgetattr(port, &line) == 0;
    if (port >= 0) {
        ::close(port);
    }
    if (!read) {
        return {};
    }
    const char* flow = (line.c_cflag & CRTSCTS) != 0          ? " RTS/CTS"
                       : (line.c_iflag & (IXON | IXOFF)) != 0 ? " XON/XOFF"
                                                              : "";
    const unsigned bits = (line.c_cflag & CSIZE) / (CS6 - CS5) + 5; // CS5 is 0
    return QByteArray::number(baudRate(::cfgetospeed(&line))) + ' ' + QByteArray::number(bits)
           + parityLetter(line.c_cflag) + ((line.c_cflag & CSTOPB) != 0 ? '2' : '1') + flow;
}

void NullModem::setOutputs(End end, bool dtr, bool rts)
{
    nullmodem_set_outputs(
        m_cable, static_cast<int>(end), (dtr ? TIOCM_DTR : 0) | (rts ? TIOCM_RTS : 0));
}

NullModem::BreakRecord NullModem::breakSeenBy(End end) const
{
    const auto sent = nullmodem_sent_breaks(m_cable, static_cast<int>(other(end)));
    return {static_cast<int>(sent.count), sent.active != 0,
        sent.count == 0 ? -1 : static_cast<qint64>(sent.last_ns) / kNanosecondsPerMillisecond};
}

void NullModem::setDriverQueue(End end, int bytes)
{
    nullmodem_set_queued(m_cable, static_cast<int>(end), static_cast<uint32_t>(bytes));
}

void NullModem::setFlowing(bool on)
{
    m_flowing = on;
    for (const End end : {End::A, End::B}) {
        side(end).terminal.setReading(on);
        pump(end);
    }
}

qint64 NullModem::crossedFrom(End end) const
{
    return side(end).crossed;
}

void NullModem::pump(End from)
{
    Side& source = side(from);
    auto& sink = side(other(from)).terminal;
    if (!m_flowing) {
        return;
    }
    if (source.toOther.isEmpty()) {
        source.toOther = source.terminal.read(kPumpCapacity);
    }
    if (!sink.isOpen()) {
        source.toOther.clear();
    }
    const auto written = sink.write(source.toOther);
    source.toOther.remove(0, written);
    source.crossed += written;
    // With something left, the sink's writable() comes back here; until then the source waits.
    source.terminal.setReading(source.toOther.isEmpty());
}

QProcessEnvironment NullModem::peerEnvironment()
{
    auto environment = QProcessEnvironment::systemEnvironment();
    if (const auto library = environment.value(u"VELMORA_TEST_PRELOAD"_s); !library.isEmpty()) {
        environment.insert(u"LD_PRELOAD"_s, library);
    }
    return environment;
}
