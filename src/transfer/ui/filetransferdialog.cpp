#include "transfer/ui/filetransferdialog.h"

#include "transfer/filetransfersession.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSerialPort>
#include <QSettings>
#include <QSpinBox>
#include <QStandardPaths>
#include <QVBoxLayout>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int kMinWidth = 480;
constexpr int kMaxLimitKilobytes = 2'000'000;
constexpr qint64 kKilobyte = 1024;
constexpr std::array kProtocols{XferProtocol::Xmodem, XferProtocol::XmodemCrc,
    XferProtocol::Xmodem1K, XferProtocol::Ymodem, XferProtocol::YmodemG};

bool hasHardwareFlowControl(const Settings& settings)
{
    const bool serial = settings.connMode == connectionMode::SerialPort
                        || settings.connMode == connectionMode::RemoteSerialRfc2217;
    return serial && settings.flowControl == QSerialPort::HardwareControl;
}

QComboBox* editableBox(const QString& objectName, QWidget* parent)
{
    auto* box = new QComboBox(parent);
    box->setObjectName(objectName);
    box->setEditable(true);
    box->setInsertPolicy(QComboBox::NoInsert);
    box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    box->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return box;
}

} // namespace

FileTransferDialog::FileTransferDialog(XferDirection direction, const Settings& settings,
    const QStringList& clients, const QString& path, QSettings& store, QWidget* parent)
    : QDialog(parent)
    , m_direction(direction)
    , m_hardwareFlowControl(hasHardwareFlowControl(settings))
    , m_store(store)
    , m_protocol(new QComboBox(this))
    , m_explanation(new QLabel(this))
    , m_blockSize(new QComboBox(this))
    , m_limit(new QSpinBox(this))
    , m_place(editableBox(u"place"_s, this))
    , m_name(editableBox(u"fileName"_s, this))
    , m_client(new QComboBox(this))
    , m_keepOpen(new QCheckBox(tr("&Keep this dialog open"), this))
    , m_hint(new QLabel(this))
    , m_buttons(new QDialogButtonBox(QDialogButtonBox::Cancel, this))
{
    setWindowTitle(direction == XferSend ? tr("Send File") : tr("Receive File"));
    build(clients);
    restore(path);
    for (QComboBox* box : {m_protocol, m_client})
        connect(box, &QComboBox::currentIndexChanged, this, &FileTransferDialog::refresh);
    for (QComboBox* box : {m_place, m_name})
        connect(box, &QComboBox::editTextChanged, this, &FileTransferDialog::refresh);
    refresh();
}

FileTransferDialog::~FileTransferDialog() = default;

void FileTransferDialog::build(const QStringList& clients)
{
    for (const XferProtocol protocol : kProtocols)
        m_protocol->addItem(FileTransferSession::protocolLabel(protocol), int(protocol));
    m_protocol->setObjectName("protocol"_L1);
    m_blockSize->setObjectName("blockSize"_L1);
    m_blockSize->addItem(tr("1024 bytes where the protocol allows it"), XferConfig::kLongBlock);
    m_blockSize->addItem(tr("128 bytes"), XferConfig::kShortBlock);
    m_limit->setObjectName("receiveLimit"_L1);
    m_limit->setRange(0, kMaxLimitKilobytes);
    m_limit->setSuffix(tr(" KB"));
    m_limit->setSpecialValueText(tr("No limit"));
    m_client->setObjectName("client"_L1);
    m_client->addItems(clients);
    for (QLabel* label : {m_explanation, m_hint}) {
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
    }
    m_hint->setObjectName("hint"_L1);
    m_keepOpen->setObjectName("keepOpen"_L1);

    auto* form = new QFormLayout;
    form->setHorizontalSpacing(8);
    form->setVerticalSpacing(8);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("&Protocol:"), m_protocol);
    form->addRow(QString(), m_explanation);
    addPlaceRow(*form);
    if (m_direction == XferSend)
        form->addRow(tr("&Block size:"), m_blockSize);
    else
        form->addRow(tr("&Stop after:"), m_limit);
    m_blockSize->setVisible(m_direction == XferSend);
    m_limit->setVisible(m_direction == XferReceive);
    if (clients.size() > 1)
        form->addRow(tr("&Client:"), m_client);
    m_client->setVisible(clients.size() > 1);

    QPushButton* start = m_buttons->addButton(
        m_direction == XferSend ? tr("&Send") : tr("&Receive"), QDialogButtonBox::AcceptRole);
    start->setDefault(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    layout->addLayout(form);
    layout->addWidget(m_hint);
    layout->addStretch(1);
    layout->addWidget(m_keepOpen);
    layout->addWidget(m_buttons);
    setMinimumWidth(kMinWidth);
    connect(m_buttons, &QDialogButtonBox::accepted, this, [this] {
        remember();
        Q_EMIT startRequested();
    });
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void FileTransferDialog::addPlaceRow(QFormLayout& form)
{
    auto* browseButton = new QPushButton(tr("Bro&wse..."), this);
    browseButton->setAutoDefault(false);
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    row->addWidget(m_place, 1);
    row->addWidget(browseButton);
    form.addRow(m_direction == XferSend ? tr("&File:") : tr("&Folder:"), row);
    qobject_cast<QLabel*>(form.labelForField(row))->setBuddy(m_place);
    if (m_direction == XferReceive)
        form.addRow(tr("File &name:"), m_name);
    else
        m_name->hide();
    connect(browseButton, &QPushButton::clicked, this, &FileTransferDialog::browse);
}

QString FileTransferDialog::keyFor(QLatin1StringView name) const
{
    return u"FileTransfer/%1%2"_s.arg(
        m_direction == XferSend ? "Send"_L1 : "Receive"_L1, QString(name));
}

void FileTransferDialog::restore(const QString& path)
{
    const int protocol = m_store.value(keyFor("Protocol"_L1), int(XferProtocol::Ymodem)).toInt();
    m_protocol->setCurrentIndex(qMax(0, m_protocol->findData(protocol)));
    const int block = m_store.value(keyFor("BlockSize"_L1), XferConfig::kLongBlock).toInt();
    m_blockSize->setCurrentIndex(qMax(0, m_blockSize->findData(block)));
    m_limit->setValue(m_store.value(keyFor("LimitKilobytes"_L1), 0).toInt());
    m_keepOpen->setChecked(m_store.value(keyFor("KeepOpen"_L1), false).toBool());
    QStringList places = m_store.value(keyFor("Places"_L1)).toStringList();
    if (places.isEmpty() && m_direction == XferReceive)
        places += QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    for (const QString& place : places)
        m_place->addItem(QDir::toNativeSeparators(place));
    if (!path.isEmpty())
        m_place->setEditText(QDir::toNativeSeparators(path));
    m_name->addItems(m_store.value(keyFor("Names"_L1)).toStringList());
}

void FileTransferDialog::remember()
{
    m_store.setValue(keyFor("Protocol"_L1), int(protocol()));
    m_store.setValue(keyFor("BlockSize"_L1), m_blockSize->currentData());
    m_store.setValue(keyFor("LimitKilobytes"_L1), m_limit->value());
    m_store.setValue(keyFor("KeepOpen"_L1), m_keepOpen->isChecked());
    const auto add = [this](const QString& key, const QString& entry) {
        QStringList entries = m_store.value(key).toStringList();
        entries.removeAll(entry);
        entries.prepend(entry);
        m_store.setValue(key, entries.mid(0, kRecentPlaces));
    };
    add(keyFor("Places"_L1), QDir::fromNativeSeparators(m_place->currentText().trimmed()));
    if (needsName())
        add(keyFor("Names"_L1), m_name->currentText().trimmed());
}

void FileTransferDialog::browse()
{
    const QString place = QDir::fromNativeSeparators(m_place->currentText().trimmed());
    auto* dialog =
        new QFileDialog(this, m_direction == XferSend ? tr("Send File") : tr("Receive Into"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    if (m_direction == XferReceive) {
        dialog->setFileMode(QFileDialog::Directory);
        dialog->setOption(QFileDialog::ShowDirsOnly);
        dialog->setDirectory(place);
    } else {
        dialog->setFileMode(QFileDialog::ExistingFile);
        dialog->setDirectory(QFileInfo(place).path());
        dialog->selectFile(QFileInfo(place).fileName());
    }
    connect(dialog, &QFileDialog::fileSelected, m_place,
        [this](const QString& chosen) { m_place->setEditText(QDir::toNativeSeparators(chosen)); });
    dialog->open();
}

XferProtocol FileTransferDialog::protocol() const
{
    return XferProtocol(m_protocol->currentData().toInt());
}

bool FileTransferDialog::needsName() const
{
    return m_direction == XferReceive && !xferIsYmodem(protocol());
}

XferConfig FileTransferDialog::config() const
{
    XferConfig config;
    config.protocol = protocol();
    config.direction = m_direction;
    config.blockSizeOption = m_blockSize->currentData().toInt();
    config.receiveLimit = m_direction == XferReceive ? m_limit->value() * kKilobyte : 0;
    return config;
}

QString FileTransferDialog::path() const
{
    const QString place = QDir::fromNativeSeparators(m_place->currentText().trimmed());
    return needsName() ? QDir(place).filePath(m_name->currentText().trimmed()) : place;
}

QString FileTransferDialog::peer() const
{
    return m_client->currentText();
}

bool FileTransferDialog::keepOpenAfterwards() const
{
    return m_keepOpen->isChecked();
}

QString FileTransferDialog::protocolHint() const
{
    if (protocol() == XferProtocol::YmodemG) {
        return m_hardwareFlowControl
                   ? QString()
                   : tr("YMODEM-G does not resend anything, so it needs hardware flow control "
                        "(RTS/CTS). This connection has none: a single error would abandon the "
                        "whole transfer.");
    }
    if (xferIsYmodem(protocol()))
        return {};
    return m_direction == XferReceive
               ? tr("XMODEM carries no file name or length, so you must supply the name, and the "
                    "received file is always padded up to a whole number of blocks.")
               : tr(
                   "XMODEM carries no file name or length. The device will receive the data padded "
                   "up to a whole number of blocks.");
}

QString FileTransferDialog::problem() const
{
    const QString place = QDir::fromNativeSeparators(m_place->currentText().trimmed());
    const QFileInfo info(place);
    if (place.isEmpty())
        return m_direction == XferSend ? tr("Choose the file to send.")
                                       : tr("Choose the folder to receive into.");
    if (m_direction == XferSend && !info.exists())
        return tr("There is no such file.");
    if (m_direction == XferSend && !info.isFile())
        return tr("This is not a file.");
    if (m_direction == XferReceive && info.exists() && !info.isDir())
        return tr("This is not a folder.");
    if (needsName() && m_name->currentText().trimmed().isEmpty())
        return tr("Enter a name for the file.");
    if (protocol() == XferProtocol::YmodemG && !m_hardwareFlowControl)
        return protocolHint();
    return {};
}

void FileTransferDialog::refresh()
{
    static const std::array explanations{
        QT_TR_NOOP("The oldest: blocks of 128 bytes with a simple checksum. Use it when the device "
                   "offers nothing better."),
        QT_TR_NOOP("Blocks of 128 bytes with a CRC, which finds nearly every error."),
        QT_TR_NOOP("Blocks of 1024 bytes with a CRC: faster on a good line."),
        QT_TR_NOOP("As XMODEM-1K, with name, size and time of the file. The best choice for most "
                   "devices."),
        QT_TR_NOOP("As YMODEM without waiting for each block: the fastest, for lines that cannot "
                   "lose anything."),
    };
    m_explanation->setText(tr(explanations.at(std::size_t(m_protocol->currentIndex()))));
    m_name->setEnabled(needsName());
    const QString reason = problem();
    const QString hint = protocolHint();
    m_hint->setText(hint.isEmpty() || hint == reason ? reason
                    : reason.isEmpty()               ? hint
                                                     : hint + u'\n' + reason);
    for (QAbstractButton* button : m_buttons->buttons()) {
        if (m_buttons->buttonRole(button) == QDialogButtonBox::AcceptRole)
            button->setEnabled(reason.isEmpty());
    }
}

void FileTransferDialog::showProblem(const QString& text)
{
    m_hint->setText(text);
}
