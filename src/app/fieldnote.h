#pragma once

#include <QWidget>

class QLabel;
class WrappedLabel;

// What is wrong with a field, in a line right below it: an icon and a text, so that it is told by
// shape and words and not by colour alone. Can be copied with the mouse. Empty until told.
class FieldNote final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FieldNote)

public:
    explicit FieldNote(QWidget* parent = nullptr);
    ~FieldNote() override;

    void setText(const QString& text);
    [[nodiscard]] QString text() const;

private:
    QLabel* m_icon;
    WrappedLabel* m_text;
};
