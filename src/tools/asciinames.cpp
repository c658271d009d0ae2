#include "tools/asciinames.h"

#include <QList>
#include <QStringList>
#include <algorithm>

namespace {

// Abbreviation, blank, name.
constexpr const char* kLowControls = // 0 to 32
    "NUL Null|SOH Start of heading|STX Start of text|ETX End of text|"
    "EOT End of transmission|ENQ Enquiry|ACK Acknowledge|BEL Bell|BS Backspace|"
    "HT Horizontal tab|LF Line feed|VT Vertical tab|FF Form feed|CR Carriage return|"
    "SO Shift out|SI Shift in|DLE Data link escape|DC1 Device control one (XON)|"
    "DC2 Device control two|DC3 Device control three (XOFF)|DC4 Device control four|"
    "NAK Negative acknowledge|SYN Synchronous idle|ETB End of transmission block|CAN Cancel|"
    "EM End of medium|SUB Substitute|ESC Escape|FS File separator|GS Group separator|"
    "RS Record separator|US Unit separator|SP Space";
constexpr const char* kHighControls = // 127 to 159
    "DEL Delete|PAD Padding character|HOP High octet preset|BPH Break permitted here|"
    "NBH No break here|IND Index|NEL Next line|SSA Start of selected area|"
    "ESA End of selected area|HTS Character tabulation set|"
    "HTJ Character tabulation with justification|VTS Line tabulation set|"
    "PLD Partial line forward|PLU Partial line backward|RI Reverse line feed|"
    "SS2 Single shift two|SS3 Single shift three|DCS Device control string|"
    "PU1 Private use one|PU2 Private use two|STS Set transmit state|CCH Cancel character|"
    "MW Message waiting|SPA Start of guarded area|EPA End of guarded area|"
    "SOS Start of string|SGC Single graphic character introducer|"
    "SCI Single character introducer|CSI Control sequence introducer|ST String terminator|"
    "OSC Operating system command|PM Privacy message|APC Application program command";
constexpr const char* kBeforeDigits = // 33 on
    "Exclamation mark|Quotation mark|Number sign|Dollar sign|Percent sign|Ampersand|"
    "Apostrophe|Left parenthesis|Right parenthesis|Asterisk|Plus sign|Comma|Hyphen-minus|"
    "Full stop|Solidus";
constexpr const char* kDigits = "zero|one|two|three|four|five|six|seven|eight|nine";
constexpr const char* kBeforeCapitals = // 58 on
    "Colon|Semicolon|Less-than sign|Equals sign|Greater-than sign|Question mark|"
    "Commercial at";
constexpr const char* kBeforeSmall = // 91 on
    "Left square bracket|Reverse solidus|Right square bracket|Circumflex accent|Low line|"
    "Grave accent";
constexpr const char* kBehindSmall = // 123 on
    "Left curly bracket|Vertical line|Right curly bracket|Tilde";
constexpr const char* kLatinSigns = // 160 on
    "No-break space|Inverted exclamation mark|Cent sign|Pound sign|Currency sign|Yen sign|"
    "Broken bar|Section sign|Diaeresis|Copyright sign|Feminine ordinal indicator|"
    "Left-pointing double angle quotation mark|Not sign|Soft hyphen|Registered sign|Macron|"
    "Degree sign|Plus-minus sign|Superscript two|Superscript three|Acute accent|"
    "Micro sign|Pilcrow sign|Middle dot|Cedilla|Superscript one|"
    "Masculine ordinal indicator|Right-pointing double angle quotation mark|"
    "Vulgar fraction one quarter|Vulgar fraction one half|Vulgar fraction three quarters|"
    "Inverted question mark";
// 192 on as capitals, 224 on as small letters, with a sign among them.
constexpr const char* kLatinLetters =
    "A with grave|A with acute|A with circumflex|A with tilde|A with diaeresis|"
    "A with ring above|Ae|C with cedilla|E with grave|E with acute|E with circumflex|"
    "E with diaeresis|I with grave|I with acute|I with circumflex|I with diaeresis|Eth|"
    "N with tilde|O with grave|O with acute|O with circumflex|O with tilde|"
    "O with diaeresis|Multiplication sign|O with stroke|U with grave|U with acute|"
    "U with circumflex|U with diaeresis|Y with acute|Thorn";

constexpr int kMultiplicationSign = 0xD7;
constexpr int kDivisionSign = 0xF7;

QStringList words(const char* list, const QString& before = {})
{
    QStringList result = QString::fromLatin1(list).split(u'|');
    for (QString& word : result)
        word.prepend(before);
    return result;
}

QStringList alphabet(const QString& before)
{
    QStringList result;
    for (char16_t letter = u'A'; letter <= u'Z'; ++letter)
        result.append(before + letter);
    return result;
}

// In the order of the codes, those of controls with their abbreviation in front.
QStringList allWords()
{
    const QString capital = QStringLiteral("Latin capital letter ");
    const QString small = QStringLiteral("Latin small letter ");
    QStringList all = words(kLowControls) + words(kBeforeDigits)
                      + words(kDigits, QStringLiteral("Digit ")) + words(kBeforeCapitals)
                      + alphabet(capital) + words(kBeforeSmall) + alphabet(small)
                      + words(kBehindSmall) + words(kHighControls) + words(kLatinSigns)
                      + words(kLatinLetters, capital) + words("Sharp s", small)
                      + words(kLatinLetters, small) + words("Y with diaeresis", small);
    all[kMultiplicationSign] = QStringLiteral("Multiplication sign");
    all[kDivisionSign] = QStringLiteral("Division sign");
    return all;
}

} // namespace

const AsciiName& asciiName(int code)
{
    static const QList<AsciiName> names = [] {
        QList<AsciiName> built;
        const QStringList all = allWords();
        for (const QString& word : all) {
            const qsizetype at = built.size();
            const bool control = at <= 0x20 || (at >= 0x7F && at < 0xA0);
            const qsizetype blank = control ? word.indexOf(u' ') : -1;
            built.append({word.left(std::max<qsizetype>(blank, 0)), word.mid(blank + 1)});
        }
        return built;
    }();
    return names.at(code);
}
