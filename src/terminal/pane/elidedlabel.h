#pragma once

#include <QLabel>

// A line of text that is cut with an ellipsis where there is no room for all of it, at its end
// unless told otherwise, and that never asks for room.
class ElidedLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ElidedLabel)

public:
    explicit ElidedLabel(QWidget* parent = nullptr);
    ~ElidedLabel() override = default;

    void setElideMode(Qt::TextElideMode mode);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Qt::TextElideMode m_mode = Qt::ElideRight;
};
