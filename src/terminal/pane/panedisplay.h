#pragma once

#include "settings/formatsetting.h"
#include "terminal/port/displaysink.h"
#include "terminal/view/receiveview.h"

// Shows the text of a live port in a pane's receive view, in the colours of its record.
class PaneDisplay final : public DisplaySink
{
public:
    explicit PaneDisplay(ReceiveView& view)
        : m_view(view)
    {}

    // For text that comes from now on. A colour that does not parse is that of the palette.
    void setColors(const FormatSetting& format)
    {
        m_received = QColor::fromString(format.receiveTextColor);
        m_sent = QColor::fromString(format.sendTextColor);
    }

    void append(const QString& text, Ink ink, const QList<HexSpan>& bytes) override
    {
        std::optional<QColor> color;
        if (ink != Ink::Plain)
            color = ink == Ink::Received ? m_received : m_sent;
        if (bytes.isEmpty())
            m_view.appendText(text, color);
        else
            m_view.appendHexadecimal(text, color, bytes);
    }
    void drainEnded() override { m_view.appendComplete(); }
    void trimFront(qint64 characters) override { m_view.trimFront(characters); }
    void clearText() override { m_view.clearText(); }
    [[nodiscard]] qint64 textLength() const override { return m_view.textLength(); }
    void forceScrollToEnd() override { m_view.forceScrollToEnd(); }

private:
    ReceiveView& m_view;
    QColor m_received;
    QColor m_sent;
};
