#pragma once

#include <QAbstractButton>

// A cell with a lamp in it that can be pressed like a tool button: with the mouse, with the space
// bar, by assistive technology. The layout and what stands in it are the owner's.
class LampButton final : public QAbstractButton
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LampButton)

public:
    explicit LampButton(QWidget* parent = nullptr);
    ~LampButton() override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
};
