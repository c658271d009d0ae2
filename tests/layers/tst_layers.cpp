// The picture of the layers in docs/ARCHITECTURE.md, held against the includes of the source: a
// file may include its own layer and those below, never one above.
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

struct Layer
{
    QLatin1StringView folder;
    int rank;
    bool widgets;
};

// Longest first, so that the first match is the right one; the engine of RFC 2217 shares a folder
// with the transports above it.
constexpr std::array layers{
    Layer{"app/log/"_L1, 6, false},
    Layer{"app/settings/"_L1, 2, false},
    Layer{"terminal/text/"_L1, 1, false},
    Layer{"terminal/format/"_L1, 3, false},
    Layer{"terminal/view/"_L1, 7, true},
    Layer{"bridge/"_L1, 3, false},
    Layer{"transfer/"_L1, 3, false},
    Layer{"connections/rfc2217"_L1, 3, false},
    Layer{"connections/"_L1, 5, false},
    Layer{"terminal/"_L1, 8, true},
    Layer{"tools/"_L1, 9, true},
    Layer{"app/"_L1, 11, true},
};

const Layer* layerOf(const QString& path)
{
    for (const Layer& layer : layers) {
        if (path.startsWith(layer.folder))
            return &layer;
    }
    return nullptr;
}

// Two engines of one rank know nothing of each other.
bool isSibling(const Layer& from, const Layer& to)
{
    return from.rank == to.rank && from.folder != to.folder;
}

} // namespace

class TestLayers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noIncludePointsUp();
};

void TestLayers::noIncludePointsUp()
{
    static const QRegularExpression quoted(
        u"^#include \"([^\"]+)\""_s, QRegularExpression::MultilineOption);
    static const QRegularExpression widget(
        u"^#include <(QtWidgets/|QWidget|QLabel|QMessageBox|QDialog|QPlainTextEdit|QApplication)"_s,
        QRegularExpression::MultilineOption);
    const QDir root(QStringLiteral(VELMORA_SOURCE_DIR));
    int files = 0;
    QStringList faults;
    QDirIterator it(root.path(), {u"*.h"_s, u"*.cpp"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = root.relativeFilePath(it.next());
        const Layer* from = layerOf(path);
        QVERIFY2(from, qPrintable(path + u" belongs to no layer"_s));
        QFile file(root.filePath(path));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString source = QString::fromUtf8(file.readAll());
        ++files;
        for (auto match = quoted.globalMatch(source); match.hasNext();) {
            const QString target = match.next().captured(1);
            const Layer* to = layerOf(target);
            QVERIFY2(to, qPrintable(path + u" includes by a name without a layer: "_s + target));
            if (to->rank > from->rank || isSibling(*from, *to))
                faults.append(path + u" -> "_s + target);
        }
        if (!from->widgets && widget.match(source).hasMatch())
            faults.append(path + u" includes a widget"_s);
    }
    QVERIFY(files > 20);
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
}

QTEST_APPLESS_MAIN(TestLayers)
#include "tst_layers.moc"
