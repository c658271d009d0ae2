#pragma once

#include <QLabel>

// A line of text that ends in an ellipsis where there is no room for all of it, and that never
// asks for room.
class ElidedLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ElidedLabel)

public:
    explicit ElidedLabel(QWidget* parent = nullptr);
    ~ElidedLabel() override = default;

protected:
    void paintEvent(QPaintEvent* event) override;
};
