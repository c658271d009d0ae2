#include "terminal/view/receiveview.h"
#include "terminal/view/textfind.h"

#include <QApplication>
#include <benchmark/benchmark.h>

using namespace Qt::Literals::StringLiterals;

// What the receive view costs: appending in pieces as a drain of the queue makes them, with the
// view painted after each; removing half of a full display; finding in 10 MiB.
//   QT_QPA_PLATFORM=offscreen bench_view

namespace {

constexpr qint64 fullDisplay = 10'485'760;

QString lines(qint64 characters)
{
    QString text;
    for (int i = 0; text.size() < characters; ++i)
        text += u"[12:00:00.%1] temp=23.%1 C  hum=40 %\n"_s.arg(i % 1000, 3, 10, QChar(u'0'));
    text.truncate(characters);
    return text;
}

QString hexadecimal(qint64 characters)
{
    return u"0A 1B FF "_s.repeated(characters / 9 + 1).left(characters);
}

void append(benchmark::State& state, const QString& piece, bool wrap)
{
    ReceiveView view;
    view.resize(800, 600);
    view.setLineWrap(wrap);
    view.show();
    for (auto _ : state) {
        view.appendText(piece, {});
        QApplication::processEvents();
        if (view.textLength() > fullDisplay)
            view.trimFront(fullDisplay / 2);
    }
    state.SetBytesProcessed(static_cast<qint64>(state.iterations()) * piece.size());
}

void appendLines(benchmark::State& state)
{
    append(state, lines(state.range(0)), true);
}

void appendWithoutLineFeeds(benchmark::State& state)
{
    append(state, hexadecimal(state.range(0)), true);
}

void appendWithoutLineFeedsUnwrapped(benchmark::State& state)
{
    append(state, hexadecimal(state.range(0)), false);
}

void trimHalf(benchmark::State& state)
{
    ReceiveView view;
    view.resize(800, 600);
    view.show();
    const QString half = lines(fullDisplay / 2);
    view.appendText(half, {});
    for (auto _ : state) {
        state.PauseTiming();
        view.appendText(half, {});
        QApplication::processEvents();
        state.ResumeTiming();
        view.trimFront(fullDisplay / 2);
    }
}

void find(benchmark::State& state, const TextPattern& pattern)
{
    ReceiveView view;
    view.appendText(lines(fullDisplay), {});
    TextFind search(view);
    for (auto _ : state) {
        search.setPattern(pattern, 0);
        while (search.isSearching())
            QApplication::processEvents();
    }
    state.SetBytesProcessed(static_cast<qint64>(state.iterations()) * fullDisplay);
}

void findText(benchmark::State& state)
{
    find(state, {u"temp=23.999"_s, false, false});
}

void findExpression(benchmark::State& state)
{
    find(state, {u"temp=\\d+\\.99\\d"_s, false, true});
}

void readAll(benchmark::State& state)
{
    ReceiveView view;
    view.appendText(lines(fullDisplay), {});
    for (auto _ : state) {
        for (qint64 at = 0; at < fullDisplay; at += TextFind::window)
            benchmark::DoNotOptimize(view.textAt(at, TextFind::window));
    }
    state.SetBytesProcessed(static_cast<qint64>(state.iterations()) * fullDisplay);
}

} // namespace

BENCHMARK(appendLines)->Arg(64)->Arg(1024)->Arg(16'384)->Arg(262'144);
BENCHMARK(appendWithoutLineFeeds)->Arg(64)->Arg(1024)->Arg(16'384)->Arg(262'144);
BENCHMARK(appendWithoutLineFeedsUnwrapped)->Arg(1024)->Arg(16'384);
BENCHMARK(trimHalf)->Unit(benchmark::kMillisecond);
BENCHMARK(findText)->Unit(benchmark::kMillisecond);
BENCHMARK(findExpression)->Unit(benchmark::kMillisecond);
BENCHMARK(readAll)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
