#include "app/quicksettingseditor.h"

#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeWidget>

using namespace Qt::Literals::StringLiterals;

// The tree that chooses groups and fields of the quick settings.
class QuickSettingsEditorTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsNormalisedOrder();
    void roundTrip();
    void fieldsFollowTheirGroup();
    void moves_data();
    void moves();
    void restoreDefaults();

private:
    static QTreeWidget& tree(const QuickSettingsEditor& editor)
    {
        return *editor.findChild<QTreeWidget*>(u"quickSettingsTree"_s);
    }
    static QTreeWidgetItem* select(
        const QuickSettingsEditor& editor, const QString& group, const QString& field = {});
    static void check(QTreeWidgetItem* item, bool on)
    {
        item->setCheckState(0, on ? Qt::Checked : Qt::Unchecked);
    }
};

// The row of that key becomes the current one.
QTreeWidgetItem* QuickSettingsEditorTest::select(
    const QuickSettingsEditor& editor, const QString& group, const QString& field)
{
    const auto indexIn = [](const QStringList& keys, const QString& key) {
        return int(keys.indexOf(key));
    };
    const QuickSettingsGroups groups = editor.groups();
    QTreeWidgetItem* item = tree(editor).topLevelItem(indexIn(groups.groupOrder, group));
    if (!field.isEmpty())
        item = item->child(indexIn(groups.fieldOrder.value(group), field));
    tree(editor).setCurrentItem(item);
    return item;
}

void QuickSettingsEditorTest::showsNormalisedOrder()
{
    QuickSettingsGroups groups;
    groups.groupOrder = {u"send"_s, u"send"_s, u"later"_s};
    groups.fieldOrder[u"send"_s] = {u"txLoop"_s, u"gone"_s, u"txFormat"_s};
    groups.hiddenFields[u"send"_s] = {u"gone"_s, u"txLoop"_s};
    QuickSettingsEditor editor;
    editor.setGroups(groups);
    const QStringList shown{u"send"_s, u"connection"_s, u"receive"_s};
    QCOMPARE(editor.groups().groupOrder, shown);
    const QTreeWidgetItem* send = select(editor, u"send"_s);
    QCOMPARE(send->child(0)->text(0), u"Loop Send"_s);
    QCOMPARE(send->child(0)->checkState(0), Qt::Unchecked);
    QCOMPARE(send->child(send->childCount() - 1)->text(0), u"Line by Line"_s);
    QCOMPARE(editor.groups().hiddenFields.value(u"send"_s), QStringList{u"txLoop"_s});
}

void QuickSettingsEditorTest::roundTrip()
{
    QuickSettingsGroups groups;
    groups.showReceiveGroup = false;
    groups.groupOrder = {u"receive"_s, u"send"_s, u"connection"_s};
    for (const QString& group : groups.groupOrder) {
        QStringList order = QuickSettingsGroups::defaultFieldOrder(group);
        std::ranges::reverse(order);
        groups.fieldOrder[group] = order;
        groups.hiddenFields[group] = order.first(2);
    }
    // A group that panes have and the tree has not.
    groups.fieldOrder[u"controlLines"_s] = {u"rts"_s};
    groups.hiddenFields[u"controlLines"_s] = {u"dtr"_s};
    QuickSettingsEditor editor;
    editor.setGroups(groups);
    QCOMPARE(editor.groups(), groups);
}

void QuickSettingsEditorTest::fieldsFollowTheirGroup()
{
    QuickSettingsEditor editor;
    QTreeWidgetItem* receive = select(editor, u"receive"_s);
    check(receive->child(1), false);
    check(receive, false);
    for (int i = 0; i < receive->childCount(); ++i)
        QVERIFY(receive->child(i)->isDisabled());
    QVERIFY(!editor.groups().showReceiveGroup);
    QCOMPARE(editor.groups().hiddenFields.value(u"receive"_s), QStringList{u"rxAutoFeed"_s});
    for (const QString& group : {u"connection"_s, u"send"_s}) {
        QVERIFY(editor.problem().isEmpty());
        check(select(editor, group), false);
    }
    QCOMPARE(editor.problem(), u"Select at least one quick settings group to show."_s);
    check(receive, true);
    QVERIFY(editor.problem().isEmpty());
    QVERIFY(!receive->child(0)->isDisabled());
    QCOMPARE(receive->child(1)->checkState(0), Qt::Unchecked);
}

void QuickSettingsEditorTest::moves_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<bool>("canUp");
    QTest::addColumn<bool>("canDown");
    QTest::newRow("connection") << QString() << false << true;
    QTest::newRow("receive") << QString() << true << true;
    QTest::newRow("send") << QString() << true << false;
    QTest::newRow("receive: first") << u"rxFormat"_s << false << true;
    QTest::newRow("receive: last") << u"rxDisplayTime"_s << true << false;
}

void QuickSettingsEditorTest::moves()
{
    const QString group = QString::fromLatin1(QTest::currentDataTag()).section(u':', 0, 0);
    QFETCH(const QString, field);
    QFETCH(const bool, canUp);
    QFETCH(const bool, canDown);
    QuickSettingsEditor editor;
    auto* up = editor.findChild<QToolButton*>(u"quickSettingsMoveUpButton"_s);
    auto* down = editor.findChild<QToolButton*>(u"quickSettingsMoveDownButton"_s);
    const auto order = [&editor, &field, &group] {
        const QuickSettingsGroups now = editor.groups();
        return field.isEmpty() ? now.groupOrder : now.fieldOrder.value(group);
    };
    QTreeWidgetItem* item = select(editor, group, field);
    QCOMPARE(up->isEnabled(), canUp);
    QCOMPARE(down->isEnabled(), canDown);
    const QStringList before = order();
    const qsizetype at = before.indexOf(field.isEmpty() ? group : field);
    if (!canUp) {
        editor.moveCurrent(-1);
        QCOMPARE(order(), before);
    }
    QStringList expected = before;
    expected.move(at, canUp ? at - 1 : at + 1);
    (canUp ? up : down)->click();
    QCOMPARE(order(), expected);
    QCOMPARE(tree(editor).currentItem(), item);
    QVERIFY(item->childCount() == 0 || item->isExpanded());
    (canUp ? down : up)->click();
    QCOMPARE(order(), before);
}

void QuickSettingsEditorTest::restoreDefaults()
{
    QuickSettingsEditor editor;
    const QuickSettingsGroups defaults = editor.groups();
    check(select(editor, u"send"_s, u"txLoop"_s), false);
    editor.moveCurrent(1);
    check(select(editor, u"connection"_s), false);
    QVERIFY(editor.groups() != defaults);
    editor.findChild<QPushButton*>(u"quickSettingsRestoreButton"_s)->click();
    QCOMPARE(editor.groups(), defaults);
}

QTEST_MAIN(QuickSettingsEditorTest)

#include "tst_quicksettingseditor.moc"
