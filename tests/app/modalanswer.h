#pragma once

#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <functional>

// The person in front of the next modal dialog: acts on it once it is there.
class ModalAnswer final : public QObject
{
public:
    explicit ModalAnswer(std::function<void(QDialog*)> act)
        : m_act(std::move(act))
    {
        connect(&m_timer, &QTimer::timeout, this, [this] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (dialog == nullptr || m_seen)
                return;
            m_seen = true;
            m_timer.stop();
            m_act(dialog);
        });
        m_timer.start(1);
    }

    [[nodiscard]] bool seen() const { return m_seen; }

private:
    std::function<void(QDialog*)> m_act;
    QTimer m_timer;
    bool m_seen = false;
};
