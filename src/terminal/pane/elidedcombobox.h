#pragma once

#include <QComboBox>

// A list box that ends a text for which it is too narrow with an ellipsis; a style would cut it off
// in the middle of a letter. Not for editable boxes.
class ElidedComboBox : public QComboBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ElidedComboBox)

public:
    explicit ElidedComboBox(QWidget* parent = nullptr);
    ~ElidedComboBox() override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
