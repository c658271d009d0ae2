#include "terminal/pane/peerpanel.h"

#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

using namespace Qt::Literals::StringLiterals;
using Kind = PeerListModel::Kind;
using Target = PeerListModel::Target;

namespace {

QStringList column(const PeerListModel& model, int column)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts += model.index(row, column).data().toString();
    return texts;
}

} // namespace

namespace {

void noteTraffic(PeerListModel& model, const QString& key, const QByteArray& bytes)
{
    model.noteReceived(key, bytes.size());
    model.notePreview(key, bytes);
}

} // namespace

class TestPeerPanel final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void trafficIsCounted();
    void previewsFitOneLine_data();
    void previewsFitOneLine();
    void peersComeAndGo();
    void theChosenPeerStaysWhenItLeaves();
    void udpAnswersUnlessSomebodyIsChosen();
    void saysWhatIsMissing();
    void aRightClickChoosesNobody();
};

void TestPeerPanel::trafficIsCounted()
{
    QDateTime now(QDate(2024, 2, 29), QTime(12, 34, 56));
    PeerListModel model([&now] { return now; });
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.addPeer(u"10.0.0.1:5000"_s);
    model.addPeer(u"10.0.0.2:5000"_s);
    noteTraffic(model, u"10.0.0.2:5000"_s, "AT+OK\r\n");
    now = now.addSecs(1);
    for (int i = 0; i < 100; ++i)
        noteTraffic(model, u"10.0.0.2:5000"_s, "x");
    model.noteSent(u"10.0.0.1:5000"_s, 7);
    model.noteSent(u"somebody else"_s, 1);
    QVERIFY2(changed.isEmpty(), "told by the timer, not a hundred times");
    QTRY_COMPARE(changed.size(), 1);
    QCOMPARE(changed[0][0].toModelIndex().row(), 1);
    QCOMPARE(changed[0][1].toModelIndex().row(), 3);
    QCOMPARE(column(model, PeerListModel::Received),
        (QStringList{QString(), u"107"_s, u"0"_s, u"107"_s}));
    QCOMPARE(column(model, PeerListModel::Sent), (QStringList{QString(), u"8"_s, u"7"_s, u"0"_s}));
    QCOMPARE(column(model, PeerListModel::LastHeard),
        (QStringList{QString(), u"12:34:57"_s, QString(), u"12:34:57"_s}));
}

void TestPeerPanel::previewsFitOneLine_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("controls") << "a\\\r\n\t\x7F"_ba << uR"(a\\\r\n\t\x7f)"_s;
    QTest::newRow("zero") << QByteArray("\0b", 2) << uR"(\x00b)"_s;
    QTest::newRow("UTF-8") << "\xC3\xA9"_ba << u"\u00E9"_s;
    QTest::newRow("no text") << "\xFF"_ba << u"\uFFFD"_s;
    QTest::newRow("C1 control") << "\xC2\x85"_ba << uR"(\x85)"_s;
    QTest::newRow("long") << QByteArray(100'000, 'y')
                          << QString(PeerListModel::kPreviewBytes, u'y');
}

void TestPeerPanel::previewsFitOneLine()
{
    QFETCH(QByteArray, bytes);
    PeerListModel model;
    model.addPeer(u"p"_s);
    noteTraffic(model, u"p"_s, bytes);
    QTEST(model.index(PeerListModel::kTargetRows, PeerListModel::LastMessage).data().toString(),
        "text");
    noteTraffic(model, u"p"_s, "<b>");
    const QString tip = model.index(PeerListModel::kTargetRows, 0).data(Qt::ToolTipRole).toString();
    QVERIFY2(tip.contains("Last message: &lt;b&gt;"_L1), qPrintable(tip));
}

void TestPeerPanel::peersComeAndGo()
{
    PeerListModel model;
    for (const auto& key : {u"a"_s, u"b"_s, u"c"_s, u"b"_s})
        model.addPeer(key);
    QCOMPARE(model.peerCount(), 3);
    model.removePeer(u"a"_s);
    model.removePeer(u"never seen"_s);
    QCOMPARE(column(model, PeerListModel::Address),
        (QStringList{u"The only client"_s, u"All clients"_s, u"b"_s, u"c"_s}));
    noteTraffic(model, u"c"_s, "12");
    QCOMPARE(
        column(model, PeerListModel::Received), (QStringList{QString(), u"2"_s, u"0"_s, u"2"_s}));
    model.setKind(Kind::UdpPeers);
    QCOMPARE(
        column(model, PeerListModel::Address), (QStringList{u"Last sender"_s, u"All peers"_s}));
}

void TestPeerPanel::theChosenPeerStaysWhenItLeaves()
{
    PeerPanel panel;
    panel.setKind(Kind::TcpClients);
    QSignalSpy chosen(&panel, &PeerPanel::targetChanged);
    panel.model().addPeer(u"a"_s);
    panel.model().addPeer(u"b"_s);
    QCOMPARE(panel.target(), Target::Own);
    panel.choose(Target::Peer, u"b"_s);
    QCOMPARE(chosen.size(), 1);
    QCOMPARE(panel.targetPeer(), u"b"_s);
    panel.model().removePeer(u"a"_s);
    panel.model().removePeer(u"b"_s);
    QCOMPARE(panel.model().peerCount(), 0);
    QCOMPARE(panel.targetPeer(), u"b"_s);
    QCOMPARE(panel.summary(), u"Sending to: b (gone)"_s);
    QCOMPARE(chosen.size(), 1);

    panel.model().addPeer(u"b"_s);
    QCOMPARE(panel.summary(), u"Sending to: b"_s);
    panel.model().removePeer(u"b"_s);
    panel.choose(Target::All);
    QCOMPARE(chosen.size(), 2);
    QTRY_COMPARE(column(panel.model(), PeerListModel::Address),
        (QStringList{u"The only client"_s, u"All clients"_s}));
}

void TestPeerPanel::udpAnswersUnlessSomebodyIsChosen()
{
    PeerPanel panel;
    QSignalSpy chosen(&panel, &PeerPanel::targetChanged);
    panel.setKind(Kind::UdpPeers);
    QCOMPARE(panel.target(), Target::Own);
    panel.model().addPeer(u"a"_s);
    panel.choose(Target::Peer, u"a"_s);
    chosen.clear();
    panel.model().clear();
    QCOMPARE(panel.target(), Target::Own);
    QCOMPARE(panel.targetPeer(), QString());
    QCOMPARE(chosen.size(), 1);
}

void TestPeerPanel::saysWhatIsMissing()
{
    PeerPanel panel;
    QVERIFY(panel.isHidden());
    panel.setKind(Kind::TcpClients);
    QVERIFY(!panel.isHidden());
    QCOMPARE(panel.summary(), u"Closed: no client can connect"_s);
    panel.setListeningOn(u"*:6000"_s);
    QCOMPARE(panel.summary(), u"No client connected; listening on *:6000"_s);
    const auto* list = panel.findChild<QTreeView*>();
    QVERIFY(list->isHidden());
    panel.model().addPeer(u"a"_s);
    QCOMPARE(panel.summary(), u"Sending to: The only client; listening on *:6000"_s);
    QVERIFY(!list->isHidden());
    panel.setExpanded(false);
    QVERIFY(list->isHidden());
    panel.setKind({});
    QVERIFY(panel.isHidden());
    QCOMPARE(panel.model().peerCount(), 0);
}

void TestPeerPanel::aRightClickChoosesNobody()
{
    PeerPanel panel;
    panel.setKind(Kind::TcpClients);
    panel.model().addPeer(u"a"_s);
    panel.resize(600, 200);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    auto* list = panel.findChild<QTreeView*>();
    const QPoint row =
        list->visualRect(panel.model().index(PeerListModel::kTargetRows, 0)).center();
    QTest::mouseClick(list->viewport(), Qt::RightButton, {}, row);
    QCOMPARE(panel.target(), Target::Own);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, row);
    QCOMPARE(panel.targetPeer(), u"a"_s);
    QTest::keyClick(list, Qt::Key_Up);
    QCOMPARE(panel.target(), Target::All);
}

QTEST_MAIN(TestPeerPanel)
#include "tst_peerpanel.moc"
