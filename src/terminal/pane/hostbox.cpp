#include "terminal/pane/hostbox.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>

HostBox::HostBox(QWidget* parent)
    : QComboBox(parent)
{
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(10);
    setToolTip(tr("Hosts used so far; Delete removes the highlighted one from the list"));
    lineEdit()->setPlaceholderText(tr("Host name or address"));
    lineEdit()->setContextMenuPolicy(Qt::CustomContextMenu);
    view()->installEventFilter(this);
    connect(lineEdit(), &QWidget::customContextMenuRequested, this, &HostBox::showLineMenu);
    connect(this, &QComboBox::activated, this, &HostBox::hostEdited);
    connect(lineEdit(), &QLineEdit::editingFinished, this, &HostBox::hostEdited);
}

HostBox::~HostBox() = default;

void HostBox::setHosts(const QStringList& hosts, const QString& host)
{
    // What somebody is typing is news, the host that was shown before is not.
    const bool typing = lineEdit()->hasFocus() && lineEdit()->isModified();
    const bool keepText = host == this->host() || (typing && host == m_host);
    m_host = host;
    const bool sameHosts = hosts == this->hosts();
    if (sameHosts && keepText)
        return;
    const QString text = keepText ? currentText() : host;
    const int cursor = keepText ? lineEdit()->cursorPosition() : 0;
    if (!sameHosts) {
        clear();
        addItems(hosts);
    }
    setCurrentIndex(findText(text, Qt::MatchFixedString | Qt::MatchCaseSensitive));
    setEditText(text);
    lineEdit()->setModified(typing && keepText);
    lineEdit()->setCursorPosition(cursor);
}

QString HostBox::host() const
{
    return currentText().trimmed();
}

QStringList HostBox::hosts() const
{
    QStringList result;
    for (int i = 0; i < count(); ++i)
        result.append(itemText(i));
    return result;
}

bool HostBox::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == view() && event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete) {
        removeEntry(view()->currentIndex().row());
        return true;
    }
    return QComboBox::eventFilter(watched, event);
}

void HostBox::removeEntry(int index)
{
    if (index < 0)
        return;
    // Taking the current entry away would put its neighbour into the line.
    const QString typed = currentText();
    removeItem(index);
    setEditText(typed);
    Q_EMIT hostRemoved();
}

void HostBox::showLineMenu(const QPoint& position)
{
    QMenu* menu = lineEdit()->createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const int index = findText(host(), Qt::MatchFixedString | Qt::MatchCaseSensitive);
    menu->addSeparator();
    QAction* remove = menu->addAction(tr("Remove %1 from the List").arg(host()));
    remove->setEnabled(index >= 0);
    connect(remove, &QAction::triggered, this, [this, index] { removeEntry(index); });
    menu->popup(lineEdit()->mapToGlobal(position));
}
