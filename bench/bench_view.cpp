// What the receive view costs: appending text of several kinds in pieces, alone and with the view
// painted at its own rate; painting a screen; removing half of a full display; its memory; finding
// in 10 MiB, and the longest time that a search holds the event loop.
//   QT_QPA_PLATFORM=offscreen bench_view
// A soak, some minutes of flood under a person who does everything at once:
//   QT_QPA_PLATFORM=offscreen bench_view --soak SECONDS
#include "terminal/view/receiveview.h"
#include "terminal/view/textfind.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPainter>
#include <QRandomGenerator>
#include <QScrollBar>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <malloc.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 fullDisplay = 10'485'760;

enum Kind { Ascii, Random, Cjk, Hexadecimal, Colored };

QChar shown(char16_t byte)
{
    if (byte < 0x20)
        return QChar(0x2400 + byte);
    return QChar(byte >= 0x7F && byte < 0xA0 ? char16_t(0x2426) : byte);
}

QString sample(int kind, qint64 characters)
{
    QString text;
    text.reserve(characters + 100);
    QRandomGenerator random(1);
    for (int i = 0; text.size() < characters; ++i) {
        if (kind == Random) // bytes of ISO 8859-1 with the symbols that stand for controls
            text += shown(static_cast<char16_t>(random.bounded(256)));
        else if (kind == Cjk)
            text += u"\u65E5\u672C\u8A9E\u306E\u30C7\u30D0\u30A4\u30B9 %1\n"_s.arg(i);
        else if (kind == Hexadecimal)
            text += u"0A 1B FF "_s;
        else
            text += u"[12:00:00.%1] temp=23.%1 C  hum=40 %\n"_s.arg(i % 1000, 3, 10, QChar(u'0'));
    }
    text.truncate(characters);
    return text;
}

std::optional<QColor> colorOf(int kind, int piece)
{
    if (kind != Colored)
        return std::nullopt;
    return piece % 2 == 0 ? QColor(Qt::blue) : QColor(Qt::darkGreen);
}

std::unique_ptr<ReceiveView> makeView(QSize size = {1000, 700})
{
    auto view = std::make_unique<ReceiveView>();
    view->resize(size);
    view->show();
    QApplication::processEvents();
    return view;
}

// Arguments: kind, characters in a piece, whether events (and so paints) are handled after each.
void append(benchmark::State& state)
{
    const auto kind = static_cast<int>(state.range(0));
    const QString piece = sample(kind, state.range(1));
    const bool painted = state.range(2) != 0;
    const auto view = makeView();
    int count = 0;
    for (auto _ : state) {
        view->appendText(piece, colorOf(kind, count++));
        if (view->textLength() > fullDisplay)
            view->trimFront(fullDisplay / 2);
        if (painted)
            QApplication::processEvents();
    }
    state.SetBytesProcessed(static_cast<qint64>(state.iterations()) * piece.size());
}

void trimHalf(benchmark::State& state)
{
    const auto view = makeView();
    const QString half = sample(static_cast<int>(state.range(0)), fullDisplay / 2);
    view->appendText(half, {});
    for (auto _ : state) {
        state.PauseTiming();
        view->appendText(half, {});
        QApplication::processEvents();
        state.ResumeTiming();
        view->trimFront(fullDisplay / 2);
    }
}

// 60 rows of 200 columns, new ones each time: what one frame of a flood costs.
void paintScreen(benchmark::State& state)
{
    const auto kind = static_cast<int>(state.range(0));
    auto view = makeView();
    const QFontMetrics metrics(view->displayFont());
    view->resize(200 * metrics.horizontalAdvance(u'0') + 8, 60 * metrics.lineSpacing() + 4);
    QString piece;
    for (int i = 0; i < 60; ++i)
        piece += sample(kind, 198).replace(u'\n', u' ') + u'\n';
    QWidget* viewport = view->findChild<QAbstractScrollArea*>()->viewport();
    QImage image(viewport->size(), QImage::Format_RGB32);
    for (auto _ : state) {
        view->appendText(piece, colorOf(kind, 0));
        viewport->render(&image);
    }
}

void resize(benchmark::State& state)
{
    const auto view = makeView();
    view->appendText(sample(static_cast<int>(state.range(0)), fullDisplay), {});
    QApplication::processEvents();
    view->showPosition(fullDisplay / 2, 1);
    int step = 0;
    for (auto _ : state) {
        view->resize(600 + 50 * (step++ % 8), 700);
        benchmark::DoNotOptimize(view->visibleRange());
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

double residentMiB()
{
    ::malloc_trim(0);
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray pages = file.readAll().split(' ').value(1);
    return pages.toDouble() * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1048576;
}

void memory(benchmark::State& state)
{
    const QString piece = sample(static_cast<int>(state.range(0)), 65'536);
    double used = 0;
    for (auto _ : state) {
        const auto view = makeView();
        const double before = residentMiB();
        while (view->textLength() < fullDisplay)
            view->appendText(piece, {});
        QApplication::processEvents();
        used = residentMiB() - before;
    }
    state.counters["MiB"] = used;
}

void find(benchmark::State& state, const TextPattern& pattern)
{
    ReceiveView view;
    view.appendText(sample(Ascii, fullDisplay), {});
    TextFind search(view);
    qint64 longest = 0;
    for (auto _ : state) {
        search.setPattern(pattern, 0);
        while (search.isSearching()) {
            QElapsedTimer turn;
            turn.start();
            QApplication::processEvents();
            longest = std::max(longest, turn.nsecsElapsed());
        }
    }
    state.counters["longest_ms"] = static_cast<double>(longest) / 1e6;
    state.counters["matches"] = search.matchCount();
    state.SetBytesProcessed(static_cast<qint64>(state.iterations()) * fullDisplay);
}

void act(ReceiveView& view, QRandomGenerator& random)
{
    auto* area = view.findChild<QAbstractScrollArea*>();
    QScrollBar* bar = area->verticalScrollBar();
    switch (random.bounded(8)) {
    case 0:
        view.resize(200 + random.bounded(1000), 100 + random.bounded(800));
        break;
    case 1:
        bar->setValue(random.bounded(bar->maximum() + 1));
        break;
    case 2:
        view.setLineWrap(!view.lineWrap());
        break;
    case 3:
        view.selectAll();
        break;
    case 4:
        view.clearSelection();
        break;
    case 5:
        view.zoomBy(random.bounded(3) - 1);
        break;
    case 6:
        view.showPosition(view.firstPosition() + random.bounded(1'000'000), 5);
        break;
    default:
        view.scrollToEnd();
    }
}

void soak(qint64 seconds)
{
    const auto view = makeView();
    TextFind search(*view);
    QObject::connect(view.get(), &ReceiveView::textAppended, &search, &TextFind::sourceChanged);
    QObject::connect(view.get(), &ReceiveView::frontRemoved, &search, &TextFind::sourceChanged);
    search.setPattern({u"temp=2\\d\\.9+"_s, false, true}, 0);
    QRandomGenerator random(7);
    QList<QString> pieces;
    for (const int kind : {Ascii, Random, Cjk, Hexadecimal})
        pieces.append(sample(kind, 100'000));
    QElapsedTimer clock;
    clock.start();
    qint64 characters = 0;
    qint64 longest = 0;
    for (qint64 turn = 0; clock.elapsed() < seconds * 1000; ++turn) {
        QElapsedTimer held;
        held.start();
        const QString& piece = pieces.at(clock.elapsed() / 2000 % pieces.size());
        view->appendText(piece, colorOf(Colored, random.bounded(2)));
        characters += piece.size();
        if (view->textLength() > fullDisplay)
            view->trimFront(fullDisplay / 2);
        if (turn % 50 == 0)
            act(*view, random);
        QApplication::processEvents();
        longest = std::max(longest, held.elapsed());
    }
    std::printf("%lld s, %.1f MB/s, longest turn %lld ms, %.1f MiB resident\n", seconds,
        static_cast<double>(characters) / 1e3 / static_cast<double>(clock.elapsed()), longest,
        residentMiB());
}

} // namespace

BENCHMARK(append)
    ->ArgNames({"kind", "piece", "painted"})
    ->ArgsProduct({{Ascii, Random, Cjk, Hexadecimal, Colored}, {1024, 65'536, 1'048'576}, {0, 1}})
    ->UseRealTime();
BENCHMARK(trimHalf)->Arg(Ascii)->Arg(Cjk)->Unit(benchmark::kMillisecond);
BENCHMARK(paintScreen)->DenseRange(Ascii, Colored)->Unit(benchmark::kMicrosecond);
BENCHMARK(resize)->Arg(Ascii)->Arg(Hexadecimal)->Unit(benchmark::kMillisecond);
BENCHMARK(memory)->Arg(Ascii)->Arg(Random)->Arg(Cjk)->Iterations(1);
BENCHMARK_CAPTURE(find, text, TextPattern{u"temp=23.999"_s, false, false})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(find, manyMatches, TextPattern{u"te"_s, true, false})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(find, expression, TextPattern{u"temp=\\d+\\.99\\d"_s, false, true})
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--soak") {
        soak(QByteArray(argv[2]).toLongLong());
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
