#include "terminal/screen/terminalscreen.h"
#include "fuzzinput.h"

#include <cstdlib>

// Whatever a device sends, in whatever pieces, between whatever keys and sizes: the lines are
// numbered without gaps, kept lines and the screen are one text, and answers stay bounded.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    TerminalScreen screen(1 + input.byte() % 40, 2 + input.byte() % 100);
    const auto check = [&screen] {
        const TerminalScreen::Cursor cursor = screen.cursor();
        if (cursor.line < screen.topLine() || cursor.line >= screen.endLine() || cursor.column < 0
            || cursor.column >= screen.columns())
            std::abort();
        if (screen.takeAnswers().size() > TerminalScreen::kMostAnswers)
            std::abort();
        qint64 position = screen.positionOf(screen.firstLine());
        for (qint64 line = screen.firstLine(); line < screen.endLine(); ++line) {
            if (screen.positionOf(line) != position || screen.lineAt(position) != line)
                std::abort();
            position += screen.text(line).size() + 1;
        }
    };
    while (!input.atEnd()) {
        const int choice = input.byte();
        if (choice < 240)
            screen.write(input.take(choice));
        else if (choice < 248)
            screen.resize(1 + input.byte() % 40, 2 + input.byte() % 100);
        else if (choice < 254)
            (void)screen.keyBytes(TerminalScreen::Key(choice - 248));
        else if (choice == 254)
            (void)(screen.pasteBegin() + screen.pasteEnd());
        else
            screen.reset();
    }
    check();
    return 0;
}
