#include "settings/formatsetting.h"
#include "terminal/format/messagecodec.h"
#include "terminal/text/ansiescapefilter.h"
#include "terminal/text/crccatalog.h"
#include "terminal/text/wiretextcodecregistry.h"

#include <QRandomGenerator>
#include <QStringDecoder>
#include <QTextCodec>
#include <benchmark/benchmark.h>
#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype SampleBytes = 1 << 20;

struct Sample
{
    const char* name;
    const char* encoding; // as shown
    const char* codec;    // Qt's name; empty for QStringDecoder
    const char16_t* words;
};

// Text as devices send it: mostly ASCII, a log line with words of the language, words only.
constexpr std::array Samples{
    Sample{"UTF-8 ASCII", "UTF-8", "", u"temp=23.5 rssi=-71 ok"},
    Sample{"UTF-8 mixed", "UTF-8", "", u"temp=23.5 \u6E29\u5EA6 \u00B0C ok"},
    Sample{"UTF-8 Chinese", "UTF-8", "", u"\u6E29\u5EA6\u4F20\u611F\u5668 \u6B63\u5E38"},
    Sample{"GBK mixed", "GBK", "GBK", u"temp=23.5 \u6E29\u5EA6 ok"},
    Sample{"GBK Chinese", "GBK", "GBK", u"\u6E29\u5EA6\u4F20\u611F\u5668 \u6B63\u5E38"},
    Sample{"GB18030 mixed", "GB18030", "GB18030", u"temp=23.5 \u6E29\u5EA6 \u0E01\u0E02 ok"},
    Sample{"Big5 Chinese", "Big5", "Big5", u"\u6EAB\u5EA6 \u6B63\u5E38 \u8A31\u529F"},
    Sample{
        "Shift-JIS Japanese", "Shift-JIS", "Shift_JIS", u"\u6E29\u5EA6\u30BB\u30F3\u30B5 \uFF71"},
    Sample{"EUC-KR Korean", "EUC-KR", "EUC-KR", u"\uC628\uB3C4 \uC13C\uC11C \uC815\uC0C1"},
    Sample{"EUC-KR mixed", "EUC-KR", "EUC-KR", u"temp=23.5 \uC628\uB3C4 ok"},
    Sample{"ISO-8859-1", "ISO-8859-1", "ISO-8859-1", u"temp=23.5 \u00B0C d\u00E9bit"},
    Sample{"Windows-1252", "Windows-1252", "windows-1252", u"temp=23.5 \u00B0C d\u00E9bit \u20AC"},
    // Any bytes, as a line at the wrong speed sends them.
    Sample{"UTF-8 random", "UTF-8", "", nullptr},
};

QByteArray randomSample()
{
    QRandomGenerator random(2);
    QByteArray bytes(SampleBytes, '\0');
    for (char& byte : bytes)
        byte = char(random.bounded(256));
    return bytes;
}

QByteArray bytesOf(const Sample& sample)
{
    if (sample.words == nullptr)
        return randomSample();
    QRandomGenerator random(1);
    const QStringList words = QString::fromUtf16(sample.words).split(u' ');
    QString text;
    while (text.size() < SampleBytes) {
        text += words[random.bounded(words.size())];
        text += random.bounded(8) == 0 ? u"\r\n"_s : u" "_s;
    }
    QByteArray bytes =
        WireTextCodecRegistry::encode(text, QString::fromLatin1(sample.encoding)).bytes;
    // Not in the middle of a line.
    bytes.truncate(bytes.lastIndexOf('\n', SampleBytes - 1) + 1);
    return bytes;
}

double seconds(auto&& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void decodeInChunks(WireTextDecoder& decoder, const QByteArray& bytes, qsizetype chunk)
{
    for (qsizetype from = 0; from < bytes.size(); from += chunk) {
        const QByteArrayView view(bytes);
        const auto result = decoder.decode(view.sliced(from, std::min(chunk, bytes.size() - from)));
        benchmark::DoNotOptimize(result.text.constData());
    }
}

// To one text, emptied when it has what goes to the view at once.
void appendInChunks(WireTextDecoder& decoder, const QByteArray& bytes, qsizetype chunk)
{
    QString text;
    text.reserve(1 << 17);
    for (qsizetype from = 0; from < bytes.size(); from += chunk) {
        const QByteArrayView view(bytes);
        decoder.decodeTo(view.sliced(from, std::min(chunk, bytes.size() - from)), text);
        benchmark::DoNotOptimize(text.constData());
        if (text.size() >= 1 << 16)
            text.resize(0);
    }
}

void reference(const Sample& sample, const QByteArray& bytes)
{
    if (*sample.codec == '\0') {
        QStringDecoder decoder(QStringDecoder::Utf8);
        const QString text = decoder.decode(bytes);
        benchmark::DoNotOptimize(text.constData());
    } else {
        QTextCodec::ConverterState state;
        const QString text = QTextCodec::codecForName(sample.codec)
                                 ->toUnicode(bytes.constData(), int(bytes.size()), &state);
        benchmark::DoNotOptimize(text.constData());
    }
}

// Qt's decoder of the encoding fed whole, ours fed whole, in 64 KiB and in 64 bytes, in turn. The
// ratios are speeds over Qt's; "small/large" is the time in 64-byte over that in 64-KiB chunks,
// appended to one text, and "own small/large" the same with a text for each chunk.
void decode(benchmark::State& state)
{
    const Sample& sample = Samples[std::size_t(state.range(0))];
    state.SetLabel(sample.name);
    const QByteArray bytes = bytesOf(sample);
    const auto decoder = WireTextCodecRegistry::createDecoder(QString::fromLatin1(sample.encoding));
    constexpr qsizetype large = 1 << 16;
    constexpr qsizetype small = 64;
    std::array<double, 6> time{};
    for (auto _ : state) {
        time[0] += seconds([&] { reference(sample, bytes); });
        time[1] += seconds([&] { decodeInChunks(*decoder, bytes, bytes.size()); });
        time[2] += seconds([&] { decodeInChunks(*decoder, bytes, large); });
        time[3] += seconds([&] { decodeInChunks(*decoder, bytes, small); });
        time[4] += seconds([&] { appendInChunks(*decoder, bytes, large); });
        time[5] += seconds([&] { appendInChunks(*decoder, bytes, small); });
    }
    const double total = double(bytes.size()) * double(state.iterations()) / 1e6;
    state.counters["MB/s"] = total / time[4];
    state.counters["Qt_MB/s"] = total / time[0];
    state.counters["whole/Qt"] = time[0] / time[1];
    state.counters["64KiB/Qt"] = time[0] / time[4];
    state.counters["own small/large"] = time[3] / time[2];
    state.counters["small/large"] = time[5] / time[4];
}
BENCHMARK(decode)->DenseRange(0, int(Samples.size()) - 1)->Unit(benchmark::kMillisecond);

void crc(benchmark::State& state)
{
    const QByteArray bytes = randomSample();
    const auto& entry = CrcCatalog::definitions()[std::size_t(state.range(0))];
    state.SetLabel(entry.name.latin1());
    for (auto _ : state)
        benchmark::DoNotOptimize(CrcCatalog::calculate(entry.algorithm, bytes));
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(crc)->DenseRange(0, 8);

// Width, reflected; 256 bytes are a long message, 1 MiB a file.
void crcCustom(benchmark::State& state)
{
    const QByteArray bytes = randomSample().first(state.range(2));
    const bool reflected = state.range(1) != 0;
    const CrcCatalog::CustomParameters parameters{
        int(state.range(0)), 0x42F0E1EBA9EA3693, ~quint64(0), 0, reflected, reflected};
    for (auto _ : state)
        benchmark::DoNotOptimize(CrcCatalog::calculateCustom(bytes, parameters));
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(crcCustom)->ArgsProduct({{5, 8, 16, 24, 64}, {0, 1}, {256, SampleBytes}});

// 0: plain lines, 1: every line coloured, 2: Chinese in UTF-8 with introducers as text.
void filter(benchmark::State& state)
{
    QByteArray bytes = bytesOf(Samples[state.range(0) == 2 ? 2 : 0]);
    if (state.range(0) == 1)
        bytes.replace("\r\n", "\x1B[0m\r\n\x1B[32m");
    AnsiEscapeFilter escapes;
    escapes.setSingleByteIntroducers(state.range(0) != 2);
    for (auto _ : state) {
        for (qsizetype from = 0; from < bytes.size(); from += state.range(1)) {
            const QByteArrayView view(bytes);
            const QByteArray out = escapes.process(
                view.sliced(from, std::min<qsizetype>(state.range(1), bytes.size() - from)));
            benchmark::DoNotOptimize(out.constData());
        }
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(filter)->ArgsProduct({{0, 1, 2}, {1 << 16, 64}});

// Chunk size; bit 0 of the options: stamps, bit 1: hexadecimal.
void decodeForUi(benchmark::State& state)
{
    const QByteArray bytes = bytesOf(Samples[1]);
    FormatSetting format;
    format.displayMsgTime = (state.range(1) & 1) != 0;
    format.receiveMsgFormat = (state.range(1) & 2) != 0 ? 1 : 2;
    const auto decoder = WireTextCodecRegistry::createDecoder(u"UTF-8");
    rxData record;
    record.time = QDateTime::currentDateTime();
    for (auto _ : state) {
        DisplayState display;
        for (qsizetype from = 0; from < bytes.size(); from += state.range(0)) {
            record.bytes =
                bytes.sliced(from, std::min<qsizetype>(state.range(0), bytes.size() - from));
            benchmark::DoNotOptimize(MessageCodec::decodeForUi(record, format, display, *decoder));
        }
    }
    state.SetBytesProcessed(state.iterations() * bytes.size());
}
BENCHMARK(decodeForUi)->ArgsProduct({{1 << 16, 64}, {0, 1, 2}});

} // namespace

BENCHMARK_MAIN();
