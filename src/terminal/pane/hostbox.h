#pragma once

#include <QComboBox>

// The host of a network connection: typed, or chosen from the hosts used so far. An entry leaves
// the list with Delete while it is highlighted in the open list, or by the context menu of the
// line; the host that is typed in the line stays.
class HostBox final : public QComboBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HostBox)

public:
    explicit HostBox(QWidget* parent = nullptr);
    ~HostBox() override;

    // Leaves alone what shows them already, and what is being typed while `host` is the one that
    // was set before.
    void setHosts(const QStringList& hosts, const QString& host);
    // Without blanks around it.
    [[nodiscard]] QString host() const;
    // The hosts used so far, the latest first.
    [[nodiscard]] QStringList hosts() const;

Q_SIGNALS:
    // Another host was chosen or typed.
    void hostEdited();
    // An entry left the list.
    void hostRemoved();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void removeEntry(int index);
    void showLineMenu(const QPoint& position);

    QString m_host; // set last
};
