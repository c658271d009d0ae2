#include "simdevice/lineeditor.h"

#include <utility>

namespace simdevice {

namespace {

constexpr char kBackspace = '\b';
constexpr char kDel = '\x7F';

} // namespace

LineEditor::Result LineEditor::feed(char byte, QByteArray* output)
{
    const bool afterReturn = std::exchange(m_afterReturn, byte == '\r');
    if (byte == '\n' && afterReturn) {
        return Result::None;
    }
    if (byte == '\r' || byte == '\n') {
        if (m_echo) {
            output->append("\r\n");
        }
        return std::exchange(m_tooLong, false) ? Result::TooLong : Result::Line;
    }
    if (byte == kBackspace || byte == kDel) {
        if (!m_line.isEmpty()) {
            m_line.chop(1);
            output->append(m_echo ? "\b \b" : "");
        }
        return Result::None;
    }
    if (m_line.size() == kMaxLength) {
        m_tooLong = true;
        return Result::None;
    }
    m_line.append(byte);
    if (m_echo) {
        output->append(byte);
    }
    return Result::None;
}

QByteArray LineEditor::takeLine()
{
    return std::exchange(m_line, {});
}

void LineEditor::clear()
{
    m_line.clear();
    m_tooLong = false;
}

} // namespace simdevice
