// The tool windows as a person uses them: fields typed into, results read, rows double-clicked.
#include "tools/asciitable.h"
#include "tools/crcpanel.h"
#include "tools/toolbox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

class TestToolWindows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void crcOfTheCatalogue();
    void crcOfCustomParameters();
    void crcFaultsAreShown();
    void asciiTableFiltersAndSends();
};

namespace {

template<typename Widget>
Widget* byName(QWidget& window, const QString& accessibleName)
{
    for (Widget* widget : window.findChildren<Widget*>()) {
        if (widget->accessibleName() == accessibleName
            || widget->property("text").toString().remove(u'&') == accessibleName)
            return widget;
    }
    return nullptr;
}

// The fields of the CRC tab, found as a screen reader finds them.
struct CrcFields
{
    explicit CrcFields(QWidget& panel)
        : input(panel.findChild<QPlainTextEdit*>())
        , hex(byName<QRadioButton>(panel, u"Hex"_s))
        , insert(byName<QPushButton>(panel, u"Insert into Send Editor"_s))
        , combos(panel.findChildren<QComboBox*>())
        , custom(panel.findChild<QGroupBox*>())
    {
        for (QLineEdit* field : panel.findChildren<QLineEdit*>()) {
            if (field->isReadOnly())
                results.append(field);
            else
                parameters.append(field);
        }
    }

    QPlainTextEdit* input;
    QRadioButton* hex;
    QPushButton* insert;
    QList<QComboBox*> combos; // algorithm, base, byte order
    QGroupBox* custom;
    QList<QLineEdit*> results;    // result, wire bytes
    QList<QLineEdit*> parameters; // width, polynomial, initial value, final XOR
};

} // namespace

void TestToolWindows::crcOfTheCatalogue()
{
    CrcPanel panel;
    CrcFields fields(panel);
    QCOMPARE(fields.results.at(0)->text(), u"4B37"_s); // CRC-16/MODBUS of 123456789
    fields.combos.at(2)->setCurrentIndex(1);
    QCOMPARE(fields.results.at(1)->text(), u"37 4B"_s);
    QSignalSpy inserted(&panel, &CrcPanel::insertRequested);
    fields.insert->click();
    QCOMPARE(inserted.takeFirst().first().toByteArray(), "123456789\x37\x4B"_ba);

    fields.combos.at(1)->setCurrentIndex(0);
    QCOMPARE(fields.results.at(0)->text(), u"0100101100110111"_s);
    fields.hex->click();
    fields.input->setPlainText(u"01 0 3"_s);
    fields.combos.at(1)->setCurrentIndex(2);
    QCOMPARE(fields.results.at(0)->text(), u"2140"_s); // of the bytes 01 03
}

void TestToolWindows::crcOfCustomParameters()
{
    CrcPanel panel;
    CrcFields fields(panel);
    QVERIFY(fields.custom->isHidden());
    fields.combos.at(0)->setCurrentText(u"Custom"_s);
    QVERIFY(!fields.custom->isHidden());
    QCOMPARE(fields.results.at(0)->text(), u"29B1"_s);
    // CRC-12/UMTS: output reflected, input not.
    fields.parameters.at(0)->setText(u"12"_s);
    fields.parameters.at(1)->setText(u"80F"_s);
    fields.parameters.at(2)->setText(u"0"_s);
    panel.findChildren<QCheckBox*>().at(1)->click();
    QCOMPARE(fields.results.at(0)->text(), u"DAF"_s);
    QCOMPARE(fields.results.at(1)->text(), u"0D AF"_s);
}

void TestToolWindows::crcFaultsAreShown()
{
    CrcPanel panel;
    CrcFields fields(panel);
    const auto shown = [&panel](const QString& text) {
        const QList<QLabel*> labels = panel.findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(),
            [&text](const QLabel* label) { return label->text() == text; });
    };
    fields.hex->click();
    fields.input->setPlainText(u"01 G2"_s);
    QVERIFY(shown(u"Invalid hex character at position 4."_s));
    QVERIFY(fields.results.at(0)->text().isEmpty());
    QVERIFY(!fields.insert->isEnabled());
    fields.input->setPlainText(u"012"_s);
    QVERIFY(shown(u"Hex input must contain complete bytes."_s));
    fields.input->setPlainText(u"01"_s);
    fields.combos.at(0)->setCurrentText(u"Custom"_s);
    fields.parameters.at(0)->setText(u"65"_s);
    QVERIFY(shown(u"Width must be between 1 and 64."_s));
    fields.parameters.at(0)->setText(u"8"_s);
    QVERIFY(shown(u"Polynomial must be a hexadecimal value that fits the width."_s));
    QVERIFY(!fields.insert->isEnabled());
}

void TestToolWindows::asciiTableFiltersAndSends()
{
    AsciiTable window;
    window.show();
    auto* table = window.findChild<QTableView*>();
    QCOMPARE(table->model()->rowCount(), 256);
    auto* filter = byName<QLineEdit>(window, u"Filter"_s);
    QTest::keyClicks(filter, u"xoff"_s);
    QCOMPARE(table->model()->rowCount(), 1);

    QSignalSpy inserted(&window, &AsciiTable::insertRequested);
    QSignalSpy sent(&window, &AsciiTable::sendRequested);
    table->setCurrentIndex(table->model()->index(0, 0));
    QTest::keyClick(table, Qt::Key_Return);
    QCOMPARE(inserted.takeFirst().first().toByteArray(), "\x13"_ba);
    window.findChild<QComboBox*>()->setCurrentIndex(1);
    QTest::keyClick(table, Qt::Key_Return);
    QCOMPARE(sent.takeFirst().first().toByteArray(), "\x13"_ba);
    QVERIFY(inserted.isEmpty());
}

QTEST_MAIN(TestToolWindows)
#include "tst_toolwindows.moc"
