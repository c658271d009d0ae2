#include "app/setconfigfilepathdialog.h"

#include "settings/storewriter.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto kPathKey = "CONFIG_FILE_PATH"_L1;
constexpr int kMinimumPathWidth = 420;

} // namespace

SetConfigFilePathDialog::SetConfigFilePathDialog(QSettings& store, QWidget* parent)
    : QDialog(parent)
    , m_store(store)
    , m_path(new QLineEdit(proposedPath(store), this))
    , m_problem(new QLabel(this))
    , m_buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this))
{
    auto* label = new QLabel(tr("&Folder for configuration files:"), this);
    label->setBuddy(m_path);
    m_path->setObjectName("config_file_path_le"_L1);
    m_path->setMinimumWidth(kMinimumPathWidth);
    auto* browseButton = new QToolButton(this);
    browseButton->setObjectName("config_file_path_tb"_L1);
    browseButton->setText(tr("&Browse..."));
    browseButton->setToolTip(tr("Choose the folder"));
    m_problem->setObjectName("config_file_path_problem"_L1);
    m_problem->setWordWrap(true);
    m_problem->hide();
    m_buttons->setObjectName("buttonBox"_L1);

    auto* row = new QHBoxLayout;
    row->addWidget(m_path, 1);
    row->addWidget(browseButton);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    layout->addWidget(label);
    layout->addLayout(row);
    layout->addWidget(m_problem);
    layout->addWidget(m_buttons);

    connect(browseButton, &QToolButton::clicked, this, &SetConfigFilePathDialog::browse);
    connect(m_buttons, &QDialogButtonBox::accepted, this, &SetConfigFilePathDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &SetConfigFilePathDialog::reject);
    connect(m_path, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_problem->hide();
        m_buttons->button(QDialogButtonBox::Ok)->setEnabled(!text.trimmed().isEmpty());
    });
}

QString SetConfigFilePathDialog::storedPath(const QSettings& store)
{
    return store.value(kPathKey).toString();
}

QString SetConfigFilePathDialog::proposedPath(const QSettings& store)
{
    QString stored = storedPath(store);
    if (!stored.isEmpty())
        return stored;
    return QDir::toNativeSeparators(
        QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + "/Config"_L1);
}

void SetConfigFilePathDialog::accept()
{
    const QString path =
        QDir().absoluteFilePath(QDir::fromNativeSeparators(m_path->text().trimmed()));
    if (!QDir().mkpath(path)) {
        showProblem(tr("The folder %1 cannot be created. Choose a folder that you may write to.")
                        .arg(QDir::toNativeSeparators(path)));
        return;
    }
    QString reason; // is in the debug log; the program can be used, and asks again next time
    StoreWriter::write(
        m_store, [&] { m_store.setValue(kPathKey, path); }, reason);
    QDialog::accept();
}

void SetConfigFilePathDialog::browse()
{
    auto* chooser = new QFileDialog(this, tr("Configuration Folder"), m_path->text());
    chooser->setFileMode(QFileDialog::Directory);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    connect(chooser, &QFileDialog::fileSelected, this,
        [this](const QString& path) { m_path->setText(QDir::toNativeSeparators(path)); });
    chooser->open();
}

void SetConfigFilePathDialog::showProblem(const QString& text)
{
    m_problem->setText(text);
    m_problem->show();
    m_path->setFocus();
}
