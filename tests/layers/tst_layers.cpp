// The order of the rooms is written once, as the order of src/CMakeLists.txt, and what a room may
// use once, as the LINKS of its own CMakeLists.txt. Here the includes of the source are held
// against both: a file may include its own room and those that it links, and links point down only.
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

QString contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList captures(const QString& text, const QString& pattern)
{
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    QStringList found;
    for (auto match = expression.globalMatch(text); match.hasNext();)
        found.append(match.next().captured(1));
    return found;
}

} // namespace

class TestLayers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void linksPointDown();
    void includesFollowTheLinks();
    void portsNeedNoScreen();

private:
    [[nodiscard]] QStringList linksOf(const QString& room) const;
    // With what those link in their turn.
    [[nodiscard]] QSet<QString> reachOf(const QString& room) const;
    [[nodiscard]] QString roomOf(const QString& path) const;
    [[nodiscard]] QString listOf(const QString& room) const;

    QDir m_root{QStringLiteral(VELMORA_SOURCE_DIR)};
    QStringList m_rooms; // lowest first
};

void TestLayers::initTestCase()
{
    m_rooms = captures(
        contentOf(m_root.filePath(u"CMakeLists.txt"_s)), u"^add_subdirectory\\(([\\w/]+)\\)"_s);
    QVERIFY(m_rooms.size() > 10);
}

QString TestLayers::listOf(const QString& room) const
{
    return contentOf(m_root.filePath(room + u"/CMakeLists.txt"_s));
}

QStringList TestLayers::linksOf(const QString& room) const
{
    const QStringList lists = captures(listOf(room), u"velmora_library\\([^)]*LINKS([^)]*)\\)"_s);
    return lists.value(0).split(QRegularExpression(u"\\s+"_s), Qt::SkipEmptyParts);
}

QSet<QString> TestLayers::reachOf(const QString& room) const
{
    QSet<QString> reach;
    for (const QString& link : linksOf(room)) {
        reach.insert(link);
        for (const QString& below : m_rooms) {
            if (link == u"velmora_"_s + QString(below).replace(u'/', u'_'))
                reach.unite(reachOf(below)).insert(below);
        }
    }
    return reach;
}

// The longest that fits: connections/rfc2217 lies in connections.
QString TestLayers::roomOf(const QString& path) const
{
    QString found;
    for (const QString& room : m_rooms) {
        if (path.startsWith(room + u'/') && room.size() > found.size())
            found = room;
    }
    return found;
}

void TestLayers::linksPointDown()
{
    for (const QString& room : m_rooms) {
        const QString name = u"velmora_"_s + QString(room).replace(u'/', u'_');
        QVERIFY2(listOf(room).contains(u"velmora_library(\n  "_s + name + u'\n'),
            qPrintable(room + u" is no library of its name"_s));
        for (const QString& link : linksOf(room)) {
            for (qsizetype above = m_rooms.indexOf(room); above < m_rooms.size(); ++above) {
                const QString upper =
                    u"velmora_"_s + QString(m_rooms.at(above)).replace(u'/', u'_');
                QVERIFY2(link != upper, qPrintable(room + u" links "_s + link));
            }
        }
    }
}

void TestLayers::includesFollowTheLinks()
{
    int files = 0;
    QStringList faults;
    QDirIterator it(
        m_root.path(), {u"*.h"_s, u"*.cpp"_s}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = m_root.relativeFilePath(it.next());
        const QString room = roomOf(path);
        QVERIFY2(!room.isEmpty(), qPrintable(path + u" lies in no room"_s));
        const QSet<QString> reach = reachOf(room);
        ++files;
        const QString source = contentOf(m_root.filePath(path));
        for (const QString& target : captures(source, u"^#include \"([^\"]+)\""_s)) {
            const QString to = roomOf(target);
            if (to != room && !reach.contains(to))
                faults.append(path + u" -> "_s + target);
        }
    }
    QVERIFY(files > 20);
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
}

void TestLayers::portsNeedNoScreen()
{
    for (const QString& room :
        {u"terminal/port"_s, u"bridge/engine"_s, u"transfer/engine"_s, u"gateway"_s}) {
        const QSet<QString> reach = reachOf(room);
        QVERIFY2(
            !reach.contains(u"Qt6::Gui"_s) && !reach.contains(u"Qt6::Widgets"_s), qPrintable(room));
    }
}

QTEST_APPLESS_MAIN(TestLayers)
#include "tst_layers.moc"
