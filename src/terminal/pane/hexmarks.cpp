#include "terminal/pane/hexmarks.h"

#include "terminal/text/hexfaults.h"

namespace {

// Seen on light and on dark, and by a line for whom colours are alike.
constexpr QColor kWave(220, 50, 47);
constexpr int kTintAlpha = 70;

QTextCharFormat faultFormat()
{
    QTextCharFormat format;
    format.setUnderlineStyle(QTextCharFormat::WaveUnderline);
    format.setUnderlineColor(kWave);
    QColor tint = kWave;
    tint.setAlpha(kTintAlpha);
    format.setBackground(tint);
    return format;
}

} // namespace

HexMarks::HexMarks(QObject* parent)
    : QSyntaxHighlighter(parent)
{}

HexMarks::~HexMarks() = default;

void HexMarks::highlightBlock(const QString& text)
{
    const int before = previousBlockState();
    const HexPlace begin = before < 0 ? HexPlace::PairStart : HexPlace(before);
    const HexLine line = hexFaults(text, begin, !currentBlock().next().isValid());
    for (const HexFault& fault : line.faults)
        setFormat(int(fault.begin), int(fault.length), faultFormat());
    setCurrentBlockState(int(line.end));
}
