#include "fuzzinput.h"
#include "settings/formatsetting.h"
#include "terminal/format/messagecodec.h"
#include "terminal/text/ansiescapefilter.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <cstdlib>

namespace {

struct Road
{
    explicit Road(const FormatSetting& setting)
        : format(setting)
        , decoder(WireTextCodecRegistry::createDecoder(setting.receiveEncoding))
    {}

    QString show(const QByteArray& bytes)
    {
        // A record of a lone LF may be skipped; as a later slice it is not.
        const bool loneLineFeed = bytes == "\n";
        return MessageCodec::decodeForUi(
            {QDateTime(), RXorTx::Received, bytes, false, loneLineFeed, false, {}}, format, state,
            *decoder);
    }

    FormatSetting format;
    std::unique_ptr<WireTextDecoder> decoder;
    DisplayState state;
};

} // namespace

// Bytes in any chunks through escape filter, decoder and formatter give what they give in one
// piece, and the text never holds a CR.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    static const QStringList encodings = WireTextCodecRegistry::supportedEncodings();
    FormatSetting format;
    format.receiveEncoding = encodings[input.byte() % encodings.size()];
    const int options = input.byte();
    format.displayMsgTime = (options & 1) != 0;
    format.receiveMsgFormat = (options & 2) != 0 ? 1 : 2;
    AnsiEscapeFilter filter;
    AnsiEscapeFilter wholeFilter;
    filter.setSingleByteIntroducers((options & 4) != 0);
    wholeFilter.setSingleByteIntroducers((options & 4) != 0);
    Road road(format);
    QByteArray bytes;
    QByteArray filtered;
    QString shown;
    while (!input.atEnd()) {
        const QByteArray chunk = input.take(input.byte());
        bytes += chunk;
        const QByteArray plain = filter.process(chunk);
        filtered += plain;
        shown += road.show(plain);
    }
    if (filtered != wholeFilter.process(bytes) || shown != Road(format).show(filtered)
        || shown.contains(u'\r'))
        std::abort();
    return 0;
}
