#include "app/logpage.h"

#include "app/settingspage.h"
#include "log/logfilename.h"
#include "settings/settingscodec.h"

#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTimeEdit>

using namespace Qt::Literals::StringLiterals;

namespace {

// Binary megabytes; the limit is stored as bytes in 32 bits.
constexpr int kMinRotateMb = 1;
constexpr int kMaxRotateMb = 2047;

QHBoxLayout* makeRow(std::initializer_list<QWidget*> widgets)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    for (QWidget* widget : widgets)
        row->addWidget(widget);
    return row;
}

} // namespace

LogPage::LogPage(QWidget* parent)
    : LogPage([] { return QDateTime::currentDateTime(); }, parent)
{}

LogPage::LogPage(LogWriter::Clock clock, QWidget* parent)
    : SettingsPage(parent)
    , m_clock(std::move(clock))
    , m_record(new QCheckBox(tr("&Log Recording"), this))
    , m_pattern(new QLineEdit(this))
    , m_namePreview(nullptr)
    , m_stamped(new QCheckBox(tr("&Begin every line with a time stamp"), this))
    , m_stamp(new QLineEdit(this))
    , m_stampPreview(nullptr)
    , m_rotateAtSize(new QCheckBox(tr("Start a new file when it is lar&ger than"), this))
    , m_rotateMb(new QSpinBox(this))
    , m_rotateAtTime(new QCheckBox(tr("Start a new file every &day at"), this))
    , m_rotateTime(new QTimeEdit(this))
    , m_hourly(new QCheckBox(tr("&Write the time into the log every hour"), this))
{
    describeFields();
    QFormLayout* form = makeForm();
    form->addRow(m_record);
    buildNameRows(form);
    buildStampRows(form);
    buildRotationRows(form);
    addHint(form, encodingNote());
    followWithTab();
    connectEdits();
}

LogPage::~LogPage() = default;

void LogPage::describeFields()
{
    m_record->setObjectName("logSaveFlag"_L1);
    m_pattern->setObjectName("logFilePath"_L1);
    m_stamped->setObjectName("logTimestampEnabled"_L1);
    m_stamp->setObjectName("logTimestampFormat"_L1);
    m_rotateAtSize->setObjectName("logRotateAtSize"_L1);
    m_rotateMb->setObjectName("logRotateSize"_L1);
    m_rotateAtTime->setObjectName("logRotateAtTime"_L1);
    m_rotateTime->setObjectName("logRotateTime"_L1);
    m_hourly->setObjectName("needHourTimeStamp"_L1);
    m_record->setToolTip(tr("Record all messages of this port in a log file"));
    m_rotateMb->setRange(kMinRotateMb, kMaxRotateMb);
    m_rotateMb->setSuffix(tr(" MB"));
    m_rotateMb->setAccessibleName(tr("Largest size of a log file in megabytes"));
    m_rotateTime->setDisplayFormat(u"HH:mm:ss"_s);
    m_rotateTime->setAccessibleName(tr("Time of day at which a new log file is started"));
}

QString LogPage::encodingNote()
{
    return tr("Log files are always written as UTF-8.");
}

void LogPage::buildNameRows(QFormLayout* form)
{
    auto* browseButton = new QPushButton(tr("Fold&er..."), this);
    browseButton->setToolTip(tr("Choose the folder of the log files"));
    browseButton->setAutoDefault(false);
    connect(browseButton, &QPushButton::clicked, this, &LogPage::browse);
    QHBoxLayout* row = makeRow({m_pattern, browseButton});
    auto* label = new QLabel(tr("Log &File"), this);
    label->setBuddy(m_pattern);
    form->addRow(label, row);
    addCheck(form, m_pattern, [this] { return nameProblem(); });
    m_namePreview = addHint(form, {});
    m_namePreview->setObjectName("logFilePreview"_L1);
    addHint(form, tr("%S session name, %Y year, %y year in two digits, %M month, %D day, %h hour, "
                     "%m minute, %s second, %z millisecond"));
}

void LogPage::buildStampRows(QFormLayout* form)
{
    form->addRow(m_stamped);
    form->addRow(tr("&Time Stamp"), m_stamp);
    addCheck(form, m_stamp, [this] {
        return m_stamp->text().isEmpty() ? tr("Enter a pattern, for example %1")
                                               .arg(SettingsCodec::defaultLogTimestampFmt())
                                         : QString();
    });
    m_stampPreview = addHint(form, {});
    m_stampPreview->setObjectName("logTimestampPreview"_L1);
}

void LogPage::buildRotationRows(QFormLayout* form)
{
    QHBoxLayout* bySize = makeRow({m_rotateAtSize, m_rotateMb});
    bySize->addStretch();
    form->addRow(bySize);
    auto* hint = new QLabel(tr("(must use %D in log file name)"), this);
    QHBoxLayout* byTime = makeRow({m_rotateAtTime, m_rotateTime, hint});
    byTime->addStretch();
    form->addRow(byTime);
    form->addRow(m_hourly);
}

void LogPage::connectEdits()
{
    for (QCheckBox* box : {m_record, m_stamped, m_rotateAtSize, m_rotateAtTime, m_hourly})
        connect(box, &QCheckBox::toggled, this, &LogPage::onEdited);
    for (QLineEdit* edit : {m_pattern, m_stamp})
        connect(edit, &QLineEdit::textChanged, this, &LogPage::onEdited);
    connect(m_rotateMb, &QSpinBox::valueChanged, this, &LogPage::onEdited);
    connect(m_rotateTime, &QTimeEdit::timeChanged, this, &LogPage::onEdited);
}

QString LogPage::expandedName() const
{
    return decode_file_name(m_pattern->text(), m_portName, m_clock());
}

QString LogPage::nameProblem() const
{
    const QString name = expandedName();
    if (!logFileNameResolved(name))
        return LogWriter::noFileNameText();
    if (name.endsWith(u'/') || QFileInfo(name).isDir())
        return tr("%1 is a folder. Add a file name.").arg(QDir::toNativeSeparators(name));
    return {};
}

void LogPage::onEdited()
{
    m_rotateMb->setEnabled(m_rotateAtSize->isChecked());
    m_rotateTime->setEnabled(m_rotateAtTime->isChecked());
    const QFileInfo file(expandedName());
    const QString path = QDir::toNativeSeparators(file.absoluteFilePath());
    const bool folderExists = file.absoluteDir().exists();
    m_namePreview->setText(folderExists ? tr("Now: %1").arg(path)
                                        : tr("Now: %1 (the folder will be created)").arg(path));
    m_namePreview->setVisible(nameProblem().isEmpty());
    m_stampPreview->setText(tr("Now: %1").arg(decode_timestamp(m_clock(), m_stamp->text())));
    revalidate();
}

void LogPage::browse()
{
    const QString pattern = QDir::fromNativeSeparators(m_pattern->text());
    const qsizetype slash = pattern.lastIndexOf(u'/');
    QString fileName = pattern.sliced(slash + 1);
    if (fileName.isEmpty())
        fileName = m_shown.logFileNamePrefix + "%S-%Y%M%D.log"_L1;
    auto* chooser = new QFileDialog(
        this, tr("Folder of Log Files"), slash > 0 ? pattern.first(slash) : QDir::homePath());
    chooser->setFileMode(QFileDialog::Directory);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    connect(chooser, &QFileDialog::fileSelected, this, [this, fileName](const QString& folder) {
        m_pattern->setText(QDir(folder).filePath(fileName));
    });
    chooser->open();
}

void LogPage::setPortName(const QString& portName)
{
    const QString name = portNameForFile(portName);
    if (name == m_portName)
        return;
    m_portName = name;
    onEdited();
}

FormatSetting LogPage::edited() const
{
    FormatSetting format = m_shown;
    format.logSaveFlag = m_record->isChecked();
    format.logFilePath = m_pattern->text();
    format.logTimestampEnabled = m_stamped->isChecked();
    format.logTimestampFormat = m_stamp->text();
    format.logRotateAtSize = m_rotateAtSize->isChecked();
    format.logRotateSize = SettingsCodec::rotateSizeMbToBytes(m_rotateMb->value());
    format.logRotateAtTime = m_rotateAtTime->isChecked();
    format.logRotateTime = m_rotateTime->time();
    format.needHourTimeStamp = m_hourly->isChecked();
    return format;
}

void LogPage::load(const FormatSetting& format)
{
    m_record->setChecked(format.logSaveFlag);
    m_pattern->setText(format.logFilePath);
    m_stamped->setChecked(format.logTimestampEnabled);
    m_stamp->setText(format.logTimestampFormat);
    m_rotateAtSize->setChecked(format.logRotateAtSize);
    m_rotateMb->setValue(SettingsCodec::rotateSizeBytesToMb(format.logRotateSize));
    m_rotateAtTime->setChecked(format.logRotateAtTime);
    m_rotateTime->setTime(format.logRotateTime.isValid() ? format.logRotateTime : QTime(0, 0));
    m_hourly->setChecked(format.needHourTimeStamp);
    m_shown = format;
    m_shown = edited();
    onEdited();
}

void LogPage::store(FormatSetting& format) const
{
    using F = FormatSetting;
    const F now = edited();
    takeEdits(format, m_shown, now, &F::logSaveFlag, &F::logFilePath, &F::logTimestampEnabled,
        &F::logTimestampFormat, &F::needHourTimeStamp);
    takeEditsTogether(format, m_shown, now, &F::logRotateAtSize, &F::logRotateSize);
    takeEditsTogether(format, m_shown, now, &F::logRotateAtTime, &F::logRotateTime);
}
